// The fuzz target of the property that VORN_PROPERTY names.

#include "support/property.h"

// The fuzzer asks for memory in this way too.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return operator new(size);
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data,
                                      std::size_t size) {
  const void* const bytes = data;
  support::Check(support::VORN_PROPERTY,
                 {static_cast<const char*>(bytes), size});
  return 0;
}

// The fuzz target of the property that VORN_PROPERTY names.

#include "support/property.h"

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data,
                                      std::size_t size) {
  const void* const bytes = data;
  support::Check(support::VORN_PROPERTY,
                 {static_cast<const char*>(bytes), size});
  return 0;
}

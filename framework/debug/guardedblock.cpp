#include "guardedblock.h"

#include <cstdio>

namespace vorn::foundation::debug {

void FailGuard(const unsigned char* block, unsigned int bytes,
               const char* caller) {
  std::fprintf(stderr,
               "%s: the block at %p was written past its end, or does not "
               "have %u bytes\n",
               caller, static_cast<const void*>(block), bytes);
  std::abort();
}

}  // namespace vorn::foundation::debug

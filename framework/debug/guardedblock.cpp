#include "guardedblock.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vorn::foundation::debug {

namespace {

constexpr std::uint32_t kGuard = 0xC5F19A36;

// The guard depends on the byte count, so that a count which happens to point
// at another guard is found as well.
std::uint32_t GuardOf(unsigned int bytes) { return kGuard ^ bytes; }

}  // namespace

unsigned char* AllocateGuarded(unsigned int bytes) {
  const std::size_t total = std::size_t{bytes} + sizeof kGuard;
  if (total < bytes) return nullptr;  // past the end of a 32-bit address space
  auto* block = static_cast<unsigned char*>(std::malloc(total));
  if (block == nullptr) return nullptr;
  const std::uint32_t guard = GuardOf(bytes);
  std::memcpy(block + bytes, &guard, sizeof guard);
  return block;
}

void FreeGuarded(unsigned char* block, unsigned int bytes, const char* caller) {
  std::uint32_t guard = 0;
  std::memcpy(&guard, block + bytes, sizeof guard);
  if (guard != GuardOf(bytes)) {
    std::fprintf(stderr,
                 "%s: the block at %p was written past its end, or does not "
                 "have %u bytes\n",
                 caller, static_cast<void*>(block), bytes);
    std::abort();
  }
  // A block that comes back twice must not pass the test again.
  guard = ~guard;
  std::memcpy(block + bytes, &guard, sizeof guard);
  std::free(block);
}

}  // namespace vorn::foundation::debug

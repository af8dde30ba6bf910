#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace vorn::foundation::debug {

// Blocks of memory with a guard word behind their last byte. FreeGuarded()
// checks the guard. A write past the end of the block damages the guard; with a
// wrong byte count, the guard is looked for in the wrong place.

// The guard depends on the byte count, so a wrong count fails even if it leads
// to the guard of another block.
inline std::uint32_t GuardOf(unsigned int bytes) {
  return std::uint32_t{0xC5F19A36} ^ bytes;
}

// Ends the process with a message that names the caller.
[[noreturn]] void FailGuard(const unsigned char* block, unsigned int bytes,
                            const char* caller);

// Returns a block of the given number of bytes, aligned for any type, or null
// when no memory is left. The caller releases it with FreeGuarded().
inline unsigned char* AllocateGuarded(unsigned int bytes) {
  const std::uint32_t guard = GuardOf(bytes);
  const std::size_t size = std::size_t{bytes} + sizeof guard;
  if (size < bytes) return nullptr;  // past the end of a 32-bit address space
  auto* block = static_cast<unsigned char*>(std::malloc(size));
  if (block != nullptr) std::memcpy(block + bytes, &guard, sizeof guard);
  return block;
}

// Releases a block of AllocateGuarded(). Ends the process with a message that
// names the caller if the guard is damaged. REQUIRES: bytes is what the block
// was allocated with.
inline void FreeGuarded(unsigned char* block, unsigned int bytes,
                        const char* caller) {
  std::uint32_t guard = 0;
  std::memcpy(&guard, block + bytes, sizeof guard);
  if (guard != GuardOf(bytes)) FailGuard(block, bytes, caller);
  // The second release of a block must not find its guard intact.
  guard = ~guard;
  std::memcpy(block + bytes, &guard, sizeof guard);
  std::free(block);
}

}  // namespace vorn::foundation::debug

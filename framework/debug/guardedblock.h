#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace vorn::foundation::debug {

// Blocks of memory with a guard word behind their last byte. The guard is
// looked at when the block comes back: it is damaged when the block was written
// past its end, and not where it should be when the byte count is wrong.

// The guard depends on the byte count, so that a count which happens to point
// at another guard is found as well.
inline std::uint32_t GuardOf(unsigned int bytes) {
  return std::uint32_t{0xC5F19A36} ^ bytes;
}

// Ends the process with a message that names the caller.
[[noreturn]] void FailGuard(const unsigned char* block, unsigned int bytes,
                            const char* caller);

// Returns a block of the given number of bytes, aligned for any type, or null
// when no memory is left. The caller gives it back with FreeGuarded().
inline unsigned char* AllocateGuarded(unsigned int bytes) {
  const std::uint32_t guard = GuardOf(bytes);
  const std::size_t size = std::size_t{bytes} + sizeof guard;
  if (size < bytes) return nullptr;  // past the end of a 32-bit address space
  auto* block = static_cast<unsigned char*>(std::malloc(size));
  if (block != nullptr) std::memcpy(block + bytes, &guard, sizeof guard);
  return block;
}

// Takes back a block that was allocated with the same number of bytes. With a
// damaged guard it ends the process, naming the caller.
inline void FreeGuarded(unsigned char* block, unsigned int bytes,
                        const char* caller) {
  std::uint32_t guard = 0;
  std::memcpy(&guard, block + bytes, sizeof guard);
  if (guard != GuardOf(bytes)) FailGuard(block, bytes, caller);
  // A block that comes back twice must not pass the test again.
  guard = ~guard;
  std::memcpy(block + bytes, &guard, sizeof guard);
  std::free(block);
}

}  // namespace vorn::foundation::debug

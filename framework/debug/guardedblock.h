#pragma once

namespace vorn::foundation::debug {

// Blocks of memory with a guard word behind their last byte. The guard is
// looked at when the block comes back: it is damaged when the block was written
// past its end, and not where it should be when the byte count is wrong.

// Returns a block of the given number of bytes, aligned for any type, or null
// when no memory is left. The caller gives it back with FreeGuarded().
unsigned char* AllocateGuarded(unsigned int bytes);

// Takes back a block that was allocated with the same number of bytes. With a
// damaged guard it ends the process, naming the caller.
void FreeGuarded(unsigned char* block, unsigned int bytes, const char* caller);

}  // namespace vorn::foundation::debug

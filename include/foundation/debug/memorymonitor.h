#pragma once

#include <cstddef>

namespace vorn::foundation::debug {

// Supplies the memory behind every string and every container, and knows how
// much of it is out. Safe to call from several threads.
class __attribute__((visibility("default"))) MemoryMonitor {
 public:
  // Returns a block of the given number of bytes, aligned for any type, or null
  // when no memory is left. The caller owns the block and gives it back with
  // Dealloc().
  static unsigned char* Alloc(unsigned int bytes);

  // Takes back a block from Alloc(), which must have been asked for the same
  // number of bytes; null is ignored. Does not throw. A block that was written
  // past its end, or that comes back with another byte count, ends the process
  // with a message on standard error.
  static void Dealloc(unsigned char* block, unsigned int bytes);

  // The number of bytes that are out at the moment, as they were asked for.
  static std::size_t LiveBytes();

  // The most bytes that were out at a time, since the start of the program or
  // since ResetPeak(), which starts again with those that are out.
  static std::size_t PeakBytes();
  static void ResetPeak();
};

}  // namespace vorn::foundation::debug

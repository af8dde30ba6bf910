#pragma once

#include <cstddef>

namespace vorn::foundation::debug {

/// Supplies the memory of every string and every container, and counts its
/// bytes. Safe to call from several threads.
class __attribute__((visibility("default"))) MemoryMonitor {
 public:
  /// Returns a block of that many bytes, aligned for any type, or null when no
  /// memory is left. The caller owns the block and releases it with Dealloc().
  static unsigned char* Alloc(unsigned int bytes);

  /// Releases a block; null is ignored. Does not throw. Ends the process with a
  /// message on standard error if the block was written past its end or has
  /// another byte count. REQUIRES: Alloc(bytes) returned the block.
  static void Dealloc(unsigned char* block, unsigned int bytes);

  /// Returns the number of bytes that are allocated now, as they were
  /// requested.
  static std::size_t LiveBytes();

  /// Returns the largest value of LiveBytes() since the start of the program,
  /// or since the last ResetPeak(), which sets the peak to LiveBytes().
  static std::size_t PeakBytes();
  static void ResetPeak();
};

}  // namespace vorn::foundation::debug

#include <foundation/debug/memorymonitor.h>

#include <atomic>

#include "guardedblock.h"
#include "threads.h"

namespace vorn::foundation::debug {

namespace {

internal::Counter<std::size_t> live_bytes;
std::atomic<std::size_t> peak_bytes{0};

// Counts allocated bytes.
void AddLive(std::size_t bytes) {
  constexpr auto kRelaxed = std::memory_order_relaxed;
  const bool is_alone = internal::IsOnlyThread();
  const std::size_t live = live_bytes.Add(bytes, is_alone);
  std::size_t peak = peak_bytes.load(kRelaxed);
  if (is_alone && live > peak) return peak_bytes.store(live, kRelaxed);
  while (live > peak &&
         !peak_bytes.compare_exchange_weak(peak, live, kRelaxed)) {
  }
}

}  // namespace

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  unsigned char* block = AllocateGuarded(bytes);
  if (block != nullptr) AddLive(bytes);
  return block;
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int bytes) {
  if (block == nullptr) return;
  FreeGuarded(block, bytes, "MemoryMonitor::Dealloc");
  live_bytes.Subtract(bytes);
}

std::size_t MemoryMonitor::LiveBytes() { return live_bytes.Get(); }

std::size_t MemoryMonitor::PeakBytes() {
  return peak_bytes.load(std::memory_order_relaxed);
}

void MemoryMonitor::ResetPeak() {
  peak_bytes.store(LiveBytes(), std::memory_order_relaxed);
}

}  // namespace vorn::foundation::debug

#include <foundation/debug/memorymonitor.h>

#include <atomic>

#include "guardedblock.h"

namespace vorn::foundation::debug {

namespace {

std::atomic<std::size_t> live_bytes{0};
std::atomic<std::size_t> peak_bytes{0};

// Counts bytes that go out.
void AddLive(std::size_t bytes) {
  constexpr auto kRelaxed = std::memory_order_relaxed;
  const std::size_t live = live_bytes.fetch_add(bytes, kRelaxed) + bytes;
  std::size_t peak = peak_bytes.load(kRelaxed);
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
  live_bytes.fetch_sub(bytes, std::memory_order_relaxed);
}

std::size_t MemoryMonitor::LiveBytes() {
  return live_bytes.load(std::memory_order_relaxed);
}

std::size_t MemoryMonitor::PeakBytes() {
  return peak_bytes.load(std::memory_order_relaxed);
}

void MemoryMonitor::ResetPeak() {
  peak_bytes.store(LiveBytes(), std::memory_order_relaxed);
}

}  // namespace vorn::foundation::debug

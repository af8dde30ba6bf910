#include <foundation/debug/memorymonitor.h>

#include <atomic>

#include "guardedblock.h"

namespace vorn::foundation::debug {

namespace {

std::atomic<std::size_t> live_bytes{0};

}  // namespace

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  unsigned char* block = AllocateGuarded(bytes);
  if (block != nullptr) live_bytes.fetch_add(bytes, std::memory_order_relaxed);
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

}  // namespace vorn::foundation::debug

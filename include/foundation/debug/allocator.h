#pragma once

#include <cstddef>
#include <limits>
#include <new>

#include <foundation/debug/memorymonitor.h>

namespace vorn::foundation::debug {

// The allocator behind every string and every container: its memory comes from
// the memory monitor. It holds no state, so any two of them are equal.
template <class T>
class __attribute__((visibility("default"))) Allocator {
 public:
  using value_type = T;

  Allocator() noexcept = default;
  template <class U>
  Allocator(const Allocator<U>&) noexcept {}

  // Returns memory for count objects; null is possible for a count of 0 alone.
  // The caller owns it and gives it back with deallocate(). Throws
  // std::bad_alloc when no memory is left, or when the byte count is more than
  // the monitor can count.
  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<unsigned int>::max() / sizeof(T)) {
      throw std::bad_alloc();
    }
    unsigned char* block = MemoryMonitor::Alloc(ByteCount(count));
    if (block == nullptr && count != 0) throw std::bad_alloc();
    return static_cast<T*>(static_cast<void*>(block));
  }

  // Takes back memory that allocate() returned for the same count.
  void deallocate(T* memory, std::size_t count) noexcept {
    void* block = memory;
    MemoryMonitor::Dealloc(static_cast<unsigned char*>(block),
                           ByteCount(count));
  }

 private:
  static unsigned int ByteCount(std::size_t count) noexcept {
    return static_cast<unsigned int>(count * sizeof(T));
  }
};

template <class T, class U>
bool operator==(const Allocator<T>&, const Allocator<U>&) noexcept {
  return true;
}

template <class T, class U>
bool operator!=(const Allocator<T>&, const Allocator<U>&) noexcept {
  return false;
}

}  // namespace vorn::foundation::debug

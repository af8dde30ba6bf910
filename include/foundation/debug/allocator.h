#pragma once

#include <cstddef>
#include <limits>
#include <new>

#include <foundation/debug/memorymonitor.h>

namespace vorn::foundation::debug {

/// The allocator of every string and every container. Its memory comes from the
/// memory monitor. It has no state, so all allocators are equal.
template <class T>
class __attribute__((visibility("default"))) Allocator {
 public:
  using value_type = T;

  Allocator() noexcept = default;
  template <class U>
  Allocator(const Allocator<U>&) noexcept {}

  /// Returns memory for count objects, never null unless count is 0. The caller
  /// owns the memory and releases it with deallocate(). Throws std::bad_alloc
  /// when no memory is left, or when the byte count does not fit into an
  /// unsigned int.
  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<unsigned int>::max() / sizeof(T)) {
      throw std::bad_alloc();
    }
    unsigned char* block = MemoryMonitor::Alloc(ByteCount(count));
    if (block == nullptr && count != 0) throw std::bad_alloc();
    return static_cast<T*>(static_cast<void*>(block));
  }

  /// Releases memory. REQUIRES: allocate() returned it for the same count.
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

#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>

// The memory of the monitors themselves. It comes from malloc directly, so the
// monitors do not count it.
namespace vorn::foundation::debug::internal {

// The allocator of the monitor's containers.
template <class T>
struct OwnAllocator {
  using value_type = T;
  OwnAllocator() = default;
  template <class U>
  OwnAllocator(const OwnAllocator<U>&) {}
  T* allocate(std::size_t count) {
    void* memory = std::malloc(count * sizeof(T));
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t) { std::free(memory); }
  template <class U>
  bool operator==(const OwnAllocator<U>&) const {
    return true;
  }
  template <class U>
  bool operator!=(const OwnAllocator<U>&) const {  // GCOVR_EXCL_LINE: required
    return false;  // GCOVR_EXCL_LINE: by containers, which do not call it
  }
};

// A static object that is constructed on first use and never destroyed, since
// objects are released and reports are made until the very end of the program.
// Use it under a mutex.
template <class T>
class Lasting {
 public:
  constexpr Lasting() = default;

  T& operator*() {
    if (object_ == nullptr) object_ = ::new (static_cast<void*>(memory_)) T;
    return *object_;
  }
  T* operator->() { return &**this; }

 private:
  T* object_ = nullptr;
  alignas(T) unsigned char memory_[sizeof(T)] = {};
};

}  // namespace vorn::foundation::debug::internal

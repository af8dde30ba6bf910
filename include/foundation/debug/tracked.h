#pragma once

#include <new>
#include <type_traits>
#include <utility>

#include <foundation/debug/objectmonitor.h>
#include <foundation/lang/interface.h>

namespace vorn::foundation::debug {

/// The place in a program that creates or releases an object. The texts must be
/// string literals, or stay as they are while the tag is in use.
struct Tag {
  const char* file;
  int line;
  const char* function;
};

/// Returns memory for an object, which the caller releases with GiveBack().
/// Throws std::bad_alloc when memory is exhausted, or returns null if traced.
inline void* Allocate(unsigned int size, bool traced) {
  return traced ? ObjectMonitor::_Alloc(size) : ::operator new(size);
}

/// Releases the memory of an object: to the monitor if traced, else by operator
/// delete. Null is ignored.
inline void GiveBack(void* block, unsigned int size, bool traced) {
  if (traced) {
    ObjectMonitor::_Dealloc(static_cast<unsigned char*>(block), size);
  } else {
    ::operator delete(block);
  }
}

/// Records a new object at the start of its block; both may be null. If the
/// monitor throws, destroys the object and releases the block; else the caller
/// owns both. One function serves all classes with the same base.
///
/// Not inlined: Create() recurses when a constructor creates children, so its
/// frame must not hold what only this function needs.
template <class Base>
[[gnu::noinline]] void Record(Base* object, void* block, unsigned int size,
                              const Tag& tag, bool traced) {
  struct Unrecorded {
    ~Unrecorded() {
      if (object == nullptr) return;
      object->~Base();
      GiveBack(block, size, traced);
    }
    Base* object;
    void* block;
    unsigned int size;
    bool traced;
  };
  Unrecorded unrecorded{object, block, size, traced};
  ObjectMonitor::_IncLeak(block, tag.file, tag.line, tag.function, size);
  unrecorded.object = nullptr;
}

/// Creates a T from the arguments and records it under the tag. The caller owns
/// the result and releases it with dispose() if T has it, else with Destroy().
/// When memory is exhausted, returns null if the object monitor traces, else
/// throws std::bad_alloc. Exceptions of the constructor and of the monitor
/// propagate; nothing is left behind.
template <class T, class... Arguments>
T* Create(const Tag& tag, Arguments&&... arguments) {
  using Base = std::conditional_t<std::is_convertible_v<T*, lang::Interface*>,
                                  lang::Interface, T>;
  const bool traced = ObjectMonitor::_IsTrace();
  void* const block = Allocate(sizeof(T), traced);
  T* created = nullptr;
  if (block != nullptr) {
    try {
      created = ::new (block) T(std::forward<Arguments>(arguments)...);
    } catch (...) {
      GiveBack(block, sizeof(T), traced);
      throw;
    }
  }
  Record<Base>(created, block, sizeof(T), tag, traced);
  return created;
}

/// Returns the address under which Create() recorded the object: that of the
/// whole object. A base may have another address.
template <class T>
void* Recorded(T* object) {
  if constexpr (std::is_polymorphic_v<T>) {
    return dynamic_cast<void*>(object);
  } else {
    return object;
  }
}

/// Reports the release of an object under the tag, then destroys the object and
/// releases its memory. An object with a virtual destructor may be released
/// through any of its bases. Null is ignored. REQUIRES: Create() made the
/// object.
template <class T>
void Destroy(T* object, const Tag& tag) {
  if (object == nullptr) return;
  void* const recorded = Recorded(object);
  if (ObjectMonitor::_IsTrace()) {
    const LeakInfo info = ObjectMonitor::_DecLeakInfoEx(recorded, tag.file,
                                                        tag.line, tag.function);
    object->~T();
    ObjectMonitor::_Dealloc(info.address, info.size);
  } else {
    ObjectMonitor::_DecLeakEx(recorded, tag.file, tag.line, tag.function);
    delete object;
  }
}

/// The same without a tag.
template <class T>
void Destroy(T* object) {
  if (object == nullptr) return;
  if (ObjectMonitor::_IsTrace()) {
    const LeakInfo info = ObjectMonitor::_DecLeakInfo(Recorded(object));
    object->~T();
    ObjectMonitor::_Dealloc(info.address, info.size);
  } else {
    ObjectMonitor::_DecLeak(Recorded(object));
    delete object;
  }
}

}  // namespace vorn::foundation::debug

#pragma once

#include <type_traits>
#include <typeinfo>
#include <utility>

#include <foundation/debug/tracked.h>
#include <foundation/lang/disposable.h>
#include <foundation/lang/exception.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::generic {

// Throws the exception of a ScopedPointer that is used while it holds nothing.
[[noreturn]] inline void ThrowAccessNull(const char* type_name) {
  SafeString where("vorn.foundation.generic.ScopedPointer<");
  where += type_name;
  where += ">.operator->";
  throw lang::Exception(where.c_str(), "access null");
}

// Owns one object, or none, and releases it when it goes out of scope: an
// IDisposable through its dispose(), any other object through the untagged
// tracked deletion. It guards whatever is built in several steps, each of which
// may throw. T must be complete where the pointer is destroyed.
template <class T>
class __attribute__((visibility("default"))) ScopedPointer {
 public:
  // Takes ownership of object, normally fresh from a tracked creation; null
  // makes an empty pointer.
  explicit ScopedPointer(T* object = nullptr) : object_(object) {}
  ScopedPointer(const ScopedPointer&) = delete;
  ScopedPointer& operator=(const ScopedPointer&) = delete;
  ~ScopedPointer() { Release(object_); }

  // The object. Throws lang::Exception ("access null") when there is none; the
  // location names T as the compiler does.
  T* operator->() const {
    if (object_ == nullptr) ThrowAccessNull(typeid(T).name());
    return object_;
  }

  // The object, or null. The pointer keeps ownership; valid until the pointer
  // is reset or destroyed.
  T* get() const { return object_; }

  // Gives the object up without touching it; null when there is none. The
  // caller owns the result.
  T* release() { return std::exchange(object_, nullptr); }

  // Takes ownership of object, which may be null, and then releases the object
  // held before.
  void reset(T* object = nullptr) { Release(std::exchange(object_, object)); }

  explicit operator bool() const { return object_ != nullptr; }

 private:
  static void Release(T* object) {
    if (object == nullptr) return;
    if constexpr (std::is_base_of_v<lang::IDisposable, T>) {
      object->dispose();
    } else {
      debug::Destroy(object);
    }
  }

  T* object_;
};

}  // namespace vorn::foundation::generic

#pragma once

#include <type_traits>
#include <typeinfo>
#include <utility>

#include <foundation/debug/tracked.h>
#include <foundation/lang/disposable.h>
#include <foundation/lang/exception.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::generic {

/// Throws the exception of operator-> of an empty ScopedPointer.
[[noreturn]] inline void ThrowAccessNull(const char* type_name) {
  SafeString where("vorn.foundation.generic.ScopedPointer<");
  where += type_name;
  where += ">.operator->";
  throw lang::Exception(where.c_str(), "access null");
}

/// Owns one object, or none. The destructor releases the object: an IDisposable
/// by dispose(), any other object by debug::Destroy(). So the pointer guards an
/// object while steps that may throw complete the object. REQUIRES: T is
/// complete where the pointer is destroyed.
template <class T>
class __attribute__((visibility("default"))) ScopedPointer {
 public:
  /// Takes ownership of object, which debug::Create() or clone() made; null
  /// makes an empty pointer.
  explicit ScopedPointer(T* object = nullptr) : object_(object) {}
  ScopedPointer(const ScopedPointer&) = delete;
  ScopedPointer& operator=(const ScopedPointer&) = delete;
  ~ScopedPointer() { Release(object_); }

  /// Returns the object. Throws lang::Exception ("access null") if there is
  /// none; its where() names T by typeid. The pointer keeps ownership; valid
  /// until the pointer is reset or destroyed.
  T* operator->() const {
    if (object_ == nullptr) ThrowAccessNull(typeid(T).name());
    return object_;
  }

  /// Returns the object, or null. The pointer keeps ownership; valid until the
  /// pointer is reset or destroyed.
  T* get() const { return object_; }

  /// Returns the object, or null, and leaves the pointer empty. The caller owns
  /// the result.
  T* release() { return std::exchange(object_, nullptr); }

  /// Takes ownership of object, which may be null, then releases the former
  /// object.
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

#pragma once

#include <new>

namespace vorn::foundation::json {

// Passes a tracked creation's result on. Throws std::bad_alloc where there is
// none: the object monitor, which yields null while it traces, had no memory.
template <class T>
T* Checked(T* created) {
  if (created == nullptr) throw std::bad_alloc();
  return created;
}

}  // namespace vorn::foundation::json

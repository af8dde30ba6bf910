#pragma once

#include <new>

namespace vorn::foundation::json {

// Returns the result of a tracked creation. Throws std::bad_alloc if it is
// null: the object monitor traces and had no memory.
template <class T>
T* OrBadAlloc(T* created) {
  if (created == nullptr) throw std::bad_alloc();
  return created;
}

}  // namespace vorn::foundation::json

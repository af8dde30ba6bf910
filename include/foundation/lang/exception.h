#pragma once

#include <foundation/text/safestring.h>

namespace vorn::foundation::lang {

// A failure: the name of the operation that failed, and what went wrong there.
// Thrown by value. The exception owns copies of both texts.
class __attribute__((visibility("default"))) Exception {
 public:
  // Copies both NUL-terminated texts; null is taken for an empty text. Throws
  // std::bad_alloc when there is no memory for the copies.
  Exception(const char* where, const char* what);

  // The name of the operation that failed. The exception keeps ownership;
  // valid until it is assigned or destroyed.
  const char* where() const noexcept { return where_.c_str(); }

  // What went wrong. The exception keeps ownership; valid until it is assigned
  // or destroyed.
  const char* what() const noexcept { return what_.c_str(); }

 private:
  SafeString where_;
  SafeString what_;
};

}  // namespace vorn::foundation::lang

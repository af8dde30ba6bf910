#pragma once

#include <foundation/text/safestring.h>

namespace vorn::foundation::lang {

/// A failure: the operation that failed, and the reason. Thrown by value. It
/// owns copies of both texts.
class __attribute__((visibility("default"))) Exception {
 public:
  /// Copies both NUL-terminated texts; null is an empty text. Throws
  /// std::bad_alloc when memory is exhausted.
  Exception(const char* where, const char* what);

  /// Returns the name of the operation that failed. The exception keeps
  /// ownership; valid until it is assigned or destroyed.
  const char* where() const noexcept { return where_.c_str(); }

  /// Returns the reason. The exception keeps ownership; valid until it is
  /// assigned or destroyed.
  const char* what() const noexcept { return what_.c_str(); }

 private:
  SafeString where_;
  SafeString what_;
};

}  // namespace vorn::foundation::lang

#pragma once

// Every header of the library includes this one, for this check.
#ifdef _GLIBCXX_DEBUG
#error "_GLIBCXX_DEBUG changes std::vector, which vorn json hands over"
#endif

namespace vorn::foundation::json {

/// The kinds of JSON value. The numbers are fixed.
enum class JType {
  Null = 0,
  Bool = 1,
  Number = 2,
  String = 3,
  Array = 4,
  Object = 5
};

}  // namespace vorn::foundation::json

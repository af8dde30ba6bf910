#pragma once

namespace vorn::foundation::json {

// The kinds of JSON value. The numbers are fixed.
enum class JType {
  Null = 0,
  Bool = 1,
  Number = 2,
  String = 3,
  Array = 4,
  Object = 5
};

}  // namespace vorn::foundation::json

#pragma once

namespace vorn::foundation::lang {

/// The root of every class with virtual operations. Its virtual destructor lets
/// an object be released through a pointer to any of its bases.
class __attribute__((visibility("default"))) Interface {
 public:
  virtual ~Interface() = default;
};

}  // namespace vorn::foundation::lang

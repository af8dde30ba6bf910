#pragma once

namespace vorn::foundation::lang {

// The root of every class with virtual operations. It introduces the virtual
// destructor and nothing else, so an object can be released through a pointer
// to any of its bases.
class __attribute__((visibility("default"))) Interface {
 public:
  virtual ~Interface() = default;
};

}  // namespace vorn::foundation::lang

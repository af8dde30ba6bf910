#pragma once

#include <foundation/json/jbase.h>

namespace vorn::foundation::json {

/// The null value.
class __attribute__((visibility("default"))) JNull
    : public JTypeBase<JType::Null> {
 public:
  JNull();
  ~JNull() override;

  JBase* clone() const override;
  void toString(Context& context) const override;
};

}  // namespace vorn::foundation::json

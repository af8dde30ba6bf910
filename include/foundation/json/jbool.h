#pragma once

#include <foundation/json/jbase.h>

namespace vorn::foundation::json {

// A boolean; false unless said otherwise.
class __attribute__((visibility("default"))) JBool
    : public JTypeBase<JType::Bool> {
 public:
  JBool();
  explicit JBool(bool value);
  ~JBool() override;

  bool value() const;
  void setValue(bool value);

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  bool value_;
};

}  // namespace vorn::foundation::json

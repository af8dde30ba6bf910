#pragma once

#include <foundation/json/jbase.h>

namespace vorn::foundation::json {

/// A boolean, false by default.
class __attribute__((visibility("default"))) JBool
    : public JTypeBase<JType::Bool> {
 public:
  JBool();
  explicit JBool(bool value);

  /// Pointers do not convert to true: write pointer != nullptr.
  template <class T>
  explicit JBool(T*) = delete;
  template <class T, class C>
  explicit JBool(T C::*) = delete;
  ~JBool() override;

  bool value() const;
  void setValue(bool value);
  template <class T>
  void setValue(T*) = delete;
  template <class T, class C>
  void setValue(T C::*) = delete;

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  bool value_;
};

}  // namespace vorn::foundation::json

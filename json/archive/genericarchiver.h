#pragma once

#include <foundation/generic/scopedpointer.h>

#include "itypedarchiver.h"

namespace vorn::foundation::json {

// The archiver of one value of any kind, also an array or object. It owns the
// value, which is never null. Only read() and snapshot() look into the value.
class GenericArchiver : public ITypedArchiver {
 public:
  // Holds a new JNull. All functions that make a value throw std::bad_alloc
  // when memory is exhausted.
  GenericArchiver();

  // Holds a copy of source.
  explicit GenericArchiver(const JBase* source);

  ArchiverKind kind() const override;

  // Replace the value. If they throw, the former value stays.
  void writeData(const SafeString& data) override;
  void writeString(const SafeString& text) override;

  bool read(SafeString& out) override;
  JBase* snapshot() const override;

 private:
  generic::ScopedPointer<JBase> value_;
};

}  // namespace vorn::foundation::json

#pragma once

#include <foundation/generic/scopedpointer.h>

#include "itypedarchiver.h"

namespace vorn::foundation::json {

// The archiver of a single value of any kind, arrays and objects included,
// which only read() and snapshot() look into. It owns the value, which is never
// null.
class GenericArchiver : public ITypedArchiver {
 public:
  // Holds a new null value. Throws std::bad_alloc when memory is exhausted, as
  // all that make a value here do.
  GenericArchiver();

  // Holds a copy of source.
  explicit GenericArchiver(const JBase* source);

  ArchiverKind kind() const override;

  // Both replace the value. One that throws leaves the former value.
  void writeData(const SafeString& data) override;
  void writeString(const SafeString& text) override;

  bool read(SafeString& out) override;
  JBase* snapshot() const override;

 private:
  generic::ScopedPointer<JBase> value_;
};

}  // namespace vorn::foundation::json

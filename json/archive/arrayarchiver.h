#pragma once

#include <foundation/json/jarray.h>

#include "archiverutils.h"

namespace vorn::foundation::json {

// The archiver of an array: child archivers addressed by index. It owns them;
// no child is null. A write replaces the child at its index, or appends one.
class ArrayArchiver : public ITypedArchiver {
 public:
  ArrayArchiver() = default;

  // Copies the elements of source.
  explicit ArrayArchiver(const JArray& source);
  ~ArrayArchiver() override;

  ArchiverKind kind() const override;

  io::IArchiver* writeArray() override;
  void writeDataByIndex(unsigned int index, const SafeString& data) override;
  void writeStringByIndex(unsigned int index, const SafeString& text) override;
  io::IArchiver* writeArrayByIndex(unsigned int index) override;
  io::IArchiver* writeObjectByIndex(unsigned int index) override;

  io::IArchiver* readByIndex(unsigned int index) override;
  bool isArray() const override;
  unsigned int size() const override;
  JBase* snapshot() const override;

 private:
  void CheckIndex(unsigned int index) const;
  ITypedArchiver* Write(unsigned int index, ArchiverKind kind,
                        const SafeString* data = nullptr,
                        const SafeString* text = nullptr);
  ITypedArchiver* PlaceElement(unsigned int index, Child& child);

  std::vector<ITypedArchiver*, debug::Allocator<ITypedArchiver*>> elements_;
};

}  // namespace vorn::foundation::json

#pragma once

#include <foundation/json/jobject.h>

#include "../membertable.h"
#include "archiverutils.h"

namespace vorn::foundation::json {

// The archiver of an object: child archivers addressed by field name. It owns
// them. No child is null, except the one that is being loaded. Each field is
// written once.
class ObjectArchiver : public ITypedArchiver {
 public:
  ObjectArchiver() = default;

  // Copies the members of source.
  explicit ObjectArchiver(const JObject& source);
  ~ObjectArchiver() override;

  ArchiverKind kind() const override;

  io::IArchiver* writeObject() override;
  void writeDataByField(const SafeString& field,
                        const SafeString& data) override;
  void writeStringByField(const SafeString& field,
                          const SafeString& text) override;
  io::IArchiver* writeArrayByField(const SafeString& field) override;
  io::IArchiver* writeObjectByField(const SafeString& field) override;

  io::IArchiver* readByField(const SafeString& field) override;
  bool isObject() const override;
  std::vector<SafeString, debug::Allocator<SafeString>> fields() const override;
  JBase* snapshot() const override;

 private:
  void CheckNewField(const SafeString& field) const;
  ITypedArchiver* Write(const SafeString& field, ArchiverKind kind,
                        const SafeString* data = nullptr,
                        const SafeString* text = nullptr);
  MemberTable::Node& AddField(const SafeString& field);
  ITypedArchiver* Insert(const SafeString& field, Child& child);

  MemberTable members_;
};

}  // namespace vorn::foundation::json

#include "objectarchiver.h"

#include <utility>

#include <foundation/text/stringutils.h>

#include "../orbadalloc.h"
#include "../tags.h"
#include "archiverutils.h"

namespace vorn::foundation::json {

namespace {

ITypedArchiver* ChildOf(const MemberTable::Node& member) {
  return static_cast<ITypedArchiver*>(member.value);
}

}  // namespace

// Delegates, so that the destructor runs if making a child throws. Adds the
// name before the child: nothing can fail once the child is finished.
ObjectArchiver::ObjectArchiver(const JObject& source) : ObjectArchiver() {
  for (const SafeString& name : source.keys()) {
    MemberTable::Node& member = AddField(name);
    member.value = OrBadAlloc(ArchiverUtils::FromJson(source.at(name)));
  }
}

ObjectArchiver::~ObjectArchiver() {
  const auto* member = members_.first();
  for (; member != nullptr; member = member->next()) {
    ArchiverUtils::Destroy(ChildOf(*member));
  }
}

ArchiverKind ObjectArchiver::kind() const { return ArchiverKind::Object; }

// Writing ---------------------------------------------------------------------

void ObjectArchiver::CheckNewField(const SafeString& field) const {
  if (members_.find(MemberTable::Key(field)) == nullptr) return;
  FailWrite(text::StringUtils::_InternalFormat("field <%s> is already existing",
                                               field.c_str())
                .c_str());
}

// Adds a new name without a child.
//
// Not inlined: loading recurses through the constructor, whose frame must not
// hold what is only needed here.
[[gnu::noinline]] MemberTable::Node& ObjectArchiver::AddField(
    const SafeString& field) {
  MemberTable::Handle member = MemberTable::Make(MemberTable::Key(field));
  MemberTable::Node& added = *member;
  members_.put(member);
  return added;
}

// Inserts the finished child under a new name and returns it. Throws
// std::bad_alloc when memory is exhausted; then the guard still owns the child.
ITypedArchiver* ObjectArchiver::Insert(const SafeString& field, Child& child) {
  MemberTable::Node& member = AddField(field);
  member.value = child.get();
  return child.release();
}

io::IArchiver* ObjectArchiver::writeObject() { return this; }

// Inserts a new child of the kind with the data or the text, and returns it.
ITypedArchiver* ObjectArchiver::Write(const SafeString& field,
                                      ArchiverKind kind, const SafeString* data,
                                      const SafeString* text) {
  CheckNewField(field);
  Child child;
  MakeChild(child, kind, data, text);
  return Insert(field, child);
}

void ObjectArchiver::writeDataByField(const SafeString& field,
                                      const SafeString& data) {
  Write(field, ArchiverKind::Generic, &data);
}

void ObjectArchiver::writeStringByField(const SafeString& field,
                                        const SafeString& text) {
  Write(field, ArchiverKind::Generic, nullptr, &text);
}

io::IArchiver* ObjectArchiver::writeArrayByField(const SafeString& field) {
  return Write(field, ArchiverKind::Array);
}

io::IArchiver* ObjectArchiver::writeObjectByField(const SafeString& field) {
  return Write(field, ArchiverKind::Object);
}

// Reading ---------------------------------------------------------------------

io::IArchiver* ObjectArchiver::readByField(const SafeString& field) {
  const auto* member = members_.find(MemberTable::Key(field));
  return member != nullptr ? ChildOf(*member) : nullptr;
}

bool ObjectArchiver::isObject() const { return true; }

std::vector<SafeString, debug::Allocator<SafeString>> ObjectArchiver::fields()
    const {
  return members_.keys();
}

JBase* ObjectArchiver::snapshot() const {
  generic::ScopedPointer<JObject> object(
      debug::Create<JObject>(tags::kSnapshotObject));
  const auto* member = members_.first();
  for (; member != nullptr; member = member->next()) {
    JObject* const target = object.operator->();
    generic::ScopedPointer<JBase> child(
        OrBadAlloc(ChildOf(*member)->snapshot()));
    target->setValue(SafeString(member->key()), child.get());
    child.release();
  }
  return object.release();
}

}  // namespace vorn::foundation::json

// The archiver facade, and what its typed archivers share: the answers to
// operations of another kind.

#include <foundation/json/jsonarchiver.h>

#include <utility>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/jsonreader.h>

#include "../checked.h"
#include "../tags.h"
#include "archiverutils.h"

namespace vorn::foundation::json {

using io::IArchiver;
using StringList = std::vector<SafeString, debug::Allocator<SafeString>>;

void FailWrite(const char* message) {
  throw JsonException("vorn.foundation.json.JsonArchiver", message);
}

// Operations that a typed archiver does not have ------------------------------

namespace {

[[noreturn]] void FailUnexpected() {
  FailWrite("unexpected write operation at");
}

}  // namespace

using Index = unsigned int;
using Text = const SafeString&;

void ITypedArchiver::writeData(Text) { FailUnexpected(); }
void ITypedArchiver::writeString(Text) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeArray() { FailUnexpected(); }
IArchiver* ITypedArchiver::writeObject() { FailUnexpected(); }
void ITypedArchiver::writeDataByIndex(Index, Text) { FailUnexpected(); }
void ITypedArchiver::writeStringByIndex(Index, Text) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeArrayByIndex(Index) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeObjectByIndex(Index) { FailUnexpected(); }
void ITypedArchiver::writeDataByField(Text, Text) { FailUnexpected(); }
void ITypedArchiver::writeStringByField(Text, Text) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeArrayByField(Text) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeObjectByField(Text) { FailUnexpected(); }
bool ITypedArchiver::read(SafeString&) { return false; }
IArchiver* ITypedArchiver::readByIndex(Index) { return nullptr; }
IArchiver* ITypedArchiver::readByField(Text) { return nullptr; }
bool ITypedArchiver::isArray() const { return false; }
unsigned int ITypedArchiver::size() const { return 0; }
bool ITypedArchiver::isObject() const { return false; }
StringList ITypedArchiver::fields() const { return StringList(); }

// The record behind the facade ------------------------------------------------

class JsonArchiverPrivate {
 public:
  JsonArchiverPrivate() = default;
  JsonArchiverPrivate(const JsonArchiverPrivate&) = delete;
  JsonArchiverPrivate& operator=(const JsonArchiverPrivate&) = delete;
  ~JsonArchiverPrivate() { ArchiverUtils::Destroy(root_); }

  bool empty() const { return root_ == nullptr; }

  // Destroys the content and takes ownership of root, which may be null.
  void Reset(ITypedArchiver* root) {
    ArchiverUtils::Destroy(std::exchange(root_, root));
  }

  // The root for a write of that kind; the first write makes it.
  ITypedArchiver& ToWrite(ArchiverKind kind) {
    if (root_ == nullptr) root_ = Checked(ArchiverUtils::Create(kind));
    if (root_->kind() != kind) {
      FailWrite("the type of write archiver is mismatched");
    }
    return *root_;
  }

  // The root if it is of that kind, else null.
  ITypedArchiver* ToRead(ArchiverKind kind) const {
    return root_ != nullptr && root_->kind() == kind ? root_ : nullptr;
  }

  // The content as a value tree, which the caller owns; null when empty.
  JBase* Snapshot() const {
    return root_ != nullptr ? Checked(root_->snapshot()) : nullptr;
  }

 private:
  ITypedArchiver* root_ = nullptr;
};

// The facade ------------------------------------------------------------------

JsonArchiver::JsonArchiver()
    : private_(
          Checked(debug::Create<JsonArchiverPrivate>(tags::kJsonArchiver))) {}

JsonArchiver::~JsonArchiver() {
  debug::Destroy(private_, tags::kJsonArchiverDestructor);
}

bool JsonArchiver::fromString(const char* text) {
  private_->Reset(nullptr);
  JsonReader reader;
  if (!reader.fromString(text)) return false;
  private_->Reset(Checked(ArchiverUtils::FromJson(reader.getJson())));
  return true;
}

bool JsonArchiver::fromString(const SafeString& text) {
  return fromString(text.c_str());
}

bool JsonArchiver::isValid() const { return !private_->empty(); }

SafeString JsonArchiver::format() const {
  const generic::ScopedPointer<JBase> tree(private_->Snapshot());
  return JsonReader::Format(tree.get());
}

SafeString JsonArchiver::compress() const {
  const generic::ScopedPointer<JBase> tree(private_->Snapshot());
  return JsonReader::Compress(tree.get());
}

void JsonArchiver::writeData(Text data) {
  private_->ToWrite(ArchiverKind::Generic).writeData(data);
}

void JsonArchiver::writeString(Text text) {
  private_->ToWrite(ArchiverKind::Generic).writeString(text);
}

IArchiver* JsonArchiver::writeArray() {
  return &private_->ToWrite(ArchiverKind::Array);
}

IArchiver* JsonArchiver::writeObject() {
  return &private_->ToWrite(ArchiverKind::Object);
}

void JsonArchiver::writeDataByIndex(Index index, Text data) {
  private_->ToWrite(ArchiverKind::Array).writeDataByIndex(index, data);
}

void JsonArchiver::writeStringByIndex(Index index, Text text) {
  private_->ToWrite(ArchiverKind::Array).writeStringByIndex(index, text);
}

IArchiver* JsonArchiver::writeArrayByIndex(Index index) {
  return private_->ToWrite(ArchiverKind::Array).writeArrayByIndex(index);
}

IArchiver* JsonArchiver::writeObjectByIndex(Index index) {
  return private_->ToWrite(ArchiverKind::Array).writeObjectByIndex(index);
}

void JsonArchiver::writeDataByField(Text field, Text data) {
  private_->ToWrite(ArchiverKind::Object).writeDataByField(field, data);
}

void JsonArchiver::writeStringByField(Text field, Text text) {
  private_->ToWrite(ArchiverKind::Object).writeStringByField(field, text);
}

IArchiver* JsonArchiver::writeArrayByField(Text field) {
  return private_->ToWrite(ArchiverKind::Object).writeArrayByField(field);
}

IArchiver* JsonArchiver::writeObjectByField(Text field) {
  return private_->ToWrite(ArchiverKind::Object).writeObjectByField(field);
}

bool JsonArchiver::read(SafeString& out) {
  ITypedArchiver* root = private_->ToRead(ArchiverKind::Generic);
  return root != nullptr && root->read(out);
}

IArchiver* JsonArchiver::readByIndex(Index index) {
  ITypedArchiver* root = private_->ToRead(ArchiverKind::Array);
  return root != nullptr ? root->readByIndex(index) : nullptr;
}

IArchiver* JsonArchiver::readByField(Text field) {
  ITypedArchiver* root = private_->ToRead(ArchiverKind::Object);
  return root != nullptr ? root->readByField(field) : nullptr;
}

bool JsonArchiver::isArray() const {
  return private_->ToRead(ArchiverKind::Array) != nullptr;
}

unsigned int JsonArchiver::size() const {
  const ITypedArchiver* root = private_->ToRead(ArchiverKind::Array);
  return root != nullptr ? root->size() : 0;
}

bool JsonArchiver::isObject() const {
  return private_->ToRead(ArchiverKind::Object) != nullptr;
}

StringList JsonArchiver::fields() const {
  const ITypedArchiver* root = private_->ToRead(ArchiverKind::Object);
  return root != nullptr ? root->fields() : StringList();
}

}  // namespace vorn::foundation::json

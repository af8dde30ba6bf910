// The archiver facade, and the operations that a typed archiver does not have.

#include <foundation/json/jsonarchiver.h>

#include <utility>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/jsonreader.h>

#include "../orbadalloc.h"
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

void ITypedArchiver::writeData(const SafeString&) { FailUnexpected(); }
void ITypedArchiver::writeString(const SafeString&) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeArray() { FailUnexpected(); }
IArchiver* ITypedArchiver::writeObject() { FailUnexpected(); }
void ITypedArchiver::writeDataByIndex(unsigned int, const SafeString&) {
  FailUnexpected();
}
void ITypedArchiver::writeStringByIndex(unsigned int, const SafeString&) {
  FailUnexpected();
}
IArchiver* ITypedArchiver::writeArrayByIndex(unsigned int) { FailUnexpected(); }
IArchiver* ITypedArchiver::writeObjectByIndex(unsigned int) {
  FailUnexpected();
}
void ITypedArchiver::writeDataByField(const SafeString&, const SafeString&) {
  FailUnexpected();
}
void ITypedArchiver::writeStringByField(const SafeString&, const SafeString&) {
  FailUnexpected();
}
IArchiver* ITypedArchiver::writeArrayByField(const SafeString&) {
  FailUnexpected();
}
IArchiver* ITypedArchiver::writeObjectByField(const SafeString&) {
  FailUnexpected();
}
bool ITypedArchiver::read(SafeString&) { return false; }
IArchiver* ITypedArchiver::readByIndex(unsigned int) { return nullptr; }
IArchiver* ITypedArchiver::readByField(const SafeString&) { return nullptr; }
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

  // Returns the root for a write of that kind. The first write makes the root.
  ITypedArchiver& ToWrite(ArchiverKind kind) {
    if (root_ == nullptr) root_ = OrBadAlloc(ArchiverUtils::Create(kind));
    if (root_->kind() != kind) {
      FailWrite("the type of write archiver is mismatched");
    }
    return *root_;
  }

  // Returns the root if it is of that kind, else null.
  ITypedArchiver* ToRead(ArchiverKind kind) const {
    return root_ != nullptr && root_->kind() == kind ? root_ : nullptr;
  }

  // Returns the content as a tree of values, which the caller owns, or null if
  // the archiver is empty.
  JBase* Snapshot() const {
    return root_ != nullptr ? OrBadAlloc(root_->snapshot()) : nullptr;
  }

 private:
  ITypedArchiver* root_ = nullptr;
};

// The facade ------------------------------------------------------------------

JsonArchiver::JsonArchiver()
    : private_(
          OrBadAlloc(debug::Create<JsonArchiverPrivate>(tags::kJsonArchiver))) {
}

JsonArchiver::~JsonArchiver() {
  debug::Destroy(private_, tags::kJsonArchiverDestructor);
}

void JsonArchiver::load(const JBase* value) {
  private_->Reset(value != nullptr ? OrBadAlloc(ArchiverUtils::FromJson(value))
                                   : nullptr);
}

bool JsonArchiver::fromString(const char* text) {
  load(nullptr);
  JsonReader reader;
  if (!reader.fromString(text)) return false;
  load(reader.getJson());
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

void JsonArchiver::writeData(const SafeString& data) {
  private_->ToWrite(ArchiverKind::Generic).writeData(data);
}

void JsonArchiver::writeString(const SafeString& text) {
  private_->ToWrite(ArchiverKind::Generic).writeString(text);
}

IArchiver* JsonArchiver::writeArray() {
  return &private_->ToWrite(ArchiverKind::Array);
}

IArchiver* JsonArchiver::writeObject() {
  return &private_->ToWrite(ArchiverKind::Object);
}

void JsonArchiver::writeDataByIndex(unsigned int index,
                                    const SafeString& data) {
  private_->ToWrite(ArchiverKind::Array).writeDataByIndex(index, data);
}

void JsonArchiver::writeStringByIndex(unsigned int index,
                                      const SafeString& text) {
  private_->ToWrite(ArchiverKind::Array).writeStringByIndex(index, text);
}

IArchiver* JsonArchiver::writeArrayByIndex(unsigned int index) {
  return private_->ToWrite(ArchiverKind::Array).writeArrayByIndex(index);
}

IArchiver* JsonArchiver::writeObjectByIndex(unsigned int index) {
  return private_->ToWrite(ArchiverKind::Array).writeObjectByIndex(index);
}

void JsonArchiver::writeDataByField(const SafeString& field,
                                    const SafeString& data) {
  private_->ToWrite(ArchiverKind::Object).writeDataByField(field, data);
}

void JsonArchiver::writeStringByField(const SafeString& field,
                                      const SafeString& text) {
  private_->ToWrite(ArchiverKind::Object).writeStringByField(field, text);
}

IArchiver* JsonArchiver::writeArrayByField(const SafeString& field) {
  return private_->ToWrite(ArchiverKind::Object).writeArrayByField(field);
}

IArchiver* JsonArchiver::writeObjectByField(const SafeString& field) {
  return private_->ToWrite(ArchiverKind::Object).writeObjectByField(field);
}

bool JsonArchiver::read(SafeString& out) {
  ITypedArchiver* root = private_->ToRead(ArchiverKind::Generic);
  if (root == nullptr) return false;
  return root->read(out);
}

IArchiver* JsonArchiver::readByIndex(unsigned int index) {
  ITypedArchiver* root = private_->ToRead(ArchiverKind::Array);
  return root != nullptr ? root->readByIndex(index) : nullptr;
}

IArchiver* JsonArchiver::readByField(const SafeString& field) {
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

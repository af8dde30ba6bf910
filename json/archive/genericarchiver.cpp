#include "genericarchiver.h"

#include <foundation/json/jnull.h>
#include <foundation/json/jsonreader.h>
#include <foundation/json/jstring.h>

#include "../orbadalloc.h"
#include "../tags.h"

namespace vorn::foundation::json {

GenericArchiver::GenericArchiver()
    : value_(OrBadAlloc(debug::Create<JNull>(tags::kGenericArchiver))) {}

GenericArchiver::GenericArchiver(const JBase* source)
    : value_(OrBadAlloc(source->clone())) {}

ArchiverKind GenericArchiver::kind() const { return ArchiverKind::Generic; }

void GenericArchiver::writeData(const SafeString& data) {
  JsonReader reader;
  if (!reader.fromString(data)) FailWrite("try to write error format data");
  value_.reset(reader.transfer());
}

void GenericArchiver::writeString(const SafeString& text) {
  value_.reset(OrBadAlloc(debug::Create<JString>(tags::kWriteString, text)));
}

bool GenericArchiver::read(SafeString& out) {
  if (value_->type() == JType::String) {
    out = static_cast<const JString*>(value_.get())->value();
  } else {
    out = JsonReader::Compress(value_.get());
  }
  return true;
}

JBase* GenericArchiver::snapshot() const { return value_->clone(); }

}  // namespace vorn::foundation::json

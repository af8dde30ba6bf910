#include "archiverutils.h"

#include "../orbadalloc.h"
#include "../tags.h"
#include "arrayarchiver.h"
#include "genericarchiver.h"
#include "objectarchiver.h"

namespace vorn::foundation::json {

ITypedArchiver* ArchiverUtils::Create(ArchiverKind kind) {
  switch (kind) {
    case ArchiverKind::Generic:
      return debug::Create<GenericArchiver>(tags::kCreateGeneric);
    case ArchiverKind::Array:
      return debug::Create<ArrayArchiver>(tags::kCreateArray);
    default:
      return debug::Create<ObjectArchiver>(tags::kCreateObject);
  }
}

ITypedArchiver* ArchiverUtils::FromJson(const JBase* json) {
  switch (json->type()) {
    case JType::Object:
      return debug::Create<ObjectArchiver>(tags::kFromJsonObject,
                                           static_cast<const JObject&>(*json));
    case JType::Array:
      return debug::Create<ArrayArchiver>(tags::kFromJsonArray,
                                          static_cast<const JArray&>(*json));
    default:
      return debug::Create<GenericArchiver>(tags::kFromJsonGeneric, json);
  }
}

void ArchiverUtils::Destroy(ITypedArchiver* archiver) {
  debug::Destroy(archiver, tags::kDestroy);
}

void MakeChild(Child& child, ArchiverKind kind, const SafeString* data,
               const SafeString* text) {
  child.reset(ArchiverUtils::Create(kind));
  if (data != nullptr) {
    child->writeData(*data);
  } else if (text != nullptr) {
    child->writeString(*text);
  } else {
    OrBadAlloc(child.get());
  }
}

}  // namespace vorn::foundation::json

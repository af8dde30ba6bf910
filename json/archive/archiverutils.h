#pragma once

#include <foundation/generic/scopedpointer.h>

#include "itypedarchiver.h"

namespace vorn::foundation::json {

// Makes and destroys typed archivers. All archivers are destroyed here, with
// one exception: if the first write to a child or its insertion throws, the
// child's guard releases the child.
class ArchiverUtils {
 public:
  // Returns an empty archiver of the kind. The caller owns the result. Throws
  // std::bad_alloc when memory is exhausted; returns null instead if the object
  // monitor traces and has no memory for the archiver itself.
  static ITypedArchiver* Create(ArchiverKind kind);

  // Returns an archiver tree with a copy of the content of json. The caller
  // owns the result. Fails as Create() does, and leaves nothing behind.
  static ITypedArchiver* FromJson(const JBase* json);

  // Destroys the archiver with everything it owns; null is ignored.
  static void Destroy(ITypedArchiver* archiver);
};

// Guards a child that is not inserted yet.
using Child = generic::ScopedPointer<ITypedArchiver>;

// Makes a child of the kind. Writes the data or the text into the child, if one
// of them is not null.
void MakeChild(Child& child, ArchiverKind kind, const SafeString* data,
               const SafeString* text);

}  // namespace vorn::foundation::json

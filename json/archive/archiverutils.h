#pragma once

#include <foundation/generic/scopedpointer.h>

#include "itypedarchiver.h"

namespace vorn::foundation::json {

// The making and destroying of typed archivers. Only a child that was never
// placed, because its first write or its insertion threw, goes another way: its
// guard releases it.
class ArchiverUtils {
 public:
  // Makes an empty archiver of the kind. The caller owns the result; null when
  // the object monitor, while it traces, has no memory for the archiver itself.
  // Throws std::bad_alloc when memory is exhausted otherwise.
  static ITypedArchiver* Create(ArchiverKind kind);

  // Makes an archiver tree with the content of json, which is not changed. The
  // caller owns the result; null and failures are as for Create(), and nothing
  // is left behind.
  static ITypedArchiver* FromJson(const JBase* json);

  // Destroys the archiver with everything it owns; null is ignored.
  static void Destroy(ITypedArchiver* archiver);
};

// A child that has no place yet.
using Child = generic::ScopedPointer<ITypedArchiver>;

// Makes a child of the kind and writes the data, or else the text, into it, if
// there is any.
void MakeChild(Child& child, ArchiverKind kind, const SafeString* data,
               const SafeString* text);

}  // namespace vorn::foundation::json

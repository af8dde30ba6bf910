#pragma once

#include <foundation/debug/tracked.h>
#include <foundation/lang/interface.h>

namespace vorn::foundation::lang {

/// An object that releases itself. Its owner calls dispose(), never delete,
/// since only dispose() reports the release to the object monitor.
class __attribute__((visibility("default"))) IDisposable : public Interface {
 public:
  /// Reports the release, destroys the object with everything it owns and
  /// releases its memory. Pointers to the object must not be used again.
  ///
  /// The tag is a fixed name of this place. It does not change with the source,
  /// so that reports of different builds can be compared.
  virtual void dispose() {
    debug::Destroy(
        this, debug::Tag{"../../../include/foundation/json/../lang/disposable",
                         22, "dispose"});
  }
};

}  // namespace vorn::foundation::lang

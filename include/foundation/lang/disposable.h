#pragma once

#include <foundation/debug/tracked.h>
#include <foundation/lang/interface.h>

namespace vorn::foundation::lang {

// An object that releases itself. Whoever owns it ends its life with dispose(),
// never with a plain delete: only so is the release reported to the object
// monitor.
class __attribute__((visibility("default"))) IDisposable : public Interface {
 public:
  // Reports the release, destroys the object with everything it owns and gives
  // its memory back. The pointer must not be used again.
  //
  // The tag names this place and is kept as it is, so that the reports of
  // different builds can be compared; it does not follow the source.
  virtual void dispose() {
    debug::Destroy(
        this, debug::Tag{"../../../include/foundation/json/../lang/disposable",
                         22, "dispose"});
  }
};

}  // namespace vorn::foundation::lang

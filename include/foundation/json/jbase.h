#pragma once

#include <foundation/json/jtype.h>
#include <foundation/lang/disposable.h>

namespace vorn::foundation::json {

class Context;

// A JSON value of any kind: the base of the six value classes.
//
//   lang::Interface <- lang::IDisposable <- JBase <- JTypeBase<N> <- JNull
//                                                                    JBool
//                                                                    JNumber
//                                                                    JString
//                                                                    JArray
//                                                                    JObject
//
// Values form strict trees. A value is made by debug::Create() and has one
// owner at a time: the code that made it, the container it was handed to, or a
// reader. The owner ends its life with dispose(), which takes the whole subtree
// along. Ask type() and cast to the class it names.
//
// A class of your own may derive from JBase, or from one of the six, and have
// other bases, too, in any order: it is recorded and released under the address
// of the whole object.
//
// A tree may be read from several threads while nobody changes it. Copying,
// comparing, writing and disposing recurse once for each level: trees from
// parsed text are at most 1024 levels deep, trees built by hand have no limit
// but the stack.
class __attribute__((visibility("default"))) JBase : public lang::IDisposable {
 public:
  JBase() = default;
  JBase(const JBase&) = delete;
  JBase& operator=(const JBase&) = delete;

  // The kind of this value.
  virtual JType type() const = 0;

  // Makes a deep copy; this value is not changed. The caller owns the result
  // and releases it with dispose(). When memory is exhausted it throws
  // std::bad_alloc, or, while the object monitor traces: a scalar and an object
  // without members give null, and an array and an object with members throw
  // lang::Exception ("access null") for themselves and std::bad_alloc for a
  // child. Nothing is left behind.
  virtual JBase* clone() const = 0;

  // Writes this value into the context's stream. What the stream throws when
  // memory is exhausted passes on.
  virtual void toString(Context& context) const = 0;
};

// Answers type() for the class of the kind N.
template <JType N>
class __attribute__((visibility("default"))) JTypeBase : public JBase {
 public:
  static constexpr JType kType = N;

  JType type() const override { return N; }
};

}  // namespace vorn::foundation::json

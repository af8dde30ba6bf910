#pragma once

#include <foundation/json/jtype.h>
#include <foundation/lang/disposable.h>

namespace vorn::foundation::json {

class Context;

/// A JSON value of any kind: the base of the six value classes.
///
///     lang::Interface <- lang::IDisposable <- JBase <- JTypeBase<N> <- JNull
///                                                                      JBool
///                                                                      JNumber
///                                                                      JString
///                                                                      JArray
///                                                                      JObject
///
/// Values form strict trees. debug::Create() makes a value. It has one owner at
/// a time: the code that made it, a container, or a reader. The owner calls
/// dispose(), which releases the whole subtree. type() names the class to cast
/// to.
///
/// A class of your own may derive from JBase or from one of the six, and have
/// other bases in any order. The monitor records the address of the whole
/// object.
///
/// Several threads may read a tree while nobody changes it. Copying, comparing,
/// writing and disposing recurse once for each level. Parsed trees have at most
/// 1024 levels; only the stack limits trees that are built by hand.
class __attribute__((visibility("default"))) JBase : public lang::IDisposable {
 public:
  JBase() = default;
  JBase(const JBase&) = delete;
  JBase& operator=(const JBase&) = delete;

  /// Returns the kind of this value.
  virtual JType type() const = 0;

  /// Returns a deep copy. The caller owns the result and releases it with
  /// dispose(). Throws std::bad_alloc when memory is exhausted; nothing is left
  /// behind. If the object monitor traces and has no memory for one of the
  /// copies, the result depends on that copy:
  /// - a scalar or an object without members: null, or std::bad_alloc if it is
  ///   the copy of a child;
  /// - an array or an object with members: lang::Exception ("access null").
  virtual JBase* clone() const = 0;

  /// Writes this value to the stream of the context. Exceptions of the stream
  /// propagate.
  virtual void toString(Context& context) const = 0;
};

/// Implements type() for the class of the kind N.
template <JType N>
class __attribute__((visibility("default"))) JTypeBase : public JBase {
 public:
  static constexpr JType kType = N;

  JType type() const override { return N; }
};

}  // namespace vorn::foundation::json

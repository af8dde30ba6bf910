#pragma once

#include <string_view>
#include <type_traits>
#include <vector>

#include <foundation/debug/allocator.h>
#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

class Access;
class MemberTable;

/// Enabled for std::string_view itself. Types that convert to std::string_view
/// use the other overloads.
template <class T>
using ExactView = std::enable_if_t<std::is_same_v<T, std::string_view>>;

/// A set of members, each a key with a value. Keys are unique and may hold any
/// bytes. The object owns its values. It disposes a value when the member is
/// replaced or removed, and all values when the object is cleared or destroyed.
/// No value is null.
///
/// Members are enumerated in the order of a hash map: neither sorted nor in the
/// order of insertion. The order changes only when the object changes. keys(),
/// Cursor, clear(), clone(), the writer and the comparison use the same order.
/// A copy may have another order.
///
/// REQUIRES: a value that the object takes is in no other container, and not
/// under that key already. The caller must not dispose it afterwards.
class __attribute__((visibility("default"))) JObject
    : public JTypeBase<JType::Object> {
 public:
  /// The object without members.
  JObject();
  ~JObject() override;

  /// Return the value of the member, or null if there is none. The object keeps
  /// ownership; valid until the member is replaced or removed, or the object is
  /// cleared or destroyed.
  JBase* at(const SafeString& key);
  JBase* at(const SafeString& key) const;
  template <class View, class = ExactView<View>>
  JBase* at(View key) const {
    return find(key);
  }

  /// Whether there is a member with the key.
  bool existed(const SafeString& key) const;
  template <class View, class = ExactView<View>>
  bool existed(View key) const {
    return find(key) != nullptr;
  }

  /// Sets the value of the member, and disposes its former value. Takes
  /// ownership of value; null is ignored. Throws std::bad_alloc when memory is
  /// exhausted; then nothing changes and the caller still owns value. Replacing
  /// a member needs no memory.
  void setValue(const SafeString& key, JBase* value);

  /// Removes the member and disposes its value. Returns false if there is none.
  bool remove(const SafeString& key);

  /// Returns copies of all keys, in the order of enumeration.
  std::vector<SafeString, debug::Allocator<SafeString>> keys() const;

  /// Walks over the members in the order of enumeration, without copies. The
  /// object keeps ownership of keys and values; a cursor is valid until the
  /// object is changed or destroyed.
  class Cursor {
   public:
    /// A cursor behind the last member.
    Cursor() = default;

    /// A cursor at the first member, if there is one.
    explicit Cursor(const JObject& object) { step(&object); }

    /// Whether the cursor is at a member.
    explicit operator bool() const { return member_ != nullptr; }

    /// REQUIRES, also for value() and ++: the cursor is at a member.
    std::string_view key() const { return key_; }
    JBase* value() const { return value_; }

    /// Moves to the next member.
    Cursor& operator++() {
      step(nullptr);
      return *this;
    }

    /// Whether both are at the same member, or both behind the last.
    bool operator==(const Cursor& other) const {
      return member_ == other.member_;
    }
    bool operator!=(const Cursor& other) const { return !(*this == other); }

   private:
    /// Moves to the first member of the object, or to the next member if object
    /// is null.
    void step(const JObject* object);

    std::string_view key_;
    JBase* value_ = nullptr;
    const void* member_ = nullptr;
  };

  /// Returns the number of members.
  unsigned int length() const;
  bool empty() const;

  /// Disposes every value, in the order of enumeration, and removes all
  /// members.
  void clear();

  /// Removes all members without disposing their values. The caller owns the
  /// values: take their pointers with at() before.
  void detach();

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  JBase* find(std::string_view key) const;
  void setMember(std::string_view key, JBase* value);
  MemberTable& members();
  const MemberTable& members() const;

  /// Storage for the member table, whose class is internal.
  alignas(void*) unsigned char members_[2 * sizeof(void*) +
                                        2 * sizeof(unsigned int)];
};

}  // namespace vorn::foundation::json

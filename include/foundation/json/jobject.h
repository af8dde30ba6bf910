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

// Exactly std::string_view: what converts to it is the other overloads'.
template <class T>
using ExactView = std::enable_if_t<std::is_same_v<T, std::string_view>>;

// A set of members, each a key with a value. Keys are unique and may hold any
// bytes. The object owns its values and disposes them when they are replaced or
// removed, when it is cleared and when it is destroyed. No value is null.
//
// The members are enumerated in the order of a hash map, neither that of
// insertion nor a sorted one. It stays as it is while the object is not
// changed, and it is the same for keys(), clear(), clone(), the writer and the
// comparison.
//
// A value handed over must not be disposed by the caller, nor handed to another
// container, nor be the one that the object already holds under that key.
class __attribute__((visibility("default"))) JObject
    : public JTypeBase<JType::Object> {
 public:
  // The object without members.
  JObject();
  ~JObject() override;

  // The value of the member, or null when there is none. The object keeps
  // ownership; valid until the member is replaced or removed, or the object is
  // cleared or destroyed.
  JBase* at(const SafeString& key);
  JBase* at(const SafeString& key) const;
  template <class View, class = ExactView<View>>
  JBase* at(View key) const {
    return find(key);
  }

  // Whether there is a member of that key.
  bool existed(const SafeString& key) const;
  template <class View, class = ExactView<View>>
  bool existed(View key) const {
    return find(key) != nullptr;
  }

  // Sets the member. A member of that key is removed first, and its value
  // disposed. Takes ownership of value; null is ignored and changes nothing.
  // Throws std::bad_alloc when there is no memory for a new member; value is
  // then still the caller's. Replacing a member needs no memory.
  void setValue(const SafeString& key, JBase* value);

  // Removes the member and disposes its value; false when there is none.
  bool remove(const SafeString& key);

  // Copies of all keys, in the order of enumeration.
  std::vector<SafeString, debug::Allocator<SafeString>> keys() const;

  // Stands on a member, or behind the last. Lends the keys and the values in
  // the order of enumeration, without a copy. Valid until the object is changed
  // or destroyed.
  class Cursor {
   public:
    // Stands behind the last.
    Cursor() = default;

    explicit Cursor(const JObject& object) { step(&object); }

    // Whether it stands on a member. All below REQUIRE that.
    explicit operator bool() const { return member_ != nullptr; }

    std::string_view key() const { return key_; }
    JBase* value() const { return value_; }

    // Goes on to the next member.
    Cursor& operator++() {
      step(nullptr);
      return *this;
    }

    // Whether both stand on the same member, or behind the last.
    bool operator==(const Cursor& other) const {
      return member_ == other.member_;
    }
    bool operator!=(const Cursor& other) const { return !(*this == other); }

   private:
    // Goes to the first member of the object, or, without one, to the next.
    void step(const JObject* object);

    std::string_view key_;
    JBase* value_ = nullptr;
    const void* member_ = nullptr;
  };

  // The number of members.
  unsigned int length() const;
  bool empty() const;

  // Disposes every value, in the order of enumeration, and removes all members.
  void clear();

  // Removes all members without disposing their values. The values belong to
  // the caller, who took their pointers with at() before.
  void detach();

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  JBase* find(std::string_view key) const;
  void setMember(std::string_view key, JBase* value);
  MemberTable& members();
  const MemberTable& members() const;

  // The member table, built in place: its class is the library's own.
  alignas(void*) unsigned char members_[2 * sizeof(void*) +
                                        2 * sizeof(unsigned int)];
};

}  // namespace vorn::foundation::json

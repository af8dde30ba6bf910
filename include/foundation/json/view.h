#pragma once

#include <iterator>
#include <utility>

#include <foundation/json/json.h>

namespace vorn::foundation::json {

struct Member;
namespace json_internal {
/// The types that as() and value() return.
template <class T>
using Readable =
    std::enable_if_t<kIsInteger<T> ||
                     kIsOneOf<T, bool, float, double, std::string_view,
                              std::string, SafeString>>;

/// Whether a step of a path means the key: "~1" is "/" and "~0" is "~".
inline bool Means(std::string_view step, std::string_view key) {
  for (const char& character : key) {
    std::string_view wanted(&character, 1);
    if (wanted == "/" || wanted == "~") wanted = wanted == "/" ? "~1" : "~0";
    if (step.substr(0, wanted.size()) != wanted) return false;
    step.remove_prefix(wanted.size());
  }
  return step.empty();
}

}  // namespace json_internal

/// Lends a value that may be absent, and is valid as long as the value is. A
/// lookup in an absent value, or in one of another kind, gives an absent view.
/// Throws only std::bad_alloc, by as() and value() of std::string, SafeString.
class View {
 public:
  View() = default;
  View(const JBase* value) : value_(value) {}
  View(const JsonReader& reader) : value_(reader.getJson()) {}

  /// Whether there is a value; the value, or null if there is none.
  explicit operator bool() const { return value_ != nullptr; }
  const JBase* get() const { return value_; }

  bool is(JType type) const { return value_ && value_->type() == type; }

  /// Returns the number of elements or members, 0 for any other value.
  std::size_t size() const {
    if (const auto* array = to<JArray>()) return array->length();
    return is(JType::Object) ? to<JObject>()->length() : 0;
  }

  View operator[](std::string_view key) const {
    return is(JType::Object) ? to<JObject>()->at(key) : nullptr;
  }
  View operator[](std::size_t index) const {
    const auto* array = to<JArray>();
    if (array == nullptr || index >= array->length()) return View();
    return array->at(static_cast<unsigned int>(index));
  }

  /// Returns the value at a JSON Pointer (RFC 6901), "/wifi/a~1b"; "" is this.
  View at(std::string_view path) const {
    if (path.empty() || path[0] != '/') return path.empty() ? *this : View();
    path.remove_prefix(1);
    const std::string_view step = path.substr(0, path.find('/'));
    const View found = follow(step);
    return found ? found.at(path.substr(step.size())) : found;
  }

  /// Returns the value of a boolean, a number or a string, or none if it is of
  /// another kind or out of range. Integer types read decimal and hexadecimal
  /// integers; float and double read any number, rounded to the nearest.
  template <class T, class = json_internal::Readable<T>>
  std::optional<T> as() const {
    if constexpr (std::is_same_v<T, bool>) {
      if (const auto* flag = to<JBool>()) return flag->value();
    } else if constexpr (std::is_arithmetic_v<T>) {
      if (const auto* number = to<JNumber>()) return number->as<T>();
    } else {
      if (const auto* string = to<JString>()) return T(string->view());
    }
    return std::nullopt;
  }

  /// Like as(), but returns the given value instead of none. For a const char*,
  /// returns a std::string_view; null stands for the empty text.
  template <class T, class = json_internal::Readable<T>>
  T value(T otherwise) const {
    return as<T>().value_or(std::move(otherwise));
  }
  std::string_view value(const char* otherwise) const {
    return value<std::string_view>(otherwise != nullptr ? otherwise : "");
  }
  std::string_view value(std::nullptr_t) const = delete;

  /// For loops over an array: for (View element : view)
  struct Element {
    using iterator_category = std::input_iterator_tag;
    using value_type = View;
    using difference_type = std::ptrdiff_t;
    using pointer = const View*;
    using reference = View;

    const JArray* array;
    unsigned int index;

    View operator*() const { return array ? array->at(index) : nullptr; }
    Element& operator++() { return ++index, *this; }
    bool operator==(Element other) const { return index == other.index; }
    bool operator!=(Element other) const { return index != other.index; }
  };
  Element begin() const { return {to<JArray>(), 0}; }
  Element end() const {
    return {nullptr, is(JType::Array) ? to<JArray>()->length() : 0};
  }

  /// For loops over an object: for (auto [key, value] : view.members())
  struct Members {
    JObject::Cursor cursor;

    Members begin() const { return *this; }
    Members end() const { return {}; }
    Member operator*() const;
    Members& operator++() { return ++cursor, *this; }
    bool operator!=(const Members& end) const { return cursor != end.cursor; }
  };
  Members members() const {
    const auto* object = to<JObject>();
    return {object ? JObject::Cursor(*object) : JObject::Cursor()};
  }

 private:
  template <class Value>
  const Value* to() const {
    return is(Value::kType) ? static_cast<const Value*>(value_) : nullptr;
  }

  View follow(std::string_view step) const {
    if (is(JType::Array)) {
      const bool plain = step == "0" || step.find_first_of("123456789") == 0;
      const auto index = json_internal::ReadInteger<std::size_t>(step);
      return plain && index ? (*this)[*index] : View();
    }
    const auto* object = to<JObject>();
    if (step.find('~') == step.npos || object == nullptr) return (*this)[step];
    JObject::Cursor member(*object);
    while (member && !json_internal::Means(step, member.key())) ++member;
    return member ? member.value() : nullptr;
  }

  const JBase* value_ = nullptr;
};

/// A member of an object: lends its key and its value.
struct Member {
  std::string_view key;
  View value;
};

inline Member View::Members::operator*() const {
  return {cursor.key(), cursor.value()};
}

}  // namespace vorn::foundation::json

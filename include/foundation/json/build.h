#pragma once

#include <new>
#include <vector>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/view.h>

/// Trees of plain values:
///
///     auto pump = MakeObject(Here(), "name", "pump 7",
///                            "limits", MakeArray(Here(), 0.5, 1000u));
///     Set(Here(), *pump.get(), "last", nullptr);
///
/// A value is a bool, a number, a text of any string class, nullptr, a View
/// (copied) or a ScopedPointer, the result of MakeObject() and MakeArray()
/// (taken; std::move a named one). A null const char*, an absent View and an
/// empty ScopedPointer become null; a null key is the empty text. New values
/// get the tag. Throws std::bad_alloc when memory is exhausted, also while the
/// object monitor traces. Nothing leaks; Set() keeps members set before.
namespace vorn::foundation::json {

/// Returns the tag of the calling line.
constexpr debug::Tag Here(const char* file = __builtin_FILE(),
                          int line = __builtin_LINE(),
                          const char* function = __builtin_FUNCTION()) {
  return {file, line, function};
}

namespace json_internal {
/// Returns the text of any string class, the empty text for a null pointer.
inline std::string_view ToView(std::string_view text) { return text; }
std::string_view ToView(std::nullptr_t) = delete;
template <class T, class = std::enable_if_t<std::is_same_v<T, char>>>
std::string_view ToView(const T* text) {
  return text != nullptr ? text : "";
}
template <template <class...> class String, class Traits, class... More,
          class = typename Traits::char_type>
std::string_view ToView(const String<char, Traits, More...>& text) {
  return {text.data(), text.size()};
}

template <class T>
T* OrBadAlloc(T* created) {
  if (created == nullptr) throw std::bad_alloc();
  return created;
}

template <class T, class... Arguments>
T* New(const debug::Tag& tag, Arguments&&... arguments) {
  return OrBadAlloc(
      debug::Create<T>(tag, std::forward<Arguments>(arguments)...));
}

/// While the object monitor traces, lang::Exception means exhausted memory.
inline JBase* Copy(const JBase* value) try {
  return OrBadAlloc(value->clone());
} catch (const lang::Exception&) {
  throw std::bad_alloc();
}

/// Creates the JSON value of a plain value. The caller owns the result.
template <class Value>
JBase* Create(const debug::Tag& tag, Value&& value) {
  using T = std::decay_t<Value>;
  if constexpr (std::is_null_pointer_v<T>) {
    return New<JNull>(tag);
  } else if constexpr (kIsOneOf<T, bool, std::vector<bool>::reference>) {
    return New<JBool>(tag, static_cast<bool>(value));
  } else if constexpr (kIsInteger<T> || kIsOneOf<T, float, double>) {
    return New<JNumber>(tag, value);
  } else if constexpr (kIsOneOf<T, View>) {
    return value ? Copy(value.get()) : New<JNull>(tag);
  } else {
    if constexpr (std::is_pointer_v<std::remove_reference_t<Value>>) {
      if (value == nullptr) return New<JNull>(tag);
    }
    return New<JString>(tag, SafeString(ToView(value)));
  }
}

template <class Value, class Take>
void Give(const debug::Tag& tag, Value&& value, Take take) {
  generic::ScopedPointer<JBase> made(Create(tag, std::forward<Value>(value)));
  take(made.get());
  made.release();
}
template <class T, class Take>
void Give(const debug::Tag& tag, generic::ScopedPointer<T>&& value, Take take) {
  if (!value) return Give(tag, nullptr, take);
  take(value.get());
  value.release();
}

}  // namespace json_internal

/// Sets members of the object: a key, its value, the next key and so on.
template <class... Keys>
void Set(const debug::Tag&, JObject&, const Keys&...) {
  static_assert(sizeof...(Keys) == 0, "the last key has no value");
}
template <class Key, class Value, class... More>
void Set(const debug::Tag& tag, JObject& object, const Key& key, Value&& value,
         More&&... more) {
  const SafeString name(json_internal::ToView(key));
  json_internal::Give(tag, std::forward<Value>(value),
                      [&](JBase* made) { object.setValue(name, made); });
  Set(tag, object, std::forward<More>(more)...);
}

/// Adds an element behind the last.
template <class Value>
void Append(const debug::Tag& tag, JArray& array, Value&& value) {
  json_internal::Give(tag, std::forward<Value>(value),
                      [&](JBase* made) { array.append(made); });
}

template <class... Members>
generic::ScopedPointer<JObject> MakeObject(const debug::Tag& tag,
                                           Members&&... members) {
  generic::ScopedPointer<JObject> made(json_internal::New<JObject>(tag));
  Set(tag, *made.get(), std::forward<Members>(members)...);
  return generic::ScopedPointer<JObject>(made.release());
}

template <class... Values>
generic::ScopedPointer<JArray> MakeArray(const debug::Tag& tag,
                                         Values&&... values) {
  generic::ScopedPointer<JArray> made(json_internal::New<JArray>(tag));
  (Append(tag, *made.get(), std::forward<Values>(values)), ...);
  return generic::ScopedPointer<JArray>(made.release());
}

}  // namespace vorn::foundation::json

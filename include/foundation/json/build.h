#pragma once

#include <new>
#include <vector>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/view.h>

// Trees of plain values:
//
//   auto pump = MakeObject(Here(), "name", "pump 7",
//                          "limits", MakeArray(Here(), 0.5, 1000u));
//   Set(Here(), *pump.get(), "last", nullptr);
//
// A value is a bool, a number, a text of any string class, nullptr or a null
// const char* (null), a View (a copy; null where it is absent) or the result of
// MakeObject() or MakeArray(), which is taken over: a named one by std::move.
// All but copies has the tag. Exhausted memory throws std::bad_alloc, also
// while the object monitor traces, and leaves all as it was, but for a member
// that was to be replaced, which is gone.
namespace vorn::foundation::json {

// The tag of the line that the call stands in.
constexpr debug::Tag Here(const char* file = __builtin_FILE(),
                          int line = __builtin_LINE(),
                          const char* function = __builtin_FUNCTION()) {
  return {file, line, function};
}

namespace building {
// The text of any string class.
inline std::string_view ToView(std::string_view text) { return text; }
template <template <class...> class String, class... More>
std::string_view ToView(const String<char, More...>& text) {
  return {text.data(), text.size()};
}

template <class T>
T* Checked(T* created) {
  if (created == nullptr) throw std::bad_alloc();
  return created;
}

template <class T, class... Arguments>
T* New(const debug::Tag& tag, Arguments&&... arguments) {
  return Checked(debug::Create<T>(tag, std::forward<Arguments>(arguments)...));
}

// What it throws while the object monitor traces is for want of memory, too.
inline JBase* Copy(const JBase* value) try {
  return Checked(value->clone());
} catch (const lang::Exception&) {
  throw std::bad_alloc();
}

// Creates what the value stands for. The caller owns the result.
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

// Has take() hand the value over to a container.
template <class T, class Take>
void Give(const debug::Tag&, generic::ScopedPointer<T>&& value, Take take) {
  take(Checked(value.get()));
  value.release();
}
template <class Value, class Take>
void Give(const debug::Tag& tag, Value&& value, Take take) {
  Give(tag,
       generic::ScopedPointer<JBase>(Create(tag, std::forward<Value>(value))),
       take);
}

}  // namespace building

// Sets members of the object: a key, its value, a key and so on.
template <class Key, class Value, class... More>
void Set(const debug::Tag& tag, JObject& object, const Key& key, Value&& value,
         More&&... more) {
  const SafeString name(building::ToView(key));
  building::Give(tag, std::forward<Value>(value),
                 [&](JBase* made) { object.setValue(name, made); });
  if constexpr (sizeof...(more) != 0) {
    Set(tag, object, std::forward<More>(more)...);
  }
}

// Adds an element behind the last.
template <class Value>
void Append(const debug::Tag& tag, JArray& array, Value&& value) {
  building::Give(tag, std::forward<Value>(value),
                 [&](JBase* made) { array.append(made); });
}

template <class... Members>
generic::ScopedPointer<JObject> MakeObject(const debug::Tag& tag,
                                           Members&&... members) {
  static_assert(sizeof...(members) % 2 == 0, "a key without its value");
  generic::ScopedPointer<JObject> made(building::New<JObject>(tag));
  if constexpr (sizeof...(members) != 0) {
    Set(tag, *made.get(), std::forward<Members>(members)...);
  }
  return generic::ScopedPointer<JObject>(made.release());
}

template <class... Values>
generic::ScopedPointer<JArray> MakeArray(const debug::Tag& tag,
                                         Values&&... values) {
  generic::ScopedPointer<JArray> made(building::New<JArray>(tag));
  (Append(tag, *made.get(), std::forward<Values>(values)), ...);
  return generic::ScopedPointer<JArray>(made.release());
}

}  // namespace vorn::foundation::json

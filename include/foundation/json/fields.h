#pragma once

#include <limits>
#include <utility>
#include <vector>

#include <foundation/io/archiver.h>
#include <foundation/json/jnumber.h>
#include <foundation/lang/exception.h>

/// An object lists its fields once. An archiver then loads and saves them:
///
///     template <class Fields>
///     void list(Fields& fields) {
///       fields.required("name", name);
///       fields.optional("pin", pin, 0, 63);  // if it is missing, pin stays
///     }
///
/// A field is a bool, a number (with a range if given), a SafeString or
/// std::string, an object that lists its own fields, or a std::vector of these.
/// An archiver does not distinguish 5 from "5", or null from "null": all four
/// load as a text, 5 and "5" as a number. A bound beyond the type is its limit.
namespace vorn::foundation::json {

namespace json_internal {
using Name = const char*;
using Text = const SafeString&;

/// Thrown if a field is not as listed. At() adds the place, only to this class.
struct FieldFault : lang::Exception {
  using lang::Exception::Exception;
};

inline void Expect(bool met, Text expected) {
  if (!met) throw FieldFault("", ("expected " + expected).c_str());
}

/// Loads the value at the place. Prepends the place to that of a FieldFault.
template <class Load>
void At(Text place, io::IArchiver* from, Load load) try {
  if (from == nullptr) throw FieldFault("", "is missing");
  load(*from);
} catch (const FieldFault& fault) {
  throw FieldFault((place + fault.where()).c_str(), fault.what());
}

struct Loader {
  io::IArchiver& from;

  template <class T, class... Range>
  void required(const char* name, T& value, Range... range) {
    At(SafeString(".") + name, from.readByField(name),
       [&](io::IArchiver& at) { Loader{at}.load(value, range...); });
  }
  template <class T, class... Range>
  void optional(const char* name, T& value, Range... range) {
    if (from.readByField(name) != nullptr) required(name, value, range...);
  }

  template <class T, class... Range>
  void load(T& value, Range... range) {
    SafeString text;
    const bool scalar = from.read(text);
    if constexpr (std::is_same_v<T, bool>) {
      Expect(text == "true" || text == "false", "true or false");
      value = text == "true";
    } else if constexpr (std::is_arithmetic_v<T>) {
      constexpr std::size_t kBounds = sizeof...(range);
      static_assert(kBounds == 0 || kBounds == 2, "a range has two bounds");
      static_assert(!kIsInteger<T> || (!kIsOneOf<Range, float, double> && ...),
                    "a whole number has whole bounds");
      using Limits = std::numeric_limits<T>;
      const T end[] = {JNumber(range).template as<T>().value_or(
                           range > 0 ? Limits::max() : Limits::lowest())...,
                       Limits::lowest(), Limits::max()};
      JNumber read;
      std::optional<T> number;
      if (read.fromString(text)) number = read.as<T>();
      Expect(
          number && (kBounds == 0 || (end[0] <= *number && *number <= end[1])),
          (std::is_integral_v<T> ? "a whole number from " : "a number from ") +
              JNumber(end[0]).toString() + " to " + JNumber(end[1]).toString());
      value = *number;
    } else if constexpr (std::is_convertible_v<T, std::string_view>) {
      Expect(scalar, "a text");
      value.assign(text.data(), text.size());
    } else {
      Expect(from.isObject(), "an object");
      value.list(*this);
    }
  }
  template <class T, class A>
  void load(std::vector<T, A>& list) {
    Expect(from.isArray(), "an array");
    list.clear();
    for (unsigned int i = 0; i < from.size(); ++i) {
      T element{};
      At("[" + JNumber(i).toString() + "]", from.readByIndex(i),
         [&](io::IArchiver& at) { Loader{at}.load(element); });
      list.push_back(std::move(element));
    }
  }
};

struct Saver {
  io::IArchiver& to;

  template <class T, class... Range>
  void optional(Name name, const T& value, Range...) {
    required(name, value);
  }

  template <class Key, class T, class... Range>
  void required(Key key, const T& value, Range...) {
    if constexpr (std::is_convertible_v<T, std::string_view>) {
      string(key, SafeString(value.data(), value.size()));
    } else if constexpr (std::is_same_v<T, bool>) {
      data(key, value ? "true" : "false");
    } else if constexpr (std::is_arithmetic_v<T>) {
      data(key, JNumber(value).toString());
    } else {
      Saver members{*object(key)};
      const_cast<T&>(value).list(members);  // only reads them
    }
  }
  template <class Key, class T, class A>
  void required(Key key, const std::vector<T, A>& list) {
    Saver elements{*array(key)};
    unsigned int index = 0;
    for (const T& element : list) elements.required(index++, element);
  }

  void string(Name name, Text text) { to.writeStringByField(name, text); }
  void string(unsigned int i, Text text) { to.writeStringByIndex(i, text); }
  void data(Name name, Text data) { to.writeDataByField(name, data); }
  void data(unsigned int i, Text data) { to.writeDataByIndex(i, data); }
  auto array(Name name) { return to.writeArrayByField(name); }
  auto array(unsigned int i) { return to.writeArrayByIndex(i); }
  auto object(Name name) { return to.writeObjectByField(name); }
  auto object(unsigned int i) { return to.writeObjectByIndex(i); }
};

}  // namespace json_internal

/// Loads the object. If a field is not as listed, throws lang::Exception, as in
/// ("settings.sensors[0].pin", "is missing") for the name "settings".
template <class T>
void LoadFields(io::IArchiver& from, const char* name, T& object) {
  json_internal::At(name, &from,
                    [&](auto& at) { json_internal::Loader{at}.load(object); });
}

/// Saves the object. Throws what the archiver throws.
template <class T>
void SaveFields(io::IArchiver& to, const T& object) {
  json_internal::Saver members{*to.writeObject()};
  const_cast<T&>(object).list(members);
}

}  // namespace vorn::foundation::json

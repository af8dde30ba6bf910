#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>
#include <type_traits>

#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vorn::foundation::json {

class Access;

/// Whether T is one of those types.
template <class T, class... Types>
inline constexpr bool kIsOneOf = (std::is_same_v<T, Types> || ...);

/// Whether T is an integer type of up to 64 bits, and neither bool nor a
/// character type.
template <class T>
inline constexpr bool kIsInteger =
    std::is_integral_v<T> && sizeof(T) <= sizeof(long long) &&
    !kIsOneOf<T, bool, char, wchar_t, char16_t, char32_t, decltype(u8'a')>;

/// An integer type that JNumber has no function of its own for.
template <class T>
using OtherInteger =
    std::enable_if_t<kIsInteger<T> && !kIsOneOf<T, int, long long>>;

/// Conversions of the text of a number.
namespace json_internal {

inline bool IsHexadecimal(std::string_view text) {
  return text.substr(0, 2) == "0x" || text.substr(0, 2) == "0X";
}

template <class Integer>
std::optional<Integer> ReadInteger(std::string_view text) {
  const bool hexadecimal = IsHexadecimal(text);
  if (hexadecimal) text.remove_prefix(2);
  if (text == "-0") return Integer(0);
  const char* const end = text.data() + text.size();
  Integer value = 0;
  const auto [stop, error] =
      std::from_chars(text.data(), end, value, hexadecimal ? 16 : 10);
  if (error != std::errc() || stop != end) return std::nullopt;
  return value;
}

/// Whether a decimal number that its type cannot hold is too large; else it is
/// too small. The number is far from 1, so the power of ten of its first digit
/// other than 0 decides.
inline bool IsHuge(std::string_view text) {
  const std::size_t end = std::min(text.find_first_of("eE"), text.size());
  const auto point = static_cast<long long>(std::min(text.find('.'), end));
  const auto first = static_cast<long long>(text.find_first_of("123456789"));
  long long power = 0;
  if (end != text.size()) {
    text.remove_prefix(end + (text[end + 1] == '+' ? 2 : 1));
    const auto [stop, error] =
        std::from_chars(text.data(), text.data() + text.size(), power);
    if (error != std::errc()) return text[0] != '-';
  }
  return power > first - point;
}

template <class Float>
std::optional<Float> ReadFloat(std::string_view text) {
  if (IsHexadecimal(text)) {
    return static_cast<Float>(*ReadInteger<unsigned long long>(text));
  }
  Float value = 0;
  const auto [stop, error] =
      std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc()) return value;
  if (IsHuge(text)) return std::nullopt;
  return text[0] == '-' ? -Float(0) : Float(0);
}

}  // namespace json_internal

/// A number, kept as its text: it is written byte for byte as it was parsed,
/// and two numbers are equal if their texts are. Conversions read the text on
/// every call. They never fail.
///
/// Constructors and setters throw std::bad_alloc when memory is exhausted; a
/// setter that fails leaves the former text.
class __attribute__((visibility("default"))) JNumber
    : public JTypeBase<JType::Number> {
 public:
  /// The number "0".
  JNumber();

  /// The number with the shortest text that converts to exactly the value. The
  /// text of a double has a fraction or an exponent ("5.0"), or is "nan", "inf"
  /// or "-inf".
  explicit JNumber(int value);
  explicit JNumber(long long value);
  explicit JNumber(double value);
  template <class Integer, class = OtherInteger<Integer>>
  explicit JNumber(Integer value) : JNumber() {
    setValue(value);
  }
  ~JNumber() override;

  /// Replace the text by that of the value, as the constructors do.
  void setValue(int value);
  void setValue(long long value);
  void setValue(double value);
  template <class Integer, class = OtherInteger<Integer>>
  void setValue(Integer value) {
    char digits[24];
    char* const end = std::to_chars(digits, digits + sizeof digits, value).ptr;
    setText({digits, static_cast<std::size_t>(end - digits)});
  }

  /// Replaces the text by the given one without the blanks at both ends, and
  /// returns true. Returns false, and changes nothing, if it is no JSON number,
  /// nan, inf, -inf or hexadecimal integer (0x and up to 16 digits).
  bool fromString(const SafeString& text);

  /// Returns a copy of the text.
  SafeString toString() const;

  /// Returns the text. The number keeps ownership; valid until the number is
  /// changed or destroyed.
  std::string_view view() const;

  /// Return the value, rounded toward zero. Out of range is the nearest limit,
  /// not-a-number is 0. A hexadecimal text gives its low 32 bits, or its 64
  /// bits.
  int toInt() const;
  long long toLong() const;

  /// Returns the nearest double. A text with a fraction or an exponent that is
  /// out of range gives an infinity or a zero of its sign. An integer is
  /// converted by toLong() first: beyond 64 bits it is the nearest limit.
  double toFloat() const;

  /// Returns the value, or none if the type cannot hold it. Integer types take
  /// only decimal and hexadecimal integers; float and double take the nearest
  /// value of any text.
  template <class T, class = std::enable_if_t<kIsInteger<T> ||
                                              kIsOneOf<T, float, double>>>
  std::optional<T> as() const {
    if constexpr (kIsInteger<T>) {
      return json_internal::ReadInteger<T>(view());
    } else {
      return json_internal::ReadFloat<T>(view());
    }
  }

  JBase* clone() const override;
  void toString(Context& context) const override;

 private:
  friend class Access;

  void setText(std::string_view text);

  /// The text, built in place: its class is the library's own.
  alignas(SafeString) unsigned char text_[sizeof(SafeString)];
};

}  // namespace vorn::foundation::json

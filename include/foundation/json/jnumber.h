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

/// Whether T is one of the types.
template <class T, class... Types>
inline constexpr bool kIsOneOf = (std::is_same_v<T, Types> || ...);

/// Whether T is an integer type of up to 64 bits, and neither bool nor a
/// character type.
template <class T>
inline constexpr bool kIsInteger =
    std::is_integral_v<T> && sizeof(T) <= sizeof(long long) &&
    !kIsOneOf<T, bool, char, wchar_t, char16_t, char32_t, decltype(u8'a')>;

/// Enabled for integer types without an overload of their own in JNumber.
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

/// Whether the decimal number is too large for its type. REQUIRES: the number
/// is too large or too small for the type. It is far from 1, so the power of
/// ten of its first digit other than 0 decides.
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

/// A number, kept as its text. The text is written byte for byte as it was
/// parsed. Two numbers are equal if their texts are equal. Conversions read the
/// text on every call and do not throw.
///
/// Constructors, setters and toString() throw std::bad_alloc when memory is
/// exhausted; a setter that fails leaves the former text.
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
  /// returns true. Returns false, and changes nothing, if the given text is
  /// none of these: a JSON number, nan, inf, -inf, a hexadecimal integer (0x
  /// and 1 to 16 digits).
  bool fromString(const SafeString& text);

  /// Returns a copy of the text.
  SafeString toString() const;

  /// Returns the text. The number keeps ownership; valid until the number is
  /// changed or destroyed.
  std::string_view view() const;

  /// Return the value, rounded toward zero: the nearest limit if it is out of
  /// range, 0 if it is not-a-number. A hexadecimal text gives its low bits.
  int toInt() const;
  long long toLong() const;

  /// Returns the nearest double. A text with a fraction or an exponent that is
  /// out of range gives an infinity or a zero of its sign. Integers are
  /// converted by toLong() first: beyond 64 bits, the result is the nearest
  /// limit.
  double toFloat() const;

  /// Returns the value, or none if the type cannot hold it. Integer types hold
  /// only decimal and hexadecimal integers. float and double hold any number in
  /// their range, as the nearest value.
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

  /// Storage for the text, whose class is internal.
  alignas(SafeString) unsigned char text_[sizeof(SafeString)];
};

}  // namespace vorn::foundation::json

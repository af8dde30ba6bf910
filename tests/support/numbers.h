#pragma once

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

#include <locale.h>
#include <algorithm>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>

// The C library's conversions in the C locale, whatever the global one is, and
// what of a number differs from them.
namespace support {

using vorn::foundation::SafeString;

inline double ToDouble(const char* text, char** end = nullptr) {
  static const locale_t c = newlocale(LC_ALL_MASK, "C", nullptr);
  return strtod_l(text, end, c);
}

// Bit for bit, but for not-a-number.
inline bool AreSame(double a, double b) {
  return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

// The code of a text: a number is what the C library takes whole, without the
// freedoms that it gives.
inline int FormatOf(const SafeString& text) {
  const auto is_digit = [](char c) { return c >= '0' && c <= '9'; };
  const char* const begin = text.c_str();
  char* end;
  ToDouble(begin, &end);
  if (end != begin + text.size()) return 0;
  if (text == "nan" || text == "inf" || text == "-inf") return 2;
  if (text.find_first_of("xX") == 1) {
    const bool integer = text.find_first_of(".pP") == text.npos;
    return integer && text.size() <= 18 ? 3 : 0;
  }
  if (text.find_first_not_of("0123456789.+-eE") != text.npos) return 0;
  const char* const first = *begin == '-' ? begin + 1 : begin;
  if (!is_digit(*first) || (*first == '0' && is_digit(first[1]))) return 0;
  const std::size_t point = text.find('.');
  if (point != text.npos && !is_digit(begin[point + 1])) return 0;
  return text.find_first_of(".eE") == text.npos ? 1 : 2;
}

// The nearest value of the type. Both its limits are those of a double that is
// rounded to it.
template <class Integer>
Integer Nearest(double value) {
  using Limits = std::numeric_limits<Integer>;
  if (std::isnan(value)) return 0;
  if (value < static_cast<double>(Limits::min())) return Limits::min();
  if (value >= -static_cast<double>(Limits::min())) return Limits::max();
  return static_cast<Integer>(value);
}

// What is wrong about the conversions of a text without blanks at its ends, or
// nothing.
inline const char* WrongAbout(const SafeString& text) {
  using vorn::foundation::text::StringUtils;
  const char* const begin = text.c_str();
  const int format = FormatOf(text);
  const double real = format == 1 || format == 2 ? ToDouble(begin) : 0;
  const long long whole = format == 1 ? std::strtoll(begin, nullptr, 10) : 0;
  const auto bits = format == 3 ? std::strtoull(begin, nullptr, 16) : 0;
  const auto near =
      static_cast<int>(std::clamp<long long>(whole, INT_MIN, INT_MAX));
  if (StringUtils::GetNumberFormat(text) != format) return "the format";
  if (!AreSame(StringUtils::StringToFloat(text), real)) return "the double";
  if (StringUtils::StringToLong(text) != whole) return "the long";
  if (StringUtils::StringToInt(text) != near) return "the int";
  if (StringUtils::HexStringToULong(text) != bits) return "the bits";

  vorn::foundation::json::JNumber number;
  if (number.fromString(" " + text + "\n") != (format != 0)) return "a number";
  if (number.toString() != (format != 0 ? text : "0")) return "its text";
  const struct {
    int as_int;
    long long as_long;
    double as_double;
  } kExpected[] = {{0, 0, 0},
                   {near, whole, static_cast<double>(whole)},
                   {Nearest<int>(real), Nearest<long long>(real), real},
                   {static_cast<int>(bits & 0xffffffff),
                    static_cast<long long>(bits), static_cast<double>(bits)}};
  const auto& expected = kExpected[format];
  if (number.toInt() != expected.as_int) return "its int";
  if (number.toLong() != expected.as_long) return "its long";
  return AreSame(number.toFloat(), expected.as_double) ? "" : "its double";
}

}  // namespace support

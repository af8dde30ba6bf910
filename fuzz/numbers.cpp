// Texts of numbers, beside the C library's conversions in the C locale.

#include "support.h"

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>

using fuzz::Require;
using vorn::foundation::SafeString;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

namespace {

// Bit for bit, but for not-a-number.
bool AreSame(double a, double b) {
  return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// The format of a text: a number is what the C library takes whole, without the
// freedoms that it gives.
int FormatOf(const SafeString& text) {
  const char* const begin = text.c_str();
  char* end;
  std::strtod(begin, &end);
  if (end != begin + text.size()) return 0;
  if (text == "nan" || text == "inf" || text == "-inf") return 2;
  if (text.find_first_of("xX") == 1) {
    const bool integer = text.find_first_of(".pP") == text.npos;
    return integer && text.size() <= 18 ? 3 : 0;
  }
  if (text.find_first_not_of("0123456789.+-eE") != text.npos) return 0;
  const char* const first = *begin == '-' ? begin + 1 : begin;
  if (!IsDigit(*first) || (*first == '0' && IsDigit(first[1]))) return 0;
  const std::size_t point = text.find('.');
  if (point != text.npos && !IsDigit(begin[point + 1])) return 0;
  return text.find_first_of(".eE") == text.npos ? 1 : 2;
}

// The nearest value of the type. A long double can hold all values of both
// types and every double.
template <class Integer>
Integer Nearest(long double value, Integer lowest, Integer highest) {
  if (std::isnan(value)) return 0;
  return static_cast<Integer>(
      std::clamp<long double>(value, static_cast<long double>(lowest),
                              static_cast<long double>(highest)));
}

int NearestInt(long double value) { return Nearest(value, INT_MIN, INT_MAX); }

// Of a text without blanks at its ends.
void Check(const SafeString& text) {
  const char* const begin = text.c_str();
  const int format = FormatOf(text);
  const bool decimal = format == 1 || format == 2;
  const double real = decimal ? std::strtod(begin, nullptr) : 0;
  const long long integer = format == 1 ? std::strtoll(begin, nullptr, 10) : 0;
  const auto bits = format == 3 ? std::strtoull(begin, nullptr, 16) : 0;
  const auto exact = static_cast<long double>(integer);
  Require(StringUtils::GetNumberFormat(text) == format, "the format");
  Require(AreSame(StringUtils::StringToFloat(text), real), "the double");
  Require(StringUtils::StringToLong(text) == integer, "the long");
  Require(StringUtils::StringToInt(text) == NearestInt(exact), "the int");
  Require(StringUtils::HexStringToULong(text) == bits, "the bits");

  JNumber number;
  Require(number.fromString(" " + text + "\n") == (format != 0), "a number");
  Require(number.toString() == (format != 0 ? text : "0"), "its text");
  if (format == 0) return;
  const auto value = format == 1 ? exact : static_cast<long double>(real);
  const bool hex = format == 3;
  Require(number.toInt() ==
              (hex ? static_cast<int>(bits & 0xffffffff) : NearestInt(value)),
          "its int");
  Require(number.toLong() == (hex ? static_cast<long long>(bits)
                                  : Nearest(value, LLONG_MIN, LLONG_MAX)),
          "its long");
  Require(AreSame(number.toFloat(), hex           ? static_cast<double>(bits)
                                    : format == 1 ? static_cast<double>(integer)
                                                  : real),
          "its double");
}

}  // namespace

void fuzz::Run(Input& in) {
  const SafeString text(in.Text());
  const SafeString trimmed = StringUtils::Trim(text);
  const auto begin = text.find_first_not_of(" \t\n\v\f\r");
  const auto end = text.find_last_not_of(" \t\n\v\f\r") + 1;
  Require(trimmed == (end == 0 ? "" : text.substr(begin, end - begin)), "Trim");
  Check(trimmed);

  double value = 0;
  std::memcpy(&value, text.data(), std::min(text.size(), sizeof value));
  const SafeString written = JNumber(value).toString();
  Require(AreSame(StringUtils::StringToFloat(written), value), "it comes back");
  Check(written);
}

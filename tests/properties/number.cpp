// Texts of any kind as numbers, beside the C library's conversions in the C
// locale, and doubles that are written and read again.

#include "support/property.h"

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

#include <locale.h>
#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <optional>
#include <regex>
#include <tuple>

namespace support {

namespace {

using vorn::foundation::SafeString;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

const locale_t kC = newlocale(LC_ALL_MASK, "C", nullptr);

// Bit for bit, but for not-a-number.
bool AreSame(double a, double b) {
  return std::isnan(a) ? std::isnan(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

// The numbers of each format, from 1 on, with blanks at their ends.
const std::regex kFormats[] = {
    std::regex("\\s*(-?(0|[1-9][0-9]*))\\s*"),
    std::regex("\\s*(-?(0|[1-9][0-9]*)(\\.[0-9]+)?([eE][-+]?[0-9]+)?|"
               "nan|-?inf)\\s*"),
    std::regex("\\s*(0[xX][0-9a-fA-F]{1,16})\\s*")};

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

// Also without memory, which costs much with sanitizers.
void CheckConversions(const SafeString& text, bool exhausts = false) {
  std::match_results<SafeString::const_iterator> match;
  unsigned int format = 0;
  while (format < 3 && !std::regex_match(text, match, kFormats[format])) {
    ++format;
  }
  format = format == 3 ? 0 : format + 1;
  const std::string number_text = format != 0 ? match[1].str().c_str() : "0";
  const char* const begin = number_text.c_str();
  const double real = strtod_l(begin, nullptr, kC);
  const long long whole = std::strtoll(begin, nullptr, 10);
  const auto bits = std::strtoull(begin, nullptr, 16);
  const auto near =
      static_cast<int>(std::clamp<long long>(whole, INT_MIN, INT_MAX));
  const std::tuple<int, long long, double> kExpected[] = {
      {0, 0, 0},
      {near, whole, static_cast<double>(whole)},
      {Nearest<int>(real), Nearest<long long>(real), real},
      {static_cast<int>(bits), static_cast<long long>(bits),
       static_cast<double>(bits)}};
  const auto& [as_int, as_long, as_double] = kExpected[format];
  JNumber number;
  Require(number.fromString(text) == (format != 0), "a number");
  Require(number.toString() == begin, "its text");
  const bool fits = format == 0 || number_text == "-0" ||
                    number_text == JNumber(whole).view() ||
                    (format == 3 && bits <= LLONG_MAX);
  const std::optional<long long> integer = number.as<long long>();
  Require(fits ? integer == as_long : !integer, "a long, if it can hold it");
  const bool natural = as_long >= 0 && as_long <= UINT_MAX;
  Require(number.as<unsigned>() == (natural ? integer : std::nullopt),
          "an unsigned int, if it can hold it");
  const double nearest = format == 3 ? as_double : real;
  const bool beyond = std::isinf(nearest) && number_text.back() != 'f';
  const std::optional<double> read = number.as<double>();
  Require(read ? !beyond && AreSame(*read, nearest) : beyond,
          "the nearest double, if there is one");
  for (const bool exhausted : {false, exhausts}) {
    if (exhausted) Monitor::FailRequest(Source::MemoryMonitor, 0, true);
    Require(number.toInt() == as_int, "toInt");
    Require(number.toLong() == as_long, "toLong");
    Require(AreSame(number.toFloat(), as_double), "toFloat");
  }
  Monitor::StopFailing();
  Require(JNumber(near).toString() == std::to_string(near).c_str(), "an int");
  Require(JNumber(whole).toString() == std::to_string(whole).c_str(), "a long");
}

}  // namespace

void CheckNumber(Input& in) {
  const std::string_view document = in.Document();
  for (std::size_t begin = 0, end = 0; end < document.size(); begin = end + 1) {
    end = std::min(document.find(' ', begin), document.size());
    CheckConversions(SafeString(document.substr(begin, end - begin)),
                     in.Below(16) == 0);
  }
  Require(JNumber(1e3).toString() == "1000.0", "a double has a fraction");
  Require(JNumber(1e5).toString() == "1e+05", "or an exponent if shorter");
  double value = 0;
  for (unsigned int count = 1 + in.Below(4); count > 0; --count) {
    const std::string_view bytes = in.Text(sizeof value);
    std::memcpy(&value, bytes.data(), bytes.size());
    if (in.Below(4) == 0) value = std::floor(value);
    const SafeString written = JNumber(value).toString();
    Require(StringUtils::GetNumberFormat(written) == 2, "a double's format");
    Require(AreSame(JNumber(value).toFloat(), value), "it is back");
    CheckConversions(written);
  }
}

}  // namespace support

// Numbers to texts, texts to numbers, and the small text helpers, in the order
// of the header. Conversions use <charconv>, and classification the functions
// below: the C library's functions depend on the global locale.

#include <foundation/text/stringutils.h>

#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <string_view>
#include <system_error>

namespace vorn::foundation::text {

namespace {

bool IsBlank(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool IsHexDigit(char c) {
  return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// Numbers to texts ------------------------------------------------------------

template <class Integer>
foundation::SafeString IntegerToString(Integer value) {
  char digits[24];
  const auto [end, error] =
      std::to_chars(digits, digits + sizeof digits, value);
  return foundation::SafeString(digits, end);
}

}  // namespace

foundation::SafeString StringUtils::IntToString(int value) {
  return IntegerToString(value);
}

foundation::SafeString StringUtils::LongToString(long long value) {
  return IntegerToString(value);
}

foundation::SafeString StringUtils::FloatToString(double value) {
  if (value != value) return "nan";
  char digits[32];  // the longest shortest text has 24 characters
  const auto [end, error] =
      std::to_chars(digits, digits + sizeof digits, value);
  foundation::SafeString text(digits, end);
  const bool integral = text.find_first_not_of("-0123456789") == text.npos;
  if (integral) text += ".0";
  return text;
}

// Classification --------------------------------------------------------------

foundation::SafeString StringUtils::Trim(const foundation::SafeString& text) {
  auto begin = text.begin();
  auto end = text.end();
  while (begin != end && IsBlank(*begin)) ++begin;
  while (begin != end && IsBlank(end[-1])) --end;
  return foundation::SafeString(begin, end);
}

namespace {

// The codes of GetNumberFormat.
enum NumberFormat { kNoNumber = 0, kInteger = 1, kFloat = 2, kHexadecimal = 3 };

constexpr std::size_t kLongestHexadecimal = 16;  // the digits of 64 bits

bool IsHexadecimal(std::string_view text) {
  if (text.size() < 3 || text.size() > 2 + kLongestHexadecimal) return false;
  if (text[0] != '0' || (text[1] != 'x' && text[1] != 'X')) return false;
  for (const char c : text.substr(2)) {
    if (!IsHexDigit(c)) return false;
  }
  return true;
}

// Moves the cursor past all digits. Returns false if there is none. The NUL
// behind a SafeString ends every loop below.
bool SkipDigits(const char*& cursor) {
  const char* const begin = cursor;
  while (IsDigit(*cursor)) ++cursor;
  return cursor != begin;
}

// decimal = [ "-" ] ( "0" / digit1-9 *digit ) [ "." 1*digit ]
//           [ ( "e" / "E" ) [ "+" / "-" ] 1*digit ]
NumberFormat DecimalFormat(const char* cursor, const char* end) {
  NumberFormat format = kInteger;
  if (*cursor == '-') ++cursor;
  if (*cursor == '0') {
    ++cursor;
  } else if (!SkipDigits(cursor)) {
    return kNoNumber;
  }
  if (*cursor == '.') {
    format = kFloat;
    if (!SkipDigits(++cursor)) return kNoNumber;
  }
  if (*cursor == 'e' || *cursor == 'E') {
    format = kFloat;
    ++cursor;
    if (*cursor == '+' || *cursor == '-') ++cursor;
    if (!SkipDigits(cursor)) return kNoNumber;
  }
  return cursor == end ? format : kNoNumber;
}

}  // namespace

int StringUtils::GetNumberFormat(const foundation::SafeString& text) {
  const int decimal = DecimalFormat(text.c_str(), text.c_str() + text.size());
  if (decimal != kNoNumber) return decimal;
  if (text == "nan" || text == "inf" || text == "-inf") return kFloat;
  return IsHexadecimal(text) ? kHexadecimal : kNoNumber;
}

// Texts to numbers ------------------------------------------------------------

namespace {

template <class Integer>
Integer StringToInteger(const foundation::SafeString& text) {
  if (StringUtils::GetNumberFormat(text) != kInteger) return 0;
  Integer value = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<Integer>;
    return text.front() == '-' ? Limits::min() : Limits::max();
  }
  return value;
}

// Whether the value of a decimal text is too large for a double. If not, it is
// too small. REQUIRES: a double cannot hold the value, so it is far from 1, and
// the power of ten of its first significant digit decides. The exponent may
// have any number of digits; it is read up to kEnough, which no length of the
// text outweighs.
bool IsHuge(const foundation::SafeString& text) {
  constexpr long long kEnough = std::numeric_limits<long long>::max() / 16;
  const char* cursor = text.c_str();
  if (*cursor == '-') ++cursor;
  long long power = 0;
  bool counting = false;
  for (; IsDigit(*cursor); ++cursor) {
    if (counting) ++power;
    if (*cursor != '0') counting = true;
  }
  if (*cursor == '.') {
    for (++cursor; IsDigit(*cursor) && !counting; ++cursor) {
      --power;
      counting = *cursor != '0';
    }
    while (IsDigit(*cursor)) ++cursor;
  }
  if (*cursor != 'e' && *cursor != 'E') return power > 0;
  ++cursor;
  const bool negative = *cursor == '-';
  if (*cursor == '+' || *cursor == '-') ++cursor;
  long long exponent = 0;
  for (; IsDigit(*cursor) && exponent < kEnough; ++cursor) {
    exponent = exponent * 10 + (*cursor - '0');
  }
  return (negative ? power - exponent : power + exponent) > 0;
}

}  // namespace

int StringUtils::StringToInt(const foundation::SafeString& text) {
  return StringToInteger<int>(text);
}

long long StringUtils::StringToLong(const foundation::SafeString& text) {
  return StringToInteger<long long>(text);
}

double StringUtils::StringToFloat(const foundation::SafeString& text) {
  const int format = GetNumberFormat(text);
  if (format != kInteger && format != kFloat) return 0;
  double value = 0;
  const auto [end, error] =
      std::from_chars(text.data(), text.data() + text.size(), value);
  if (error == std::errc::result_out_of_range) {
    value = IsHuge(text) ? std::numeric_limits<double>::infinity() : 0.0;
    if (text.front() == '-') value = -value;
  }
  return value;
}

unsigned long long StringUtils::HexStringToULong(
    const foundation::SafeString& text) {
  if (!IsHexadecimal(text)) return 0;
  unsigned long long value = 0;
  std::from_chars(text.data() + 2, text.data() + text.size(), value, 16);
  return value;
}

// Helpers ---------------------------------------------------------------------

bool StringUtils::StartWith(const char* text, const char* prefix) {
  for (; *prefix != '\0'; ++text, ++prefix) {
    if (*text != *prefix) return false;
  }
  return true;
}

foundation::SafeString StringUtils::_InternalFormat(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  if (length <= 0) return foundation::SafeString();
  foundation::SafeString text(static_cast<std::size_t>(length), '\0');
  va_start(arguments, format);
  // Writes the terminating NUL over that of the string.
  std::vsnprintf(text.data(), text.size() + 1, format, arguments);
  va_end(arguments);
  return text;
}

}  // namespace vorn::foundation::text

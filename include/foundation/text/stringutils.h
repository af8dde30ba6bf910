#pragma once

#include <foundation/text/safestring.h>

namespace vorn::foundation::text {

// Conversions between numbers and texts, and small questions about texts. None
// of them depends on a locale, and none keeps any state. Those that return a
// text throw std::bad_alloc when there is no memory for it; the others do not
// throw.
class __attribute__((visibility("default"))) StringUtils {
 public:
  // The decimal text of the value.
  static foundation::SafeString IntToString(int value);
  static foundation::SafeString LongToString(long long value);

  // The shortest text that reads back as exactly this value, always of number
  // format 2: what looks like an integer gets ".0". Not-a-number is "nan"
  // whatever its sign, the infinities are "inf" and "-inf".
  static foundation::SafeString FloatToString(double value);

  // The text without the blanks at both ends: space, tab, line feed, vertical
  // tab, form feed and carriage return.
  static foundation::SafeString Trim(const foundation::SafeString& text);

  // What kind of number the whole text is:
  //   1  an integer: -?(0|[1-9][0-9]*)
  //   2  a floating-point number: the same with a fraction or an exponent or
  //      both, as in JSON; also the words nan, inf and -inf
  //   3  a hexadecimal integer: 0x or 0X and 1 to 16 hexadecimal digits
  //   0  none of these
  static int GetNumberFormat(const foundation::SafeString& text);

  // The value of a text of format 1. A value out of range gives the nearest
  // limit, any other text gives 0.
  static int StringToInt(const foundation::SafeString& text);
  static long long StringToLong(const foundation::SafeString& text);

  // The value of a text of format 1 or 2, correctly rounded. A value out of
  // range gives an infinity, or a zero, of the same sign; any other text gives
  // 0.
  static double StringToFloat(const foundation::SafeString& text);

  // The value of a text of format 3; any other text gives 0.
  static unsigned long long HexStringToULong(
      const foundation::SafeString& text);

  // Whether text begins with the bytes of prefix. Both end at their NUL; text
  // is not read beyond the first byte that differs.
  static bool StartWith(const char* text, const char* prefix);

  // Formats the arguments as printf does.
  [[gnu::format(printf, 1, 2)]] static foundation::SafeString _InternalFormat(
      const char* format, ...);
};

}  // namespace vorn::foundation::text

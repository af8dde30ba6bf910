#pragma once

#include <foundation/text/safestring.h>

namespace vorn::foundation::text {

/// Converts numbers to texts and texts to numbers, and classifies texts. The
/// functions have no state. Only _InternalFormat() depends on the locale, for
/// floating-point numbers. Functions that return a text throw std::bad_alloc
/// when memory is exhausted; the others do not throw.
class __attribute__((visibility("default"))) StringUtils {
 public:
  /// Return the decimal text of the value.
  static foundation::SafeString IntToString(int value);
  static foundation::SafeString LongToString(long long value);

  /// Returns the shortest text that StringToFloat() converts to exactly this
  /// value. The text always has number format 2: ".0" is added to a text that
  /// looks like an integer. Not-a-number of either sign is "nan", the
  /// infinities are "inf" and "-inf".
  static foundation::SafeString FloatToString(double value);

  /// Returns the text without the blanks at both ends: space, tab, line feed,
  /// vertical tab, form feed and carriage return.
  static foundation::SafeString Trim(const foundation::SafeString& text);

  /// Returns the kind of number that the whole text is:
  /// - 1, an integer: `-?(0|[1-9][0-9]*)`;
  /// - 2, a floating-point number: the same with a fraction or an exponent or
  ///   both, as in JSON; also the words nan, inf and -inf;
  /// - 3, a hexadecimal integer: 0x or 0X and 1 to 16 hexadecimal digits;
  /// - 0, none of these.
  static int GetNumberFormat(const foundation::SafeString& text);

  /// Return the value of a text of format 1, or the nearest limit if the value
  /// is out of range. Any other text gives 0.
  static int StringToInt(const foundation::SafeString& text);
  static long long StringToLong(const foundation::SafeString& text);

  /// Returns the value of a text of format 1 or 2, correctly rounded. A value
  /// out of range gives an infinity, or a zero, of the same sign; any other
  /// text 0.
  static double StringToFloat(const foundation::SafeString& text);

  /// Returns the value of a text of format 3. Any other text gives 0.
  static unsigned long long HexStringToULong(
      const foundation::SafeString& text);

  /// Whether text begins with the bytes of prefix. Both end at a NUL. text is
  /// read only up to the first byte that differs.
  static bool StartWith(const char* text, const char* prefix);

  /// Returns the arguments formatted as printf() does.
  [[gnu::format(printf, 1, 2)]] static foundation::SafeString _InternalFormat(
      const char* format, ...);
};

}  // namespace vorn::foundation::text

// Numbers and the framework's text functions at their limits. What holds for
// any text, under any locale, is in properties/number.cpp.

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <limits>
#include <utility>

namespace {

using vorn::foundation::SafeString;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

TEST(NumberTest, ConvertsTexts) {
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const struct {
    const char* text;
    int format, as_int;
    long long as_long;
    double as_double;
  } kRows[] = {
      {"-0", 1, 0, 0, 0.0},
      {"-120", 1, -120, -120, -120.0},
      {"2147483648", 1, INT_MAX, 2147483648, 2147483648.0},
      {"-2147483649", 1, INT_MIN, -2147483649, -2147483649.0},
      {"9223372036854775808", 1, INT_MAX, LLONG_MAX, 9223372036854775808.0},
      {"-99999999999999999999", 1, INT_MIN, LLONG_MIN, -9223372036854775808.0},
      {"-0.50", 2, 0, 0, -0.5},
      {"10E+05", 2, 1000000, 1000000, 1e6},
      {"3.99", 2, 3, 3, 3.99},
      {"2147483647.9", 2, INT_MAX, 2147483647, 2147483647.9},
      {"-2147483648.9", 2, INT_MIN, -2147483648, -2147483648.9},
      {"9223372036854775808.0", 2, INT_MAX, LLONG_MAX, 9223372036854775808.0},
      {"1e+400", 2, INT_MAX, LLONG_MAX, kInf},
      {"-1e-400", 2, 0, 0, -0.0},
      {"-inf", 2, INT_MIN, LLONG_MIN, -kInf},
      {"0XfF", 3, 255, 255, 255.0},
      {"0x80000000", 3, INT_MIN, 2147483648, 2147483648.0},
      {"0xffffffffffffffff", 3, -1, -1, 18446744073709551615.0}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    JNumber number;
    EXPECT_EQ(StringUtils::GetNumberFormat(row.text), row.format);
    EXPECT_TRUE(number.fromString(SafeString("\t\n\v") + row.text + "\f\r "));
    EXPECT_EQ(number.toString(), row.text);
    EXPECT_EQ(number.toInt(), row.as_int);
    EXPECT_EQ(number.toLong(), row.as_long);
    EXPECT_EQ(number.toFloat(), row.as_double);
    EXPECT_EQ(std::signbit(number.toFloat()), std::signbit(row.as_double));
  }
  JNumber number(7);
  for (const char* text :
       {"",      "-",     "+1",   "01",       "-01",
        ".5",    "1.",    "1.e5", "1e",       "e5",
        "1e+",   "1e5.0", "1-2",  "--1",      "1,5",
        "1_000", "0x",    "0xg",  "-0x1",     "0x12345678901234567",
        "NaN",   "-nan",  "+inf", "infinity", "\xA0"}) {
    EXPECT_EQ(StringUtils::GetNumberFormat(text), 0) << text;
    EXPECT_FALSE(number.fromString(text)) << text;
  }
  EXPECT_FALSE(number.fromString(SafeString("1\0", 2)));
  EXPECT_EQ(number.toString(), "7");
}

TEST(NumberTest, WritesValues) {
  const std::pair<double, const char*> kRows[] = {
      {5, "5.0"},
      {-0.0, "-0.0"},
      {1000, "1000.0"},
      {1e5, "1e+05"},
      {1e22, "1e+22"},
      {-0.1, "-0.1"},
      {5e-324, "5e-324"},
      {NAN, "nan"},
      {-NAN, "nan"},
      {INFINITY, "inf"},
      {-INFINITY, "-inf"},
      {1234567.25, "1234567.25"},
      {0x1.fffffffffffffp1023, "1.7976931348623157e+308"}};
  JNumber number;
  EXPECT_EQ(number.toString(), "0");
  for (const auto& [value, text] : kRows) {
    number.setValue(value);
    EXPECT_EQ(number.toString(), text);
    EXPECT_EQ(JNumber(value).toString(), text);
  }
  number.setValue(INT_MIN);
  EXPECT_EQ(number.toString(), "-2147483648");
  number.setValue(LLONG_MIN);
  EXPECT_EQ(number.toString(), "-9223372036854775808");
  EXPECT_EQ(JNumber(1234567).toString(), "1234567");
  EXPECT_EQ(JNumber(LLONG_MAX).toString(), "9223372036854775807");
}

TEST(StringUtilsTest, ComparesAndFormatsTexts) {
  const struct {
    const char *text, *prefix;
    bool starts;
  } kRows[] = {{"abc", "ab", true}, {"ab", "abc", false}, {"", "a", false},
               {"a", "", true},     {"", "", true},       {"Ab", "ab", false}};
  for (const auto& row : kRows) {
    EXPECT_EQ(StringUtils::StartWith(row.text, row.prefix), row.starts)
        << row.text << " " << row.prefix;
  }
  const char unterminated[] = {'a', 'b'};
  EXPECT_FALSE(StringUtils::StartWith(unterminated, "acd"));
  EXPECT_EQ(StringUtils::_InternalFormat("index <%u> of <%s>", 7u, "a"),
            "index <7> of <a>");
  EXPECT_EQ(StringUtils::_InternalFormat("%s", ""), "");
  EXPECT_EQ(StringUtils::_InternalFormat("%1000d", 5),
            SafeString(999, ' ') + "5");
}

}  // namespace

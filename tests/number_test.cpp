// The texts that numbers are written with, and the framework's other functions
// on texts. What holds for any number is in properties/number.cpp.

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <utility>

namespace {

using vorn::foundation::SafeString;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

TEST(NumberTest, WritesValues) {
  const std::pair<double, const char*> kRows[] = {
      {5, "5.0"},
      {-0.0, "-0.0"},
      {1000, "1000.0"},
      {1e5, "1e+05"},
      {5e-324, "5e-324"},
      {NAN, "nan"},
      {-NAN, "nan"},
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
  EXPECT_EQ(JNumber(INT_MIN).toString(), "-2147483648");
  EXPECT_EQ(JNumber(LLONG_MIN).toString(), "-9223372036854775808");
}

TEST(StringUtilsTest, ComparesAndFormatsTexts) {
  const char unterminated[] = {'a', 'b'};
  EXPECT_FALSE(StringUtils::StartWith(unterminated, "acd"));
  EXPECT_TRUE(StringUtils::StartWith("abc", "ab"));
  EXPECT_FALSE(StringUtils::StartWith("ab", "abc"));
  EXPECT_TRUE(StringUtils::StartWith("", ""));
  EXPECT_EQ(StringUtils::_InternalFormat("index <%u> of <%s>", 7u, "a"),
            "index <7> of <a>");
  EXPECT_EQ(StringUtils::_InternalFormat("%s", ""), "");
  EXPECT_EQ(StringUtils::_InternalFormat("%1000d", 5),
            SafeString(999, ' ') + "5");
}

}  // namespace

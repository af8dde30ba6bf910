// Numbers and the framework's text functions, under the C locale, under one
// with a decimal comma, and under a global C++ locale with one.

#include "support/numbers.h"

#include <gtest/gtest.h>

#include <clocale>
#include <locale>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using namespace support;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

struct Comma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
  std::string do_grouping() const override { return "\3"; }
};

class NumberTest : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override {
    if (GetParam() == "Global") {
      std::locale::global(std::locale(std::locale::classic(), new Comma));
    } else if (GetParam() == "Comma") {
      const char* const wanted = std::getenv("VORN_TEST_LOCALE");
      if (std::setlocale(LC_ALL, wanted ? wanted : "de_DE.UTF-8") == nullptr) {
        if (wanted == nullptr) GTEST_SKIP() << "de_DE.UTF-8 is not installed";
        FAIL() << "there is no locale " << wanted;
      }
      ASSERT_STREQ(std::localeconv()->decimal_point, ",");
    }
  }
  void TearDown() override {
    std::locale::global(std::locale::classic());
    std::setlocale(LC_ALL, "C");
  }
};
INSTANTIATE_TEST_SUITE_P(Locale, NumberTest,
                         testing::Values("C", "Global", "Comma"),
                         [](const auto& locale) { return locale.param; });

// A blank behind each text.
TEST_P(NumberTest, ConvertsTexts) {
  const struct {
    std::string_view texts;
    int format;
  } kRows[] = {
      {"0 -0 7 -120 2147483647 2147483648 -2147483648 -2147483649 "
       "9223372036854775807 9223372036854775808 -9223372036854775808 "
       "-99999999999999999999 ",
       1},
      {"0.0 -0.0 -0.50 1e5 10E+05 1.25e-10 0e0 nan inf -inf 3.99 -3.99 "
       "2147483647.9 -2147483648.9 1e20 -1e20 9223372036854774784.0 "
       "9223372036854775808.0 1e+400 -1e-400 ",
       2},
      {"0x0 0XfF 0x80000000 0x123456789 0x00000000000000aB "
       "0xFEDCBA9876543210 0xffffffffffffffff ",
       3},
      {" - + +1 01 -01 00 .5 -.5 1. 1.e5 1e e5 1e+ 1e5.0 1-2 --1 1,5 1_000 x ",
       0},
      {"0x 0xg -0x1 0x12345678901234567 NaN -nan +inf infinity ", 0},
      {"1\0 \0 0x1\0 nan\0 1e5\0"
       "0 "sv,
       0}};
  for (auto [texts, format] : kRows) {
    for (; !texts.empty(); texts.remove_prefix(texts.find(' ') + 1)) {
      const SafeString text(texts.substr(0, texts.find(' ')));
      EXPECT_EQ(StringUtils::GetNumberFormat(text), format) << text.c_str();
      EXPECT_STREQ(WrongAbout(text), "") << text.c_str();
    }
  }
  std::mt19937 random(1);
  const auto digits = [&random](std::size_t most) {
    SafeString text(1 + random() % most, '0');
    for (char& c : text) c = static_cast<char>('0' + random() % 10);
    return text;
  };
  for (int i = 0; i < 10000; ++i) {
    const std::size_t most = i % 100 == 0 ? 1000 : 25;
    SafeString text = random() % 2 ? "-" : "";
    text += random() % 2 ? "0" : "1" + digits(most);
    if (random() % 4) {
      text += "." + SafeString(random() % 4 ? 0 : random() % most, '0');
      text += digits(most);
    }
    if (random() % 2) {
      text += (random() % 2 ? "e-" : "E") + digits(i % 70 == 0 ? 40 : 3);
    }
    ASSERT_STREQ(WrongAbout(text), "") << text;
  }
}

TEST_P(NumberTest, TakesATrimmedTextAsItIs) {
  const struct {
    std::string_view text, trimmed;
    bool number;
  } kRows[] = {{"  42  ", "42", true},
               {"\t\n\v\f\r -1.50e3 \r\f\v\n\t", "-1.50e3", true},
               {"0x00Ff", "0x00Ff", true},
               {" 1 2", "1 2", false},
               {" \n ", "", false},
               {"\0 1"sv, "\0 1"sv, false},
               {"\xA0\x85 1 ", "\xA0\x85 1", false}};
  for (const auto& row : kRows) {
    const SafeString text(row.text);
    EXPECT_EQ(StringUtils::Trim(text), row.trimmed) << row.text;
    JNumber number(7);
    EXPECT_EQ(number.fromString(text), row.number) << row.text;
    EXPECT_EQ(number.toString(), row.number ? row.trimmed : "7");
  }
}

TEST_P(NumberTest, WritesValues) {
  const struct {
    double value;
    const char* text;
  } kRows[] = {{5, "5.0"},
               {-0.0, "-0.0"},
               {1000, "1000.0"},
               {1e5, "1e+05"},
               {1e22, "1e+22"},
               {-0.1, "-0.1"},
               {5e-324, "5e-324"},
               {1234567.25, "1234567.25"},
               {NAN, "nan"},
               {-NAN, "nan"},
               {INFINITY, "inf"},
               {-INFINITY, "-inf"},
               {0x1.fffffffffffffp1023, "1.7976931348623157e+308"}};
  JNumber number;
  EXPECT_EQ(number.toString(), "0");
  for (const auto& row : kRows) {
    number.setValue(row.value);
    EXPECT_STREQ(number.toString().c_str(), row.text);
    EXPECT_STREQ(JNumber(row.value).toString().c_str(), row.text);
  }
  number.setValue(INT_MIN);
  EXPECT_EQ(number.toString(), "-2147483648");
  number.setValue(LLONG_MIN);
  EXPECT_EQ(number.toString(), "-9223372036854775808");
  EXPECT_EQ(JNumber(1234567).toString(), "1234567");
  EXPECT_EQ(JNumber(LLONG_MAX).toString(), "9223372036854775807");
}

TEST_P(NumberTest, EveryDoubleSurvives) {
  std::mt19937_64 random(1);
  for (int i = 0; i < 100000; ++i) {
    std::uint64_t bits = random();
    if (i % 8 == 0) bits &= ~(std::uint64_t{0x7FF} << 52);  // a subnormal one
    if (i % 8 == 1) bits &= ~std::uint64_t{0xFFFFFFFF};     // one of few digits
    double value;
    std::memcpy(&value, &bits, sizeof value);
    if (i % 8 == 2) value = static_cast<int>(bits >> 32);
    const JNumber number(value);
    ASSERT_EQ(StringUtils::GetNumberFormat(number.toString()), 2) << value;
    ASSERT_TRUE(AreSame(number.toFloat(), value)) << value;
  }
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

// Numbers and the framework's text functions, under the C locale, under one
// with a decimal comma, and under a global C++ locale with one.

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <locale>
#include <random>
#include <string>
#include <string_view>

namespace {

using namespace std::string_view_literals;
using vorn::foundation::SafeString;
using vorn::foundation::json::JNumber;
using vorn::foundation::text::StringUtils;

constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

// The bits of a double; every not-a-number gives the same.
std::uint64_t BitsOf(double value) {
  if (std::isnan(value)) value = kNan;
  std::uint64_t bits;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

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

TEST_P(NumberTest, ClassifiesTexts) {
  const struct {
    std::string_view texts;  // a blank behind each
    int format;
  } kRows[] = {
      {"0 -0 7 -120 9223372036854775808 ", 1},
      {"0.0 -0.50 1e5 10E+05 1.25e-10 0e0 nan inf -inf ", 2},
      {"0x0 0XfF 0x00000000000000aB 0xFEDCBA9876543210 ", 3},
      {" - + +1 01 -01 00 .5 -.5 1. 1.e5 1e e5 1e+ 1e5.0 1-2 --1 1,5 1_000 ",
       0},
      {"0x 0xg -0x1 0x12345678901234567 NaN -nan +inf infinity \t1 1\n ", 0},
      {"1\0 \0 0x1\0 nan\0 1e5\0"
       "0 "sv,
       0}};
  for (auto [texts, format] : kRows) {
    for (; !texts.empty(); texts.remove_prefix(texts.find(' ') + 1)) {
      const SafeString text(texts.substr(0, texts.find(' ')));
      EXPECT_EQ(StringUtils::GetNumberFormat(text), format) << text.c_str();
    }
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

TEST_P(NumberTest, ConvertsAtTheLimits) {
  const struct {
    const char* text;
    int as_int;
    long long as_long;
    double as_float;
  } kRows[] = {
      {"0", 0, 0, 0},
      {"-7", -7, -7, -7},
      {"2147483648", INT_MAX, 2147483648, 2147483648},
      {"-2147483649", INT_MIN, -2147483649, -2147483649},
      {"9223372036854775807", INT_MAX, LLONG_MAX, 0x1p63},
      {"9223372036854775808", INT_MAX, LLONG_MAX, 0x1p63},
      {"-9223372036854775808", INT_MIN, LLONG_MIN, -0x1p63},
      {"-99999999999999999999", INT_MIN, LLONG_MIN, -0x1p63},
      {"3.99", 3, 3, 3.99},
      {"-3.99", -3, -3, -3.99},
      {"-0.0", 0, 0, -0.0},
      {"2147483647.9", INT_MAX, 2147483647, 2147483647.9},
      {"-2147483648.9", INT_MIN, -2147483648, -2147483648.9},
      {"1e20", INT_MAX, LLONG_MAX, 1e20},
      {"-1e20", INT_MIN, LLONG_MIN, -1e20},
      {"9223372036854774784.0", INT_MAX, 9223372036854774784, 0x1p63 - 1024},
      {"9223372036854775808.0", INT_MAX, LLONG_MAX, 0x1p63},
      {"1e+400", INT_MAX, LLONG_MAX, kInf},
      {"-1e-400", 0, 0, -0.0},
      {"nan", 0, 0, kNan},
      {"inf", INT_MAX, LLONG_MAX, kInf},
      {"-inf", INT_MIN, LLONG_MIN, -kInf},
      {"0x80000000", INT_MIN, 2147483648, 2147483648},
      {"0x123456789", 0x23456789, 0x123456789, 0x123456789},
      {"0xffffffffffffffff", -1, -1, 0x1p64}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    JNumber number;
    EXPECT_TRUE(number.fromString(row.text));
    EXPECT_EQ(number.toInt(), row.as_int);
    EXPECT_EQ(number.toLong(), row.as_long);
    EXPECT_EQ(BitsOf(number.toFloat()), BitsOf(row.as_float));
  }
}

TEST_P(NumberTest, ConvertsNoOtherText) {
  for (const char* text : {"", "x", "1,5", "1.0", "0x1", "12"}) {
    const bool integer = text == "12"sv;
    const bool real = text == "1.0"sv;
    EXPECT_EQ(StringUtils::StringToInt(text), integer ? 12 : 0) << text;
    EXPECT_EQ(StringUtils::StringToLong(text), integer ? 12 : 0) << text;
    EXPECT_EQ(StringUtils::StringToFloat(text), integer ? 12 : real) << text;
    EXPECT_EQ(StringUtils::HexStringToULong(text), text == "0x1"sv) << text;
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
               {kNan, "nan"},
               {-kNan, "nan"},
               {kInf, "inf"},
               {-kInf, "-inf"},
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
    ASSERT_EQ(BitsOf(number.toFloat()), BitsOf(value)) << value;
  }
}

TEST(StringUtilsTest, ReadsFloatsAsTheCLibraryDoes) {
  std::mt19937 random(1);
  const auto digits = [&random](std::size_t most) {
    std::string text(1 + random() % most, '0');
    for (char& c : text) c = static_cast<char>('0' + random() % 10);
    return text;
  };
  for (int i = 0; i < 20000; ++i) {
    const std::size_t most = i % 100 == 0 ? 1000 : 25;
    std::string text = random() % 2 ? "-" : "";
    text += random() % 2 ? "0" : "1" + digits(most);
    if (random() % 4) {
      text += "." + std::string(random() % 4 ? 0 : random() % most, '0');
      text += digits(most);
    }
    if (random() % 2) {
      text += (random() % 2 ? "e-" : "E") + digits(i % 70 == 0 ? 40 : 3);
    }
    ASSERT_EQ(BitsOf(StringUtils::StringToFloat(SafeString(text))),
              BitsOf(std::strtod(text.c_str(), nullptr)))
        << text;
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

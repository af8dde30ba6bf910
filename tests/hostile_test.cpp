// Hostile text: however a text is changed, it is refused with a failure of the
// table or read into a tree that survives being written, nothing stays behind,
// and no byte beyond the text is looked at.

#include "compile.h"
#include "support/failures.h"
#include "support/fixture.h"
#include "support/texts.h"

#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <set>

namespace {

using namespace support;
using namespace vorn::foundation;
using json::JsonReader;
using Texts = std::set<std::string>;

// Reads the text and returns the failure, or nothing.
std::string Read(const std::string& text) {
  const Account before = Monitor::Now();
  std::string failure;
  const ExactText exact(text);
  const char* cursor = exact.start();
  try {
    json::JBase* const tree = json::Compile(cursor);
    for (const SafeString& written :
         {JsonReader::Compress(tree), JsonReader::Format(tree)}) {
      JsonReader again;
      EXPECT_TRUE(again.fromString(written)) << text;
      EXPECT_TRUE(JsonReader::IsEqual(again.getJson(), tree)) << text;
    }
    tree->dispose();
  } catch (const lang::Exception& e) {
    const Monitor::Exempt exemption;
    failure = std::string(e.where()) + ": " + e.what();
    EXPECT_TRUE(IsFailure(e, *cursor)) << text;
  }
  EXPECT_LE(cursor, exact.start() + text.size()) << text;
  EXPECT_EQ(Monitor::Now(), before) << text;
  Monitor::TakeLog();
  return failure;
}

// With a ~ between any two tokens.
constexpr const char* kTexts =
    "null|true|false|nan|inf|-inf|0|-1.5e+3|0.5E-1|12345678901234567|nul|fals|"
    R"(-|/|0x1F|1~2|[~]|{~}|[~1~2~]|{~"a"~1~}|""|"a"|"\\\"\r\n\t"|"\u0041\/"|)"
    R"("a text, on the heap"|[~1~]|[~[~]~,~{~}~]|[~true~,~false~,~null~]|)"
    R"([~nan~,~inf~,~-inf~]|{~"a"~:~1~}|{~"a"~:~[~]~,~"b"~:~{~}~}|)"
    R"({~"a"~:~1~,~"a"~:~"2"~}|{~""~:~{~"\\"~:~[~0~]~}~}|)"
    R"([~{~"\t"~:~"//"~}~,~"[{"~]|)"
    "\"\xFF\n\"| \t\n~1~\v\f\r|//c\n~1|1~//|[~//\r\n~1~//\r~,~ ~2~//\n~]|"
    "{~//\n~\"k\"~ ~:~//\n~0~}";

class HostileTest : public TracedLeakTest {};
INSTANTIATE_TEST_SUITE_P(Tracing, HostileTest, testing::Bool());

TEST_P(HostileTest, ChangedTextsAreRefusedOrSurvive) {
  Texts results;
  for (const std::string& row : Split(kTexts)) {
    const std::vector<std::string> tokens = Split(row, '~');
    // The tokens, of which this one stands there so many times.
    const auto join = [&](std::size_t token, int times) {
      std::string text;
      for (std::size_t i = 0; i < tokens.size(); ++i) {
        text += Repeat(i == token ? times : 1, tokens[i]);
      }
      return text;
    };
    for (std::size_t i = 0; i < tokens.size(); ++i) {
      results.insert({Read(join(i, 0)), Read(join(i, 2))});
    }
    std::string text = join(0, 1);
    for (std::size_t i = 0; i < text.size(); ++i) {
      results.insert(Read(text.substr(0, i)));
      for (int value = 0; value < 256; ++value, ++text[i]) {
        results.insert(Read(text));
      }
    }
  }
  // None, or any but too deep nesting.
  EXPECT_EQ(results.size(), std::size(kFailures))
      << testing::PrintToString(results);
}

TEST_P(HostileTest, BracketsOfAnyMixtureNestToTheLimit) {
  const std::pair<const char*, const char*> kBrackets[] = {{"[", "]"},
                                                           {R"({"a":)", "}"}};
  for (unsigned int length = 1; length <= 4; ++length) {
    for (unsigned int mixture = 0; mixture < 1u << length; ++mixture) {
      SCOPED_TRACE(testing::Message() << mixture << " of " << length);
      std::string text = "0";
      for (unsigned int level = 0; level < 1024; ++level) {
        const auto& [open, close] = kBrackets[mixture >> level % length & 1];
        text = open + text + close;
      }
      EXPECT_EQ(Read(text), "");
      for (const auto& [open, close] : kBrackets) {
        EXPECT_EQ(Read(open + text + close), "Parse: nesting is too deep");
      }
    }
  }
}

}  // namespace

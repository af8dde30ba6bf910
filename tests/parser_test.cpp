// The parser: what it refuses and where, what it accepts, and what it does
// without memory for an object. What holds for any text is in
// properties/tree.cpp.

#include "compile.h"
#include "support/operations.h"
#include "support/property.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <sstream>
#include <thread>

namespace {

using namespace support;
using namespace vorn::foundation;

using ParserTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, ParserTest, testing::Bool());

// What comes of a text: the tree, compressed, or "no object", or the failure,
// with the rest of the text behind it.
std::string Read(const std::string& text) {
  const char* cursor = text.c_str();
  std::string result = "no object";
  try {
    const generic::ScopedPointer<json::JBase> tree(json::Compile(cursor));
    if (tree) result = json::JsonReader::Compress(tree.get()).c_str();
  } catch (const lang::Exception& failure) {
    result = std::string(failure.where()) + ": " + failure.what() + "^";
  }
  return result + cursor;
}

// A ^ stands in front of each fault.
const std::pair<std::string, std::string> kMalformed[] = {
    {"ParseKey: object '}' mismatching", "{^|{\"a\":{}, //\n ^"},
    {"ParseKey: spare ','", "{\"a\":1,^}|{\"a\":[] , //\r ^} x"},
    {"ParseKey: key is not begin with '\"'", R"({^,}|{^1:2}|{"a":1,^,"b":2})"},
    {"GetString: string is not end with '\"'",
     R"("^|"a\^|"\\\"^|{"a":1,"b:2}^)"},
    {"ParseObject: field not combined with ':'", R"({"a"^|{"a" ^1}|{"a"^/:1})"},
    {"ParseObject: missing '}' or have some extra data characters",
     R"({"a":1^|{"a":1 ^"b":2}|{"a":1 //}^)"},
    {"ArraySkip: array ']' mismatching", "[^|[ \v\f^|[1,\r\n//^"},
    {"ArraySkip: spare ','", "[1 , //\n ^] x|[[[],^]]"},
    {"ParseArray: missing ']'", "[1^|[1 ^2]|[1 //]^|[nan^0]|[0^x10]|[true^/]"},
    {"ParseBool: true error", "^fals|^t|^tRUE|^fa\nlse"},
    {"ParseNull: data error", "^nul|^nAn|^n/ull"},
    {"ParseNumber: number is incorrect",
     "^|//1^|^]|^NaN|^-|^-01|^1.|^-nan|[1,^,2]"},
    {"Parse: extra data characters",
     R"(1 ^2|{}^}|inf^inity|0^x10|"a"^"b"|1^/)"},
    {"Parse: nesting is too deep",
     Repeat(1024, "[") + "^[]|" + Repeat(512, "{\"a\":[1,") + "^{"},
};

TEST_P(ParserTest, RefusesMalformedText) {
  for (const auto& [failure, texts] : kMalformed) {
    std::istringstream in(texts);
    for (std::string text; std::getline(in, text, '|');) {
      SCOPED_TRACE(text);
      const std::string plain = Replace(text, "^", "");
      const std::string result = failure + text.substr(text.find('^'));
      EXPECT_EQ(Read(" //[\r" + plain), result);
      if (failure.compare(0, 6, "Parse:") != 0) {
        EXPECT_EQ(Read(R"([nan,{"k":["s"],"l":)" + plain), result);
      }
    }
  }
}

TEST_P(ParserTest, ReadsTheDialect) {
  const std::pair<std::string, std::string> table[] = {
      {"[-0,0.10,1E+05,-5,1.5e3,1e-0,9e999,18446744073709551616000 ]",
       "[-0,0.10,1E+05,-5,1.5e3,1e-0,9e999,18446744073709551616000]"},
      {R"("\\\"\r\n\t\u0041\/\b\f\\n")", R"("\\\"\r\n\t\\u0041\\/\\b\\f\\n")"},
      {"\"\n\r\t //'\x01\x7F\x80\xFF\"", "\"\\n\\r\\t //'\x01\x7F\x80\xFF\""},
      {"{\"\\t\":[1],\"\t\":null,\"\\t\":{}}", R"({"\t":{}})"},
      {R"(~[~1~,~{~"a"~:~[~]~}~,~{~}~,~"s"~,~null~,~nan~,~true~,~-inf~]~//)",
       R"([1,{"a":[]},{},"s",null,nan,true,-inf])"},
  };
  for (const auto& [text, compressed] : table) {
    for (const char* blanks : {"", " \t\n\v\f//\n// [\"{\r\n///\n", "//c\r"}) {
      SCOPED_TRACE(text + blanks);
      EXPECT_EQ(Read(Replace(text, "~", blanks)), compressed);
    }
  }
}

// The object monitor has no memory for the last object.
TEST(MemoryTest, NumbersAreJudgedAndMembersStayWithoutObjects) {
  Monitor::Reset(true);
  Monitor::FailRequest(Source::ObjectMonitor, 1, true);
  EXPECT_EQ(Read("[1-2]"), "ParseNumber: number is incorrect^1-2]");
  Monitor::FailRequest(Source::ObjectMonitor, 2, true);
  EXPECT_EQ(Read(R"({"k":1,"k":[]})"), R"({"k":1})");
}

// In a request that fails. A sanitizer takes the unwinding for an overflow.
TEST_P(ParserTest, ThreadsCanBeCancelled) {
  for (const Source source :
       {Source::OperatorNew, Source::ObjectMonitor, Source::MemoryMonitor}) {
    bool finished = VORN_SANITIZED;
    for (std::size_t number = 0; !finished; ++number) {
      std::thread([&] {
        pthread_cancel(pthread_self());
        Subject it(R"({"a text, on the heap":[[{}],{"k":null},"\t",-1.5]})");
        Monitor::FailRequest(source, number, false);
        for (const Operation& operation : kOperations) operation.run(it);
        it.reader.fromString(R"([["a text, on the heap"],[1,[2,3]],x])");
        finished = true;
      }).join();
      EXPECT_EQ(Monitor::StopFailing() == 0, finished);
    }
  }
}

}  // namespace

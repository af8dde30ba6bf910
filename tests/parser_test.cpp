// The parser: what it refuses and where, what it accepts, and what it does
// without memory for an object. What holds for any text is in
// properties/text.cpp.

#include "compile.h"
#include "support/property.h"
#include "support/texts.h"
#include "support/traced.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <pthread.h>

#include <cstring>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using Tree = generic::ScopedPointer<JBase>;

VORN_TRACED_TEST(ParserTest);

// What comes of a text: the tree, compressed, or "no object", or the failure;
// and how far the cursor went.
struct Outcome {
  std::string result = "no object";
  std::ptrdiff_t cursor = 0;
};

Outcome Read(const std::string& text) {
  const char* cursor = text.c_str();
  Outcome outcome;
  try {
    if (const Tree tree{Compile(cursor)}) {
      outcome.result = JsonReader::Compress(tree.get()).c_str();
    }
  } catch (const lang::Exception& failure) {
    outcome.result = std::string(failure.where()) + ": " + failure.what();
  }
  outcome.cursor = cursor - text.c_str();
  return outcome;
}

// A ^ stands in front of each fault.
const struct {
  const char* failure;
  std::string texts;
} kRefused[] = {
    {"ParseKey: object '}' mismatching", "{^|{ \t//}^|{\"a\":{}, //\n ^"},
    {"ParseKey: spare ','", "{\"a\":1,^}|{\"a\":[] , //\r ^} x"},
    {"ParseKey: key is not begin with '\"'",
     R"({^,}|{^1:2}|{^a|{^:|{^]|{^/* x */}|{^'a':1}|{"a":1, ^null})"},
    {"GetString: string is not end with '\"'",
     R"("^|"a\"^|"a\^|"\\\"^|{"^|{"a":1,"b:2}^|["a", "]^)"},
    {"ParseObject: field not combined with ':'",
     R"({"a"^|{"a" ^1}|{"a" //:^|{"a"^"b"}|{"a"^/:1})"},
    {"ParseObject: missing '}' or have some extra data characters",
     R"({"a":1^|{"a":1 ^"b":2}|{"a":1^]|{"a":1 //}^|{"a":true^x}|{"a":""^/})"},
    {"ArraySkip: array ']' mismatching", "[^|[ \v\f//]^|[1,\r\n//^|[[],^"},
    {"ArraySkip: spare ','", "[1,^]|[1 , //\n ^] x|[[[],^]]"},
    {"ParseArray: missing ']'",
     R"([1^|[1 ^2]|[null^x]|[1^}|[[]^[]]|[nan^0]|["a"^"b"]|[0^x10]|[true^/])"},
    {"ParseBool: true error", "^fals|^tru|^f|^tRUE|^falze|^fa\nlse"},
    {"ParseNull: data error", "^nul|^n|^nAn|^nulL|^n/ull"},
    {"ParseNumber: number is incorrect",
     "^| \t^|//1^|^]|^:|^/|^True|^Inf|^'a'|^-|^--1|^+1|^01|^-01|^.5|^1.|^1e|"
     "^1-2|^1.2.3|^-in|^in|^-Inf|^-nan|^1E+-5|[1,^,2]|[^}|{\"a\":^}|//c\n^/|"
     "^\xEF\xBB\xBF[]"},
    {"Parse: extra data characters",
     R"(1 ^2|[]^]|{}^}|null^x|nan^nan|-inf^inity|12^abc|0^x10|"a"^"b"|1^/|)"
     "1 //\n^1|1^\x80"},
    {"Parse: nesting is too deep",
     Repeat(1024, "[") + "^[]|" + Repeat(512, "{\"a\":[1,") + "^{"},
};

TEST_P(ParserTest, MalformedTextIsRefused) {
  for (const auto& row : kRefused) {
    const bool root = std::strncmp(row.failure, "Parse:", 6) == 0;
    for (const char* before : {" //[\r", R"([nan,{"k":["s"],"l":)"}) {
      if (root && *before == '[') continue;
      for (const std::string& text : Split(row.texts)) {
        SCOPED_TRACE(before + text);
        const Outcome outcome = Read(before + Replace(text, "^", ""));
        EXPECT_EQ(outcome.result, row.failure);
        EXPECT_EQ(outcome.cursor, (before + text).find('^'));
      }
    }
  }
}

// At each ~ blanks and comments may stand.
TEST_P(ParserTest, ValuesAreReadAndWritten) {
  const std::string deep = Repeat(511, "[{\"a\":") + "0" + Repeat(511, "}]");
  const std::pair<std::string, std::string> kRows[] = {
      {R"(~[~1~,~{~"a"~:~[~]~}~,~{~}~,~"s"~,~null~,~nan~,~inf~,~-inf~,~true~])",
       R"([1,{"a":[]},{},"s",null,nan,inf,-inf,true])"},
      {"[-0,0.10,1E+05,1e-0~,false~,9e999,18446744073709551616000 ]",
       "[-0,0.10,1E+05,1e-0,false,9e999,18446744073709551616000]"},
      {R"("\\\"\r\n\t\u0041\/\b\f\\n")", R"("\\\"\r\n\t\\u0041\\/\\b\\f\\n")"},
      {"\"\n\r\t //'\x01\x7F\x80\xFF\"", "\"\\n\\r\\t //'\x01\x7F\x80\xFF\""},
      {"{\"\\\"\\x\t\xE9\":\"\"}", "{\"\\\"\\\\x\\t\xE9\":\"\"}"},
      {"{\"\\t\":[1],\"\t\":null,\"\\t\":{}}", R"({"\t":{}})"},
      {"[" + deep + "," + deep + ",[] ]", "[" + deep + "," + deep + ",[]]"},
      {"[" + Repeat(2000, "[],") + " 0]", "[" + Repeat(2000, "[],") + "0]"}};
  const std::string blanks = " \t\n\v\f\r", digits = "123456789";
  for (const auto& [text, compressed] : kRows) {
    for (const std::string& between : Split(
             "| \t\n\v\f\r|//\n|//c\r|// [\"{\r\n|///\n|//\xFF\n|// /\r//\n")) {
      SCOPED_TRACE(text + between);
      const Outcome outcome = Read(Replace(text, "~", between));
      EXPECT_EQ(outcome.result, compressed);
      EXPECT_EQ(outcome.cursor, Replace(text, "~", between).size());
    }
  }
  EXPECT_EQ(Read("42//").result, "42");
  for (int value = 1; value < 256; ++value) {
    SCOPED_TRACE(value);
    const std::string byte(1, static_cast<char>(value));
    EXPECT_EQ(Read("[" + byte + "1]").result[0] == '[',
              (blanks + digits + "-").find(byte) != byte.npos);
    EXPECT_EQ(Read("[1" + byte + "]").result[0] == '[',
              (blanks + digits + "0").find(byte) != byte.npos);
  }
}

// The object monitor traces and has no memory for the object with the number,
// nor for those behind it.
TEST(MemoryTest, ParserGoesOnWithoutObjects) {
  const std::string pointer =
      "vorn.foundation.generic.ScopedPointer<N4vorn10foundation4json";
  const std::string null = "E>.operator->: access null";
  const struct {
    std::size_t number;
    std::string texts, result;
  } kRows[] = {
      {0, "1|nan|-inf|null|true|false|\"s\"|[//]\n] |{ } |1 2", "no object"},
      {1, "[[1]]|{\"k\":[1]}", pointer + "6JArray" + null},
      {0, "{\"k\":1}|[{\"k\":1}]", pointer + "7JObject" + null},
      {1, "[1,nan,inf,-inf,null,true,false,\"s\",[],{}]", "[]"},
      {2, "{\"k\":1,\"k\":2}|{\"k\":1,\"k\":[]}", "{\"k\":1}"},
      {0, "x|[x]|{\"k\":-}|[[1-2]]", "ParseNumber: number is incorrect"},
      {1, "[1 2]|[[]", "ParseArray: missing ']'"}};
  for (const auto& row : kRows) {
    for (const std::string& text : Split(row.texts)) {
      SCOPED_TRACE(text);
      Monitor::Reset(true);
      Monitor::FailRequest(Source::ObjectMonitor, row.number, true);
      EXPECT_EQ(Read(text).result, row.result);
      EXPECT_GT(Monitor::StopFailing(), 0u);
    }
  }
}

// Works on a text until it is cancelled, in a request that fails.
void* UntilCancelled(void*) {
  pthread_cancel(pthread_self());
  JsonReader reader, again;
  JsonArchiver archiver;
  reader.fromString(R"({"a text, on the heap":[[{}],{"k":null},"\t",-1.5]})");
  if (!reader.valid()) return nullptr;
  again.fromString(R"([["a text, on the heap"],[1,[2,3]],x])");
  const Tree copy(reader.getJson()->clone());
  again.fromString(reader.format());
  archiver.fromString(reader.compress());
  archiver.writeArrayByField("a")->writeStringByIndex(0, archiver.format());
  return nullptr;
}

TEST_P(ParserTest, ThreadsCanBeCancelled) {
  const auto run = [] {
    void* result = nullptr;
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, nullptr, UntilCancelled, nullptr), 0);
    pthread_join(thread, &result);
    return result == PTHREAD_CANCELED;
  };
  for (const Source source :
       {Source::OperatorNew, Source::ObjectMonitor, Source::MemoryMonitor}) {
    Sweep({source, false}, run, [](End end, std::size_t, bool failed) {
      EXPECT_EQ(end == End::Passed, failed);
      return false;
    });
  }
}

}  // namespace

// The parser: what it refuses and where, what it accepts, and what it does
// without memory for an object.

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

VORN_TRACED_TEST(ParserTest);

// What comes of a text: the tree, compressed, or "no object", or the failure;
// and how far the cursor went. Nothing of it stays alive.
struct Outcome {
  std::string result = "no object";
  std::ptrdiff_t cursor = 0;
};

Outcome Read(const std::string& text) {
  const char* cursor = text.c_str();
  Outcome outcome;
  try {
    if (json::JBase* tree = json::Compile(cursor)) {
      outcome.result = json::JsonReader::Compress(tree).c_str();
      tree->dispose();
    }
  } catch (const lang::Exception& failure) {
    outcome.result = std::string(failure.where()) + ": " + failure.what();
  }
  outcome.cursor = cursor - text.c_str();
  EXPECT_EQ(Monitor::Now().objects, 0u);
  return outcome;
}

// A ^ stands in front of each fault.
const struct {
  const char* failure;
  std::string texts;
} kRefused[] = {
    {"ParseKey: object '}' mismatching",
     "{^|{ \t^|{//}^|{\"a\":1,^|{\"a\":{}, //\n ^"},
    {"ParseKey: spare ','",
     "{\"a\":1,^}|{\"a\":[] , //\r ^} x|{\"a\":{\"b\":1,^}}"},
    {"ParseKey: key is not begin with '\"'",
     R"({^,}|{^1:2}|{^a|{^:|{^]|{^/}|{^/* x */}|{^'a':1}|{"a":1,^,"b":2}|)"
     "{\"a\":1, ^null}|{^\xA0}"},
    {"GetString: string is not end with '\"'",
     R"("^|"a//^|"a\"^|"a\^|"\\\"^|{"^|{"a":1,"b:2}^|{"a":"}^|["a", "]^)"},
    {"ParseObject: field not combined with ':'",
     R"({"a"^|{"a"^}|{"a" ^1}|{"a" //:^|{"a"^"b"}|{"a"^,"b":1}|{"a"^/:1})"},
    {"ParseObject: missing '}' or have some extra data characters",
     R"({"a":1^|{"a":1 ^"b":2}|{"a":1^]|{"a":1 //}^|{"a":1^:2}|{"a":true^x}|)"
     R"({"a":{}^{}}|{"a":""^/})"},
    {"ArraySkip: array ']' mismatching",
     "[^|[ \v\f^|[//]^|[1,^|[1,\r\n//^|[[],^"},
    {"ArraySkip: spare ','", "[1,^]|[1 , //\n ^] x|[[[],^]]"},
    {"ParseArray: missing ']'",
     R"([1^|[1 ^2]|[null^x]|[1^}|[1 //]^|[[]^[]]|[nan^0]|[1^:2]|["a"^"b"]|)"
     R"([0^x10]|[true^/]|[-inf^-inf])"},
    {"ParseBool: true error", "^fals|^tru|^t|^f|^tRUE|^truf|^falze|^fa\nlse"},
    {"ParseNull: data error", "^nul|^n|^na|^nAn|^nulL|^n/ull"},
    {"ParseNumber: number is incorrect",
     "^| \t^|//1^|^]|^}|^,|^:|^/|^True|^NaN|^Inf|^x|^'a'|^-|^--1|^+1|^01|^-01|"
     "^.5|^1.|^1e|^1-2|^1.2.3|^-in|^in|^-Inf|^-nan|^e5|^1E+-5|[^,1]|[1,^,2]|"
     "[^}|[^/ 1]|{\"a\":^|{\"a\":^}|//c\n^/|^/* x */ 1|^\xEF\xBB\xBF[]"},
    {"Parse: extra data characters",
     R"(1 ^2|{} ^x|[]^]|{}^}|null^x|nan^nan|true^false|-inf^inity|inf^inity|)"
     "12^abc|0^x10|\"a\"^\"b\"|1^/|1^,|1 //\n^1|1^\x80|[1] //\r\n ^:"},
    {"Parse: nesting is too deep",
     Repeat(1024, "[") + "^[]|" + Repeat(512, "{\"a\":[1,") + "^{"},
};

TEST_P(ParserTest, RefusesMalformedText) {
  for (const auto& row : kRefused) {
    const bool root = std::strncmp(row.failure, "Parse:", 6) == 0;
    for (const char* before : {"", " //[\r", R"([nan,{"k":["s"],"l":)"}) {
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

TEST_P(ParserTest, ReadsValues) {
  const std::string deep = Repeat(511, "[{\"a\":") + "0" + Repeat(511, "}]");
  const struct {
    std::string text, compressed;
  } table[] = {
      {" [ ] ", "[]"},
      {"42//", "42"},
      {"[inf//\n,nan//\r]", "[inf,nan]"},
      {"[-0,0.10,1E+05,-5,1.5e3,1e-0,9e999,18446744073709551616000 ]",
       "[-0,0.10,1E+05,-5,1.5e3,1e-0,9e999,18446744073709551616000]"},
      {R"("\\\"\r\n\t\u0041\/\b\f\\n")", R"("\\\"\r\n\t\\u0041\\/\\b\\f\\n")"},
      {"\"\n\r\t //'\x01\x7F\x80\xFF\"", "\"\\n\\r\\t //'\x01\x7F\x80\xFF\""},
      {"{\"\\\"\\\\\\x\t\xE9\":\"\"}", "{\"\\\"\\\\\\\\x\\t\xE9\":\"\"}"},
      {R"({"k":1,"k":[2],"k":"3"})", R"({"k":"3"})"},
      {"{\"\\t\":[1],\"\t\":null,\"\\t\":{}}", R"({"\t":{}})"},
      {"[" + deep + "," + deep + ",[] ]", "[" + deep + "," + deep + ",[]]"},
      {"[" + Repeat(2000, "[],") + " 0]", "[" + Repeat(2000, "[],") + "0]"},
  };
  for (const auto& row : table) {
    SCOPED_TRACE(row.text);
    const Outcome outcome = Read(row.text);
    EXPECT_EQ(outcome.result, row.compressed);
    EXPECT_EQ(outcome.cursor, row.text.size());
  }
}

TEST_P(ParserTest, PassesBlanksAndCommentsBetweenTokens) {
  const std::string text =
      R"(~[~1~,~{~"a"~:~[~]~}~,~{~}~,~"s"~,~null~,~nan~,~inf~,~-inf~,~true~,)"
      R"(~false~,~[~{~"b"~:~2~}~]~]~)";
  for (const std::string& blanks :
       Split("| |\t|\n|\v|\f|\r|//\n|//c\r|// [\"{\r\n|///\n|//\xFF\n|// /\r "
             "//c\n\r\r\n\t//\n ")) {
    SCOPED_TRACE(blanks);
    EXPECT_EQ(Read(Replace(text, "~", blanks)).result, Replace(text, "~", ""));
  }
  const std::string blanks = " \t\n\v\f\r", digits = "123456789";
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
  const std::string pointer = "vorn.foundation.generic.ScopedPointer<";
  const std::string array = "N4vorn10foundation4json6JArrayE";
  const std::string object = "N4vorn10foundation4json7JObjectE";
  const std::string null = ">.operator->: access null";
  const struct {
    std::size_t number;
    std::string texts, result;
  } table[] = {
      {0, "1|nan|inf|-inf|null|true|false|\"s\"|[//]\n] |{ } |1 2",
       "no object"},
      {0, "[1]|[[1],2]", pointer + array + null},
      {0, "{\"k\":1}|[{\"k\":1}]", pointer + object + null},
      {1, "[[1]]|{\"k\":[1]}", pointer + array + null},
      {1, "[1,nan,inf,-inf,null,true,false,\"s\",[],{}]", "[]"},
      {2, "{\"k\":1,\"k\":2}|{\"k\":1,\"k\":[]}", "{\"k\":1}"},
      {0, "x|01|[x]|{\"k\":-}|[[1-2]]", "ParseNumber: number is incorrect"},
      {1, "[x]|[1-2]|{\"k\":-}", "ParseNumber: number is incorrect"},
      {1, "[1 2]|[[]", "ParseArray: missing ']'"},
  };
  for (const auto& row : table) {
    for (const std::string& text : Split(row.texts)) {
      SCOPED_TRACE(text);
      Monitor::Reset(true);
      Monitor::FailRequest(Source::ObjectMonitor, row.number, true);
      EXPECT_EQ(Read(text).result, row.result);
      Monitor::FailRequest(Source::ObjectMonitor, row.number, true);
      EXPECT_EQ(json::JsonReader().fromString(text.c_str()),
                std::strchr("[{", row.result[0]) != nullptr);
      EXPECT_GT(Monitor::StopFailing(), 1u);
    }
  }
}

// Works on a text until it is cancelled, in a request that fails.
void* UntilCancelled(void*) {
  pthread_cancel(pthread_self());
  json::JsonReader reader, again;
  json::JsonArchiver archiver;
  reader.fromString(R"({"a text, on the heap":[[{}],{"k":null},"\t",-1.5]})");
  if (!reader.valid()) return nullptr;
  again.fromString(R"([["a text, on the heap"],[1,[2,3]],x])");
  const generic::ScopedPointer<json::JBase> copy(reader.getJson()->clone());
  again.fromString(reader.format());
  archiver.fromString(reader.compress());
  archiver.writeArrayByField("a")->writeStringByIndex(0, archiver.format());
  return nullptr;
}

TEST(MemoryTest, ThreadsCanBeCancelled) {
  for (const bool traced : {false, true}) {
    for (const Source source :
         {Source::OperatorNew, Source::ObjectMonitor, Source::MemoryMonitor}) {
      Monitor::Reset(traced);
      const auto run = [] {
        void* result = nullptr;
        pthread_t thread;
        EXPECT_EQ(pthread_create(&thread, nullptr, UntilCancelled, nullptr), 0);
        pthread_join(thread, &result);
        return result == PTHREAD_CANCELED;
      };
      Sweep({source, false}, run, [](End end, std::size_t, bool failed) {
        EXPECT_EQ(end == End::Passed, failed);
        return false;
      });
    }
  }
}

}  // namespace

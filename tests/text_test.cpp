// Text through the public interface: the reader, both layouts of the writer,
// equality, and the round trip.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/text/stringutils.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using text::StringUtils;
using Tree = generic::ScopedPointer<JBase>;

class TextTest : public LeakTest {};

JBase* Parse(const SafeString& text) {
  JsonReader reader;
  EXPECT_TRUE(reader.fromString(text)) << text.c_str();
  return reader.transfer();
}

TEST_F(TextTest, ReaderHoldsTheTreeOfTheLastTextOrNone) {
  const std::pair<const char*, const char*> steps[] = {
      {nullptr, ""},      {"  42  ", "42"}, {nullptr, ""},
      {"\"s\"", "\"s\""}, {"true", "true"}, {"", ""},
      {"null", "null"},   {" \n//c", ""},   {"[1, 2] // done", "[1,2]"},
      {"[[1], {}", ""},   {"{} x", ""},     {"1 2", ""},
      {"[{}]", "[{}]"},   {"{}", "{}"}};
  JsonReader reader, other;
  for (const auto& [text, tree] : steps) {
    SCOPED_TRACE(tree);
    const bool holds = *tree != '\0';
    EXPECT_EQ(reader.fromString(text), holds);
    EXPECT_EQ(reader.valid(), holds);
    EXPECT_EQ(reader.getJson() != nullptr, holds);
    EXPECT_EQ(reader.compress(), tree);
    if (text != nullptr) {
      EXPECT_EQ(other.fromString(SafeString(text) + '\0' + "1"), holds);
      EXPECT_EQ(other.compress(), tree);
      other.reset();
    }
    EXPECT_FALSE(other.valid());
    EXPECT_EQ(Monitor::Now().objects == 0, !holds);
  }
  Monitor::Name(reader.getJson(), "former");
  TakeCalls();
  reader.fromString("null");
  EXPECT_EQ(TakeCalls(), "-former+../json/json:278 ParseNullOrNan #1");
  const Tree tree(reader.getJson());
  EXPECT_EQ(reader.transfer(), tree.get());
  EXPECT_EQ(reader.transfer(), nullptr);
  EXPECT_EQ(reader.getJson(), nullptr);
  EXPECT_EQ(reader.format(), "");
  reader.reset();
}

TEST_F(TextTest, WritesBothLayouts) {
  const std::pair<const char*, const char*> table[] = {
      {"null", "null"},
      {"-1.50E+3", "-1.50E+3"},
      {R"("a\"b")", R"("a\"b")"},
      {"\"\"", "\"\""},
      {"[]", "[]"},
      {"{}", "{}"},
      {R"([{"name":"A\tB"},[1,true],null,{},[]])",
       "[\n    {\n        \"name\": \"A\\tB\"\n    },\n    [\n        1,\n"
       "        true\n    ],\n    null,\n    {},\n    []\n]"},
      {R"({"k":[1]})", "{\n    \"k\": [\n        1\n    ]\n}"},
      {R"({"":{"\"\\":{}}})",
       "{\n    \"\": {\n        \"\\\"\\\\\": {}\n    }\n}"},
  };
  for (const auto& [compressed, formatted] : table) {
    JsonReader reader;
    EXPECT_TRUE(reader.fromString(compressed));
    EXPECT_EQ(reader.compress(), compressed);
    EXPECT_EQ(reader.format(), formatted);
  }
  EXPECT_EQ(JsonReader::Format(nullptr) + JsonReader::Compress(nullptr), "");
}

TEST_F(TextTest, EscapesFiveBytesAndKeepsTheOthers) {
  const SafeString escaped = "\"\\\r\n\t", letters = "\"\\rnt";
  for (unsigned int value = 0; value < 256; ++value) {
    const SafeString raw(1, static_cast<char>(value));
    const std::size_t at = escaped.find(raw);
    const SafeString text =
        at == raw.npos ? raw : SafeString("\\") + letters[at];
    JObject object;
    const SafeString before(value % 8, '<'), behind(8, '>');
    object.setValue(raw, Make<JString>(before + raw + behind));
    EXPECT_EQ(JsonReader::Compress(&object),
              "{\"" + text + "\":\"" + before + text + behind + "\"}");
  }
}

TEST_F(TextTest, WritesIntoTheContextOfACaller) {
  const Tree tree(Parse(R"([1,{},{"k":null}])"));
  Context context;
  context.depth = 2;
  context.indentChar = '\t';
  context.stream.width(40);
  tree->toString(context);
  const SafeString line = "\n" + SafeString(12, '\t');
  EXPECT_EQ(context.stream.str(), "[" + line + "1," + line + "{}," + line +
                                      "{" + line + "\t\t\t\t\"k\": null" +
                                      line + "}\n" + line.substr(1, 8) + "]");
  EXPECT_EQ(context.depth, 2);
  struct : std::streambuf {
  } full;
  static_cast<std::ios&>(context.stream).rdbuf(&full);
  EXPECT_THROW(tree->toString(context), std::ios::failure);
  EXPECT_THROW(JNull().toString(context), std::ios::failure);
  EXPECT_EQ(context.depth, 2);
}

TEST_F(TextTest, EqualMeansSameKindAndContent) {
  std::vector<JBase*> trees;  // all of them differ
  std::istringstream texts(
      R"(null|false|true|0|1|1.0|1e0|100|1e2|nan|inf|-inf|""|"1"|"true"|"a"|)"
      R"("A"|"abcdefghi"|"abcdefghj"|"xbcdefghi"|"null"|[]|{}|[1]|[1,2]|[2,1]|)"
      R"([[1]]|[null]|{"a":1}|{"a":2}|{"b":1}|{"":1}|{"a":null}|{"a":1,"b":1}|)"
      R"({"a":1,"c":1}|{"A":1,"b":1}|[0,{"a":[0,1]}]|[0,{"a":[0,2]}])");
  for (std::string text; std::getline(texts, text, '|');) {
    trees.push_back(Parse(text.c_str()));
  }
  for (const char* bytes : {"a\0b", "a\0c"}) {
    trees.push_back(Make<JString>(SafeString(bytes, 3)));
    auto* const object = Make<JObject>();
    object->setValue(SafeString(bytes, 3), Make<JNumber>(1));
    trees.push_back(object);
  }
  for (const JBase* first : trees) {
    const Tree copy(first->clone());
    for (const JBase* second : trees) {
      SCOPED_TRACE(JsonReader::Compress(first) + JsonReader::Compress(second));
      EXPECT_EQ(JsonReader::IsEqual(first, second), first == second);
      EXPECT_EQ(JsonReader::IsEqual(copy.get(), second), first == second);
    }
    EXPECT_FALSE(JsonReader::IsEqual(first, nullptr));
    EXPECT_FALSE(JsonReader::IsEqual(nullptr, first));
  }
  EXPECT_TRUE(JsonReader::IsEqual(nullptr, nullptr));
  for (JBase* tree : trees) tree->dispose();
}

TEST_F(TextTest, MembersAreWrittenInTheirOrderAndEqualInAny) {
  SafeString up, down;
  for (int i = 0; i < 20; ++i) {
    const SafeString member = ",\"" + StringUtils::IntToString(i) + "\":0";
    up += member;
    down.insert(0, member);
  }
  up[0] = down[0] = '{';
  const Tree first(Parse(up + "}")), second(Parse(down + "}"));
  SafeString formatted, compressed;
  for (const SafeString& key : static_cast<JObject&>(*first.get()).keys()) {
    formatted += ",\n    \"" + key + "\": 0";
    compressed += ",\"" + key + "\":0";
  }
  formatted[0] = compressed[0] = '{';
  EXPECT_EQ(JsonReader::Format(first.get()), formatted + "\n}");
  EXPECT_EQ(JsonReader::Compress(first.get()), compressed + "}");
  EXPECT_NE(JsonReader::Compress(second.get()), compressed + "}");
  EXPECT_TRUE(JsonReader::IsEqual(first.get(), second.get()));
}

// The number tokens of a text, sorted, since writing reorders members.
std::vector<SafeString> NumbersOf(const SafeString& text) {
  std::vector<SafeString> numbers;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '"') {
      while (text[++at] != '"') at += text[at] == '\\';
    } else if (SafeString("-0123456789").find(text[at]) != text.npos) {
      const std::size_t end = text.find_first_not_of("-+.0123456789eE", at);
      numbers.push_back(text.substr(at, end - at));
      at += numbers.back().size() - 1;
    }
  }
  std::sort(numbers.begin(), numbers.end());
  return numbers;
}

void ExpectRoundTrip(const SafeString& text) {
  const Tree tree(Parse(text));
  for (const auto layout : {JsonReader::Format, JsonReader::Compress}) {
    const SafeString written = layout(tree.get());
    const Tree again(Parse(written));
    EXPECT_TRUE(JsonReader::IsEqual(tree.get(), again.get()));
    EXPECT_TRUE(NumbersOf(written) == NumbersOf(text));
  }
}

SafeString Document(std::mt19937& random, int depth) {
  const auto below = [&](unsigned int limit) {
    return static_cast<int>(random() % limit);
  };
  const SafeString scalars[] = {
      "nan",
      "true",
      "-inf",
      "1E+400",
      "\"-1\\\\\\\",\\u\x01\n\xFF\"",
      StringUtils::IntToString(below(1000000)) + "." + SafeString(30, '7')};
  const int kind = below(depth == 0 ? 6 : 12);
  if (kind < 6) return scalars[kind];
  SafeString text = kind < 8 ? "[" : "{ ";
  for (int rest = below(8); rest > 0; --rest) {
    if (kind >= 8) text += "\"" + StringUtils::IntToString(rest) + "\\\\\": ";
    text += Document(random, depth - 1) + (rest > 1 ? "," : "//\n");
  }
  return text + (kind < 8 ? "]" : "}");
}

// Documents that are made here, and those of a directory of the user's.
TEST_F(TextTest, DocumentsReadBackEqual) {
  std::mt19937 random(1);
  for (int i = 0; i < 300; ++i) ExpectRoundTrip(Document(random, 6));
  const char* const directory = std::getenv("VORN_DOCUMENTS");
  if (directory == nullptr) return;
  int documents = 0;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.path().extension() != ".json") continue;
    SCOPED_TRACE(entry.path().string());
    std::ifstream file(entry.path(), std::ios::binary);
    ExpectRoundTrip(SafeString(std::istreambuf_iterator<char>(file), {}));
    ++documents;
  }
  EXPECT_GT(documents, 0) << "no document in " << directory;
}

}  // namespace

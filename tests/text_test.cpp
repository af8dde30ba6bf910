// Text through the public interface: the reader, both layouts of the writer,
// equality, and the round trip.

#include "support/property.h"
#include "support/texts.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using Tree = generic::ScopedPointer<JBase>;

JBase* Parse(const SafeString& text) {
  JsonReader reader;
  EXPECT_TRUE(reader.fromString(text)) << text.c_str();
  return reader.transfer();
}

TEST(TextTest, AReaderHoldsTheTreeOfTheLastTextOrNone) {
  const std::pair<const char*, bool> steps[] = {
      {"[{}]", true}, {"1 2", false}, {"true", true}, {"", false}, {"0", true}};
  JsonReader reader;
  for (const auto& [text, holds] : steps) {
    EXPECT_EQ(reader.fromString(text), holds) << text;
    EXPECT_EQ(reader.fromString(SafeString(text) + '\0' + "1"), holds) << text;
    EXPECT_EQ(reader.valid(), holds);
    EXPECT_EQ(reader.getJson() != nullptr, holds);
    EXPECT_EQ(reader.compress(), holds ? text : "");
  }
  const Tree tree(reader.getJson());
  EXPECT_EQ(reader.transfer(), tree.get());
  EXPECT_EQ(reader.transfer(), nullptr);
  EXPECT_EQ(reader.format() + JsonReader::Format(nullptr), "");
  reader.reset();
  EXPECT_FALSE(reader.fromString(nullptr));
}

TEST(TextTest, WritesIntoTheContextOfACaller) {
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

// A value of somebody else's, of a kind beyond the six.
struct Foreign : JTypeBase<static_cast<JType>(6)> {
  JBase* clone() const override { return nullptr; }
  void toString(Context& context) const override { write(context); }
  void (*write)(Context&) = [](Context&) {};
};

// What a value of somebody else's does with the stream, and what [1,VALUE,2]
// then comes to: whoever made the context.
TEST(TextTest, TheContextsStreamIsAStringStream) {
  static std::basic_stringbuf<char> aside;
  const std::pair<void (*)(Context&), const char*> table[] = {
      {[](Context& it) { it.stream << it.stream.str().size(); }, "[1,3,2]"},
      {[](Context& it) { it.stream << it.stream.str(); }, "[1,[1,,2]"},
      {[](Context& it) { it.stream << it.stream.tellp(); }, "[1,3,2]"},
      {[](Context& it) { it.stream.seekp(1) << 7; }, "[7,2]"},
      {[](Context& it) { it.stream.seekp(0); }, ",2]"},
      {[](Context& it) { it.stream.str(""); }, ",2]"},
      {[](Context& it) { it.stream.str("[8,9,10]"); }, ",2]9,10]"},
      {[](Context& it) { it.stream.rdbuf()->sputn("text", 4); }, "[1,text,2]"},
      {[](Context& it) {
         it.stream.exceptions(std::ios::goodbit);
         it.stream.setstate(std::ios::eofbit);
       },
       "[1,"},
      {[](Context& it) {
         it.stream.exceptions(std::ios::goodbit);
         static_cast<std::ios&>(it.stream).rdbuf(nullptr);
       },
       "[1,"},
      {[](Context& it) {
         std::ios& stream = it.stream;
         std::streambuf* const former = stream.rdbuf(&aside);
         JString(SafeString(9, 'x')).toString(it);
         stream.rdbuf(former);
         it.stream << aside.str();
         aside.str("");
       },
       "[1,\"xxxxxxxxx\",2]"}};
  for (const auto& [write, text] : table) {
    SCOPED_TRACE(text);
    JArray array;
    for (JBase* const value : std::initializer_list<JBase*>{
             Make<JNumber>(1), Make<Foreign>(), Make<JNumber>(2)}) {
      array.append(value);
    }
    static_cast<Foreign*>(array.at(1))->write = write;
    Context context(true), formatted;
    array.toString(context);
    array.toString(formatted);
    EXPECT_EQ(context.stream.str(), text);
    EXPECT_EQ(JsonReader::Compress(&array), text);
    EXPECT_EQ(JsonReader::Format(&array), formatted.stream.str());
  }
}

// A line that is written over a text leaves what is behind it.
TEST(TextTest, WritesNothingBehindItsPlace) {
  JArray array;
  array.append(Make<Foreign>());
  array.append(Make<JNumber>(2));
  static_cast<Foreign*>(array.at(0))->write = [](Context& it) {
    it.stream.str("0123456789 and all that is behind");
    it.depth = 9;
  };
  EXPECT_EQ(JsonReader::Format(&array), ",\n    2\n]9 and all that is behind");
}

TEST(TextTest, EqualMeansSameKindAndContent) {
  std::vector<JBase*> trees;  // all of them differ
  for (
      const std::string& text : Split(
          R"(null|false|true|0|1|1.0|1e0|100|1e2|nan|inf|-inf|""|"1"|"true"|"a"|)"
          R"("A"|"abcdefghi"|"abcdefghj"|"xbcdefghi"|"null"|[]|{}|[1]|[1,2]|[2,1]|)"
          R"([[1]]|[null]|{"a":1}|{"a":2}|{"b":1}|{"":1}|{"a":null}|{"a":1,"b":1}|)"
          R"({"a":1,"c":1}|{"A":1,"b":1}|[0,{"a":[0,1]}]|[0,{"a":[0,2]}])")) {
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

TEST(TextTest, KindsBeyondTheSixEqualNothing) {
  JArray around;
  around.append(Make<Foreign>());
  const Foreign alone;
  EXPECT_FALSE(JsonReader::IsEqual(&alone, &alone));
  EXPECT_FALSE(JsonReader::IsEqual(&alone, around.at(0)));
  EXPECT_FALSE(JsonReader::IsEqual(&around, &around));
}

}  // namespace

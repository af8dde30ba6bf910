// Text through the public interface: the reader, what a context lets value
// classes of the caller's do, and equality.

#include "support/property.h"
#include "support/texts.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

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
    EXPECT_EQ(reader.fromString(SafeString(text) + '\0' + "1"), holds) << text;
    EXPECT_EQ(reader.getJson() != nullptr, holds);
    EXPECT_EQ(reader.compress(), holds ? text : "");
  }
  reader.transfer()->dispose();
  EXPECT_EQ(reader.transfer(), nullptr);
  EXPECT_EQ(reader.format() + JsonReader::Format(nullptr), "");
  EXPECT_FALSE(reader.fromString(nullptr));
}

// A value of somebody else's, of a kind beyond the six.
struct Foreign : JTypeBase<static_cast<JType>(6)> {
  JBase* clone() const override { return nullptr; }
  void toString(Context& context) const override { write(context); }
  void (*write)(Context&) = [](Context&) {};
};

// [1,VALUE,2]
struct Around : JArray {
  explicit Around(void (*write)(Context&) = [](Context&) {}) {
    append(Make<JNumber>(1));
    append(Make<Foreign>());
    append(Make<JNumber>(2));
    static_cast<Foreign*>(at(1))->write = write;
  }
};

TEST(TextTest, WritesIntoTheContextOfACaller) {
  const generic::ScopedPointer<JBase> tree(Parse(R"([{"k":null}])"));
  Context context;
  context.depth = 2;
  context.indentChar = '\t';
  context.stream.width(40);
  tree->toString(context);
  EXPECT_EQ(Replace(context.stream.str().c_str(), "\t\t\t\t", ">"),
            "[\n>>>{\n>>>>\"k\": null\n>>>}\n>>]");
  struct : std::streambuf {
  } full;
  static_cast<std::ios&>(context.stream).rdbuf(&full);
  EXPECT_THROW(tree->toString(context), std::ios::failure);
  EXPECT_EQ(context.depth, 2);
}

// What a foreign value does with the stream, and what the array then comes to.
TEST(TextTest, TheContextsStreamIsAStringStream) {
  static std::stringbuf aside;
  const std::pair<void (*)(Context&), const char*> table[] = {
      {[](Context& it) { it.stream << it.stream.str(); }, "[1,[1,,2]"},
      {[](Context& it) { it.stream.seekp(1) << 7; }, "[7,2]"},
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
      {[](Context& it) { static_cast<std::ios&>(it.stream).rdbuf(&aside); },
       "[1,"}};
  for (const auto& [write, text] : table) {
    SCOPED_TRACE(text);
    const Around array(write);
    Context context(true), formatted;
    array.toString(context);
    array.toString(formatted);
    EXPECT_EQ(context.stream.str(), text);
    EXPECT_EQ(JsonReader::Compress(&array), text);
    EXPECT_EQ(JsonReader::Format(&array), formatted.stream.str());
  }
  // A line that is written over a text leaves what is behind it.
  const Around array([](Context& it) {
    it.stream.str("0123456789 and all that is behind");
    it.depth = 9;
  });
  EXPECT_EQ(JsonReader::Format(&array), ",\n    2\n]9 and all that is behind");
  std::stringbuf().swap(aside);
}

TEST(TextTest, EqualMeansSameKindAndContent) {
  std::vector<JBase*> trees;  // all of them differ
  for (
      const std::string& text : Split(
          R"(null|false|true|1|1.0|nan|""|"1"|"true"|"A"|[]|{}|[1]|[1,2]|[2,1]|)"
          R"([[1]]|{"a":1}|{"a":2}|{"b":1}|{"a":1,"b":1}|{"a":1,"c":1}|)"
          R"([0,{"a":[0,1]}]|[0,{"a":[0,2]}])")) {
    trees.push_back(Parse(text.c_str()));
  }
  for (const unsigned int size : {3U, 9U, 15U, 16U, 23U, 24U, 31U, 32U}) {
    for (const std::size_t other : {size - 1, size / 2, 0U}) {
      SafeString text(size, '\0');
      text[other] = 'x';
      trees.push_back(Make<JString>(text));
      auto* const object = Make<JObject>();
      object->setValue(text, Make<JNull>());
      trees.push_back(object);
    }
  }
  for (const unsigned int size :
       {14U, 15U, 16U, 22U, 23U, 24U, 30U, 31U, 32U}) {
    trees.push_back(Make<JString>(SafeString(size, 'x')));
    trees.push_back(Make<JString>(SafeString(size - 1, 'x') + 'y'));
  }
  for (const JBase* first : trees) {
    const generic::ScopedPointer<JBase> copy(first->clone());
    for (const JBase* second : trees) {
      SCOPED_TRACE(JsonReader::Compress(first) + JsonReader::Compress(second));
      EXPECT_EQ(JsonReader::IsEqual(copy.get(), second), first == second);
    }
    EXPECT_FALSE(JsonReader::IsEqual(first, nullptr));
    EXPECT_FALSE(JsonReader::IsEqual(nullptr, first));
  }
  EXPECT_TRUE(JsonReader::IsEqual(nullptr, nullptr));
  for (JBase* tree : trees) tree->dispose();
  const Around around;  // a kind beyond the six equals nothing
  EXPECT_FALSE(JsonReader::IsEqual(&around, &around));
  EXPECT_FALSE(JsonReader::IsEqual(around.at(1), around.at(1)));
}

}  // namespace

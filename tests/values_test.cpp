// Value classes, readers and contexts: what a foreign value class may do, what
// a monitor that throws leaves, and equality. What edits do is in
// properties/tree.cpp and properties/archiver.cpp.

#include "support/property.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>

#include <type_traits>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

// Programs catch it by value, and scripts/abi sees no function of it.
static_assert(sizeof(JsonException) == 2 * sizeof(SafeString) &&
              !std::is_polymorphic_v<JsonException>);

using ValuesTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, ValuesTest, testing::Bool());

TEST_P(ValuesTest, TakeNullAndNoMoreThanTheMonitorCounts) {
  EXPECT_STREQ(lang::Exception(nullptr, "what").where(), "");
  EXPECT_STREQ(lang::Exception("where", nullptr).what(), "");
  JsonReader reader;
  EXPECT_TRUE(reader.fromString(SafeString("1\0 2", 4)));
  EXPECT_FALSE(reader.fromString(nullptr));
  EXPECT_EQ(reader.transfer(), nullptr);
  EXPECT_EQ(reader.format() + JsonReader::Format(nullptr), "");
  EXPECT_THROW(debug::Allocator<int>().allocate(1U << 30), std::bad_alloc);
}

TEST_P(ValuesTest, AnArrayGivesItsStorageBack) {
  JArray array;
  const std::size_t none = Monitor::Blocks();
  JBase* kept[9];
  for (JBase*& value : kept) {
    array.append(value = Make<JNull>());
    const bool same = Monitor::Blocks() == none + array.length();
    EXPECT_EQ(same, array.length() <= 2);
  }
  EXPECT_FALSE(array.empty());
  array.detach();
  EXPECT_TRUE(array.empty());
  for (JBase* value : kept) value->dispose();
  EXPECT_EQ(Monitor::Blocks(), none);
}

// What a monitor refuses to release stays alive, and nothing reaches it again.
TEST_P(ValuesTest, AMonitorThatThrowsLeadsToNoSecondDisposal) {
  JArray array;
  JObject object;
  JsonReader reader;
  const generic::ScopedPointer<JBase> other(Make<JNull>());
  const std::function<void()> kReleases[] = {
      [&] { array.clear(); },
      [&] { array.setValue(0, Make<JNull>()); },
      [&] { object.clear(); },
      [&] { object.remove("k"); },
      [&] { object.setValue("k", other.get()); },
      [&] { reader.fromString("2"); }};
  for (const auto& release : kReleases) {
    SCOPED_TRACE(&release - kReleases);
    array.append(Make<JNull>());
    object.setValue("k", Make<JNull>());
    reader.fromString("1");
    JBase* const held[] = {array.at(0), object.at("k"), reader.getJson()};
    Monitor::FailRequest(Source::Release, 0, false);
    EXPECT_THROW(release(), std::bad_alloc);
    JBase* const refused = array.at(0) != held[0]      ? held[0]
                           : object.at("k") != held[1] ? held[1]
                                                       : held[2];
    EXPECT_EQ(reader.valid(), refused != held[2]);
    refused->dispose();
    array.clear();
  }
}

// A value of somebody else's, of a kind beyond the six. When it goes, it adds
// members to an object.
struct Foreign : JTypeBase<static_cast<JType>(6)> {
  ~Foreign() override {
    for (int i = 0; object != nullptr && i < 100; ++i) {
      object->setValue(JNumber(i).toString(), Make<JNull>());
    }
  }
  JBase* clone() const override { return nullptr; }
  void toString(Context& context) const override { write(context); }
  void (*write)(Context&) = nullptr;
  JObject* object = nullptr;
  SafeString key = "a key that is too long to stand in the string";
};

TEST_P(ValuesTest, AValueThatIsReplacedMayOwnItsKeyAndAddMembers) {
  JObject object;
  auto* const value = Make<Foreign>();
  const SafeString key = value->key;
  value->object = &object;
  object.setValue(value->key, value);
  object.setValue(value->key, Make<JNull>());
  EXPECT_TRUE(object.existed(key));
  EXPECT_EQ(object.length(), 101u);
  EXPECT_FALSE(object.empty());
}

TEST_P(ValuesTest, WritesIntoTheContextOfACaller) {
  JsonReader reader;
  reader.fromString(R"([{"k":null},[],[1,{}]])");
  Context context;
  context.depth = 2;
  context.indentChar = '\t';
  context.stream.width(40);
  context.stream.str(SafeString(151, 'x'));  // what is behind the text stays
  reader.getJson()->toString(context);
  EXPECT_EQ(Replace(context.stream.str().c_str(), "\t\t\t\t", ">"),
            "[\n>>>{\n>>>>\"k\": null\n>>>},\n>>>[],\n>>>[\n>>>>1,\n>>>>{}\n"
            ">>>]\n>>]xxx");
  struct : std::streambuf {
  } full;
  static_cast<std::ios&>(context.stream).rdbuf(&full);
  EXPECT_THROW(reader.getJson()->toString(context), std::ios::failure);
  EXPECT_EQ(context.depth, 2);
}

// What a foreign value between 1 and 2 does with the stream, and the line of
// the array then.
TEST_P(ValuesTest, TheContextsStreamIsAStringStream) {
  const std::pair<void (*)(Context&), const char*> table[] = {
      {[](Context& it) { it.stream << it.stream.str(); }, "[1,[1,,2]"},
      {[](Context& it) { it.stream.seekp(1) << 7; }, "[7,2]"},
      {[](Context& it) {
         it.stream.exceptions(std::ios::goodbit);
         static_cast<std::ios&>(it.stream).rdbuf(nullptr);
       },
       "[1,"}};
  for (const auto& [write, text] : table) {
    JArray array;
    auto* const foreign = Make<Foreign>();
    foreign->write = write;
    array.append(Make<JNumber>(1));
    array.append(foreign);
    array.append(Make<JNumber>(2));
    Context formatted;
    array.toString(formatted);
    EXPECT_EQ(JsonReader::Compress(&array), text);
    EXPECT_EQ(JsonReader::Format(&array), formatted.stream.str()) << text;
  }
}

TEST_P(ValuesTest, EqualMeansSameKindAndContent) {
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(
      R"([null,false,true,1,1.0,nan,"","1","true","A",[],{},[1],[1,2],[2,1],)"
      R"([[1]],{"a":1},{"a":2},{"b":1},{"a":1,"b":1},{"a":1,"c":1},)"
      R"([0,{"a":[0,1]}],[0,{"a":[0,2]}]])"));
  auto& all = static_cast<JArray&>(*reader.getJson());  // and all differ
  for (std::size_t size = 3; size < 33; ++size) {
    all.append(Make<JString>(SafeString(size, 'x')));
    for (const std::size_t other : {size - 1, size / 2, std::size_t{0}}) {
      SafeString text(size, 'x');
      text[other] = '\0';
      all.append(Make<JString>(text));
    }
  }
  const generic::ScopedPointer<JBase> copy(all.clone());
  const auto* const copies = static_cast<const JArray*>(copy.get());
  for (unsigned int i = 0; i < all.length(); ++i) {
    for (unsigned int j = 0; j < all.length(); ++j) {
      EXPECT_EQ(JsonReader::IsEqual(all.at(i), copies->at(j)), i == j)
          << JsonReader::Compress(all.at(i)) << JsonReader::Compress(all.at(j));
    }
  }
  EXPECT_TRUE(JsonReader::IsEqual(nullptr, nullptr));
  EXPECT_FALSE(JsonReader::IsEqual(&all, nullptr));
  EXPECT_FALSE(JsonReader::IsEqual(nullptr, &all));
  const Foreign foreign;  // equals nothing
  EXPECT_FALSE(JsonReader::IsEqual(&foreign, &foreign));
}

}  // namespace

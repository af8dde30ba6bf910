// Value classes, readers and contexts: what a foreign value class may do, what
// a monitor that throws leaves, equality, and every call of the monitors, in
// order, with the tags written out. What edits do is in properties/tree.cpp and
// properties/archiver.cpp.

#include "support/property.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>

#include <algorithm>
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
  EXPECT_FALSE(JBool().value());
  JsonReader reader;
  EXPECT_TRUE(reader.fromString(SafeString("1\0 2", 4)));
  EXPECT_FALSE(reader.fromString(nullptr));
  EXPECT_EQ(reader.transfer(), nullptr);
  EXPECT_EQ(reader.format() + JsonReader::Format(nullptr), "");
  EXPECT_THROW(debug::Allocator<int>().allocate(1U << 30), std::bad_alloc);
}

// What a monitor refuses to release stays alive, and nothing reaches it again.
TEST_P(ValuesTest, AMonitorThatThrowsLeadsToNoSecondDisposal) {
  JArray array;
  JObject object;
  JsonReader reader;
  const generic::ScopedPointer<JBase> other(Make<JNull>());
  const std::pair<std::function<void()>, int> kReleases[] = {
      {[&] { array.clear(); }, 0},
      {[&] { array.setValue(0, Make<JNull>()); }, 0},
      {[&] { object.clear(); }, 1},
      {[&] { object.remove("k"); }, 1},
      {[&] { object.setValue("k", other.get()); }, 1},
      {[&] { reader.fromString("2"); }, 2}};
  for (const auto& [release, refused] : kReleases) {
    SCOPED_TRACE(refused);
    array.append(Make<JNull>());
    object.setValue("k", Make<JNull>());
    reader.fromString("1");
    JBase* const held[] = {array.at(0), object.at("k"), reader.getJson()};
    Monitor::FailRequest(Source::Release, 0, false);
    EXPECT_THROW(release(), std::bad_alloc);
    held[refused]->dispose();
    array.clear();
  }
  EXPECT_FALSE(reader.valid());
}

// A value of somebody else's, of a kind beyond the six. It writes the text so
// far once more, and leaves the stream without a buffer. When it goes, it adds
// members to an object.
struct Foreign : JTypeBase<static_cast<JType>(6)> {
  ~Foreign() override {
    for (int i = 0; object != nullptr && i < 100; ++i) {
      object->setValue(JNumber(i).toString(), Make<JNull>());
    }
  }
  JBase* clone() const override { return nullptr; }
  void toString(Context& context) const override {
    context.stream << context.stream.str();
    context.stream.exceptions(std::ios::goodbit);
    static_cast<std::ios&>(context.stream).rdbuf(nullptr);
  }
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
  EXPECT_TRUE(object.existed(key) && !object.empty());
  EXPECT_EQ(object.length(), 101u);
}

TEST_P(ValuesTest, WriteIntoTheStreamOfAContext) {
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
  std::stringbuf full(std::ios::in);
  static_cast<std::ios&>(context.stream).rdbuf(&full);
  EXPECT_THROW(reader.getJson()->toString(context), std::ios::failure);
  EXPECT_EQ(context.depth, 2);
  auto& array = static_cast<JArray&>(*reader.getJson());
  array.append(Make<Foreign>());
  array.append(Make<JNull>());
  EXPECT_EQ(reader.compress(), Repeat(2, R"([{"k":null},[],[1,{}],)").c_str());
}

TEST_P(ValuesTest, EqualMeansSameKindAndContent) {
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(
      R"([null,false,true,1,1.0,nan,"","1","true","A",[],{},[1],[1,2],[2,1],)"
      R"([[1]],{"a":1},{"a":2},{"b":1},{"a":1,"b":1},{"a":1,"c":1},)"
      R"([0,{"a":[0,1]}],[0,{"a":[0,2]}]])"));
  auto& all = static_cast<JArray&>(*reader.getJson());  // and all differ
  for (std::size_t size = 3; size < 33; ++size) {
    for (const std::size_t other : {size, size - 1, size / 2, std::size_t{}}) {
      SafeString text(size, 'x');
      text[other] = '\0';
      all.append(Make<JString>(text));
    }
  }
  for (unsigned int i = 0; i <= all.length(); ++i) {  // the last: null
    for (unsigned int j = 0; j <= all.length(); ++j) {
      EXPECT_EQ(JsonReader::IsEqual(all.at(i), all.at(j)), i == j)
          << JsonReader::Compress(all.at(i)) << JsonReader::Compress(all.at(j));
    }
  }
  const Foreign foreign;  // equals nothing
  EXPECT_FALSE(JsonReader::IsEqual(&foreign, &foreign));
}

// The monitors' calls ---------------------------------------------------------

// Objects that note their destruction.
struct Disposable : lang::IDisposable {
  ~Disposable() override { Monitor::Note(" destructor "); }
};
struct Plain {
  ~Plain() { Monitor::Note(" destructor "); }
};
struct Other {
  virtual ~Other() = default;
};
struct Second : Other, Disposable {};  // does not begin with its Disposable

// "?" is a call of _IsTrace(), "(" one of _Alloc() and ")" one of _Dealloc().
TEST_P(ValuesTest, CallsOfTrackedObjects) {
  Make<Second>()->dispose();
  debug::Destroy<Disposable>(Make<Second>());
  debug::Destroy(Make<Plain>(), kTag);
  generic::ScopedPointer<Plain>(Make<Plain>()).get();
  generic::ScopedPointer<Disposable> it(Make<Disposable>());
  it.reset(Make<Disposable>());
  it.release()->dispose();
  debug::Destroy<Plain>(nullptr);
  debug::Destroy<Disposable>(nullptr, kTag);
  const std::string log =
      "?(+test:1 test #1?-#1 destructor )"
      "?(+test:1 test #2?!#2 destructor )"
      "?(+test:1 test #3?!test:1 test #3 destructor )"
      "?(+test:1 test #4?!#4 destructor )"
      "?(+test:1 test #5?(+test:1 test #6?-#5 destructor )?-#6 destructor )";
  EXPECT_EQ(Monitor::TakeLog(),
            GetParam() ? log : Replace(Replace(log, "(", ""), ")", ""));
}

TEST_P(ValuesTest, CallsOfTheLibrary) {
  const auto read = [](const std::string& text) {
    return [text] { JsonReader().fromString(text.c_str()); };
  };
  const std::pair<std::function<void()>, const char*> kRows[] = {
      {read(R"({"k":[false,true,null,nan,inf,-inf,-1,"s"],"k":0}])"),
       "+208 ParseObject #1+235 ParseArray #2+265 ParseBool #3+270 ParseBool #4"
       "+278 ParseNullOrNan #5+283 ParseNullOrNan #6+293 ParseNumber #7"
       "+300 ParseNumber #8+309 ParseNumber #9+259 ParseString #10"
       "+309 ParseNumber #11-#2-#3-#4-#5-#6-#7-#8-#9-#10!69 Compile #1-#11"},
      {read(R"([null,{"a":false,"b":true,"k":[[],-}]])"),
       "+235 ParseArray #1+278 ParseNullOrNan #2+208 ParseObject #3"
       "+265 ParseBool #4+270 ParseBool #5+235 ParseArray #6+235 ParseArray #7"
       "+309 ParseNumber #8!315 ParseNumber #8-#6-#7-#3-#5-#4-#1-#2"},
      {[] {
         JsonReader reader;
         reader.fromString("null");
         reader.fromString(R"(["",{"":true},1])");  // after a disposal
         generic::ScopedPointer<JBase>(reader.getJson()->clone()).reset();
       },
       "+278 ParseNullOrNan #1-#1+235 ParseArray #2+259 ParseString #3"
       "+208 ParseObject #4+270 ParseBool #5+309 ParseNumber #6+525 clone #7"
       "+491 clone #8+636 clone #9+350 clone #10+399 clone #11"
       "-#7-#8-#9-#10-#11-#2-#3-#4-#5-#6"},
      {[] {
         JsonArchiver it;
         it.writeObjectByIndex(0)->writeStringByField("f", "");
         it.compress();
         it.fromString("[{\"f\":null}]");
       },
       "+jsonarchiver:160 JsonArchiver #1"
       "+archiverutils:16 Create #2+archiverutils:18 Create #3"
       "+genericarchiver:8 GenericArchiver #4+archiverutils:13 Create #5"
       "+genericarchiver:44 writeString #6-#4"
       "+arrayarchiver:33 snapshot #7+objectarchiver:34 snapshot #8"
       "+491 clone #9-#7-#8-#9!archiverutils:33 Destroy #2"
       "!archiverutils:33 Destroy #3!archiverutils:33 Destroy #5-#6"
       "+235 ParseArray #10+208 ParseObject #11+278 ParseNullOrNan #12"
       "+326 clone #13+archiverutils:28 FromJson #14"
       "+archiverutils:23 FromJson #15+archiverutils:26 FromJson #16"
       "-#10-#11-#12!jsonarchiver:167 ~JsonArchiver #1"
       "!archiverutils:33 Destroy #16!archiverutils:33 Destroy #15"
       "!archiverutils:33 Destroy #14-#13"}};
  for (const auto& [work, calls] : kRows) {
    Monitor::Reset(GetParam());
    work();
    const std::string all = Replace(Monitor::TakeCalls(), "../json/json:", "");
    EXPECT_EQ(Replace(all, "../json/archive/", ""), calls);
  }
  // No container is created of the last bracket.
  read(Repeat(1025, "{\"\":"))();
  const std::string calls = Monitor::TakeCalls();
  EXPECT_EQ(std::count(calls.begin(), calls.end(), '+'), 1024);
}

}  // namespace

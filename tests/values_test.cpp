// The value classes: their kinds, what they hold, what they own and when they
// dispose it.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

// What may be copied may be moved from as well.
template <class... T>
constexpr bool kFixed = (!(std::is_move_constructible_v<T> ||
                           std::is_move_assignable_v<T>)&&...);
static_assert(kFixed<JNull, JBool, JNumber, JString, JArray, JObject>);
static_assert(kFixed<JsonReader>);

// The place of a virtual function in the table of its class, out of the member
// pointer: its offset, which on x86 has one added.
template <class Member>
std::size_t Slot(Member member) {
  std::uintptr_t words[2];
  static_assert(sizeof member == sizeof words);
  std::memcpy(words, &member, sizeof words);
  return words[0] / sizeof(void*);
}

TEST(VirtualTableTest, KeepsItsOrderBehindTheDestructors) {
  EXPECT_EQ(Slot(&JBase::dispose), 2u);
  EXPECT_EQ(Slot(&JBase::type), 3u);
  EXPECT_EQ(Slot(&JBase::clone), 4u);
  EXPECT_EQ(Slot(&JBase::toString), 5u);
}

class ValuesTest : public TracedLeakTest {};
INSTANTIATE_TEST_SUITE_P(Tracing, ValuesTest, testing::Bool());

// A value that the log calls by the name.
JBase* Named(const std::string& name) {
  JBase* value = Make<JNull>();
  Monitor::Name(value, name);
  return value;
}

TEST_P(ValuesTest, ClonesReportTheirTagsAndAreCopies) {
  const struct {
    const char* text;
    int kind;
    std::vector<int> lines;  // of the creation tags, containers first
  } kRows[] = {{"null", 0, {326}},
               {"true", 1, {350}},
               {"1.0", 2, {399}},
               {"\"a\"", 3, {491}},
               {"[]", 4, {525}},
               {"{}", 5, {636}},
               {"[null,[true,1e2]]", 4, {525, 326, 525, 350, 399}},
               {"{\"a\":[\"\",{\"b\":2}]}", 5, {636, 525, 491, 636, 399}}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    JsonReader source;
    ASSERT_TRUE(source.fromString(row.text));
    EXPECT_EQ(static_cast<int>(source.getJson()->type()), row.kind);
    Monitor::TakeLog();
    JBase* const copy = source.getJson()->clone();
    EXPECT_EQ(JsonReader::Compress(copy), row.text);
    copy->dispose();
    EXPECT_EQ(source.compress(), row.text);
    std::string creations, disposals;
    int count = 0;
    for (const int line : row.lines) {
      const std::string name = "#" + std::to_string(++count);
      creations += "+../json/json:" + std::to_string(line) + " clone " + name;
      disposals += "-" + name;
    }
    EXPECT_EQ(TakeCalls(), creations + disposals);
  }
}

TEST_P(ValuesTest, BooleansAndStringsHoldWhatTheyAreGiven) {
  JBool flag;
  EXPECT_FALSE(flag.value());
  flag.setValue(true);
  EXPECT_TRUE(flag.value());
  EXPECT_TRUE(JBool(true).value());
  const SafeString bytes("a\0\377 and more than fits", 22);
  JString text;
  EXPECT_EQ(text.value(), "");
  text.setValue(bytes);
  EXPECT_EQ(text.value(), bytes);
  JBase* const copy = JString(bytes).clone();
  EXPECT_TRUE(JsonReader::IsEqual(copy, &text));
  static_cast<JString*>(copy)->setValue("b");
  EXPECT_EQ(text.value(), bytes);
  copy->dispose();
}

TEST_P(ValuesTest, AnArrayOwnsItsElements) {
  JArray array;
  EXPECT_TRUE(array.empty());
  EXPECT_EQ(array.at(0), nullptr);
  const Account none = Monitor::Now();
  JBase* const b = Named("b");
  JBase* const d = Named("d");
  JBase* const e = Named("e");
  for (JBase* value : {Named("a"), b, Named("c")}) array.append(value);
  array.append(nullptr);
  EXPECT_EQ(array.length(), 3u);
  EXPECT_EQ(array.at(1), b);
  const std::size_t bytes = Monitor::Now().memory_bytes;
  JBase* const copy = array.clone();
  EXPECT_EQ(Monitor::Now().memory_bytes - bytes, 3 * sizeof(void*));
  copy->dispose();
  Monitor::TakeLog();
  EXPECT_TRUE(array.setValue(1, d));
  EXPECT_EQ(TakeCalls(), "-b");
  EXPECT_EQ(std::as_const(array).at(1), d);
  EXPECT_FALSE(array.setValue(3, e));
  EXPECT_EQ(TakeCalls(), "-e");
  EXPECT_FALSE(array.setValue(0, nullptr));
  EXPECT_EQ(array.length(), 3u);
  EXPECT_EQ(array.at(3), nullptr);
  EXPECT_FALSE(array.empty());
  array.clear();
  EXPECT_EQ(TakeCalls(), "-a-d-c");
  EXPECT_EQ(array.length(), 0u);
  EXPECT_EQ(Monitor::Now(), none) << "the storage stays";

  JBase* const kept = Named("kept");
  array.append(kept);
  array.detach();
  EXPECT_TRUE(array.empty());
  kept->dispose();
  EXPECT_EQ(Monitor::Now(), none) << "the storage stays";
}

TEST_P(ValuesTest, AnObjectOwnsItsMembers) {
  JObject object;
  EXPECT_TRUE(object.empty());
  EXPECT_EQ(object.at("k"), nullptr);
  EXPECT_FALSE(object.existed("k"));
  EXPECT_FALSE(object.remove("k"));
  EXPECT_TRUE(object.keys().empty());
  JBase* const y = Named("y");
  object.setValue("k", Named("x"));
  Monitor::TakeLog();
  object.setValue("k", y);
  EXPECT_EQ(TakeCalls(), "-x");
  object.setValue("k", nullptr);
  object.setValue("l", nullptr);
  EXPECT_EQ(object.at("k"), y);
  EXPECT_EQ(object.keys(), decltype(object.keys())({"k"}));
  JBase* const kept = Named("kept");
  object.setValue("", kept);
  EXPECT_EQ(std::as_const(object).at(""), kept);
  EXPECT_TRUE(object.existed(""));
  EXPECT_FALSE(object.empty());
  Monitor::TakeLog();
  EXPECT_TRUE(object.remove("k"));
  EXPECT_EQ(TakeCalls(), "-y");
  EXPECT_FALSE(object.remove("k"));
  object.detach();
  EXPECT_FALSE(object.existed(""));
  EXPECT_TRUE(object.empty());
  kept->dispose();

  for (char key = 'a'; key <= 'z'; ++key) {
    object.setValue(SafeString(1, key), Make<JNull>());
  }
  object.clear();
  EXPECT_TRUE(object.empty());
  EXPECT_GE(Monitor::Now().memory_bytes, 26 * sizeof(void*)) << "no buckets";
}

// A value that holds the key it is stored under.
struct Keyed : JTypeBase<JType::Null> {
  JBase* clone() const override { return nullptr; }
  void toString(Context&) const override {}
  SafeString key = "a key that is too long to stand in the string";
};

TEST_P(ValuesTest, AKeyMayBePartOfTheValueThatItReplaces) {
  JObject object;
  auto* const keyed = Make<Keyed>();
  const SafeString key = keyed->key;
  object.setValue(keyed->key, keyed);
  object.setValue(keyed->key, Named("new"));
  EXPECT_TRUE(object.existed(key));
}

// What a monitor refuses to release stays alive, and nothing reaches it again.
TEST_P(ValuesTest, AMonitorThatThrowsLeadsToNoSecondDisposal) {
  JArray array;
  JObject object;
  JsonReader reader;
  const struct {
    const char* name;
    std::function<void(JBase*)> keep;
    std::function<void()> release;
  } kRows[] = {
      {"clear an array", [&](JBase* it) { array.append(it); },
       [&] { array.clear(); }},
      {"replace an element", [&](JBase* it) { array.append(it); },
       [&] { array.setValue(0, Named("new")); }},
      {"clear an object", [&](JBase* it) { object.setValue("k", it); },
       [&] { object.clear(); }},
      {"remove a member", [&](JBase* it) { object.setValue("k", it); },
       [&] { object.remove("k"); }},
      {"replace a member", [&](JBase* it) { object.setValue("k", it); },
       [&] {
         const generic::ScopedPointer<JBase> value(Named("new"));
         object.setValue("k", value.get());
       }},
      {"read anew", [&](JBase*) { reader.fromString("1"); },
       [&] { reader.fromString("2"); }}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    JBase* value = Named("kept");
    row.keep(value);
    if (JBase* tree = reader.getJson()) value = (value->dispose(), tree);
    Monitor::ThrowOn(Monitor::Report::Release);
    EXPECT_THROW(row.release(), MonitorFailure);
    EXPECT_FALSE(reader.valid());
    EXPECT_FALSE(object.existed("k"));
    EXPECT_NE(array.at(0), value);
    value->dispose();
    array.clear();
  }
  Monitor::ThrowOn(Monitor::Report::Creation);
  EXPECT_THROW(Make<JString>("an object that could not be recorded"),
               MonitorFailure);
}

}  // namespace

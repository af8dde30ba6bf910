// The value classes: their kinds, what they hold, what they own and when they
// dispose it.

#include "support/fixture.h"
#include "support/keys.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

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
    JType type;
    std::vector<int> lines;  // of the creation tags, containers first
  } kRows[] = {
      {"null", JType::Null, {326}},
      {"true", JType::Bool, {350}},
      {"1.0", JType::Number, {399}},
      {R"("a")", JType::String, {491}},
      {"[null,[true,1e2]]", JType::Array, {525, 326, 525, 350, 399}},
      {R"({"a":["",{"b":2}]})", JType::Object, {636, 525, 491, 636, 399}}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    JsonReader source;
    source.fromString(row.text);
    EXPECT_EQ(source.getJson()->type(), row.type);
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
  EXPECT_TRUE(flag.value() && JBool(true).value());
  const SafeString bytes("a\0\377 and more than fits", 22);
  JString text, moved{SafeString(bytes)};
  EXPECT_EQ(text.value(), "");
  text.setValue(bytes);
  EXPECT_EQ(text.value(), bytes);
  EXPECT_EQ(moved.value(), bytes);
  const generic::ScopedPointer<JBase> copy(JString(bytes).clone());
  EXPECT_TRUE(JsonReader::IsEqual(copy.get(), &text));
  text.setValue("b");
  EXPECT_EQ(static_cast<JString*>(copy.get())->value(), bytes);
}

TEST_P(ValuesTest, AnArrayOwnsItsElements) {
  JArray array;
  const Account none = Monitor::Now();
  JBase *const b = Named("b"), *const d = Named("d");
  for (JBase* value : {Named("a"), b, Named("c")}) array.append(value);
  array.append(nullptr);
  EXPECT_EQ(array.at(1), b);
  const std::size_t bytes = Monitor::Now().memory_bytes;
  JBase* const copy = array.clone();
  EXPECT_EQ(Monitor::Now().memory_bytes - bytes, 3 * sizeof(void*));
  copy->dispose();
  Monitor::TakeLog();
  EXPECT_TRUE(array.setValue(1, d));
  EXPECT_EQ(std::as_const(array).at(1), d);
  EXPECT_FALSE(array.setValue(3, Named("e")));
  EXPECT_FALSE(array.setValue(0, nullptr));
  EXPECT_EQ(array.length(), 3u);
  EXPECT_EQ(array.at(3), nullptr);
  EXPECT_FALSE(array.empty());
  array.clear();
  EXPECT_EQ(TakeCalls(), "-b+test:1 test #1-e-a-d-c");
  EXPECT_EQ(array.length(), 0u);
  EXPECT_EQ(Monitor::Now(), none) << "the storage stays";

  JBase* const kept = Named("kept");
  array.append(kept);
  array.detach();
  EXPECT_EQ(array.at(0), nullptr);
  kept->dispose();
  EXPECT_EQ(Monitor::Now(), none) << "the storage stays";
  EXPECT_TRUE(array.empty());
}

TEST_P(ValuesTest, AnObjectOwnsItsMembers) {
  JObject object;
  EXPECT_FALSE(object.remove("k"));
  EXPECT_TRUE(object.keys().empty());
  JBase *const y = Named("y"), *const kept = Named("kept");
  object.setValue("k", Named("x"));
  Monitor::TakeLog();
  object.setValue("k", y);
  object.setValue("k", nullptr);
  object.setValue("l", nullptr);
  EXPECT_EQ(TakeCalls(), "-x");
  EXPECT_EQ(object.at("k"), y);
  EXPECT_EQ(object.keys(), decltype(object.keys())({"k"}));
  object.setValue("", kept);
  EXPECT_EQ(std::as_const(object).at(""), kept);
  EXPECT_TRUE(object.existed(""));
  EXPECT_FALSE(object.empty());
  EXPECT_TRUE(object.remove("k"));
  EXPECT_FALSE(object.remove("k"));
  object.detach();
  EXPECT_EQ(TakeCalls(), "-y");
  EXPECT_FALSE(object.existed(""));
  EXPECT_TRUE(object.empty());
  kept->dispose();

  for (char key = 'a'; key <= 'z'; ++key) object.setValue({key}, Make<JNull>());
  object.clear();
  EXPECT_TRUE(object.empty());
  EXPECT_GE(Monitor::Now().memory_bytes, 26 * sizeof(void*)) << "no buckets";

  // Members of one bucket, which are indexed, take no more the more often they
  // are replaced.
  const Keys keys = CollidingKeys(20, 0);
  for (const SafeString& key : keys) object.setValue(key, Make<JNull>());
  const std::size_t bytes = Monitor::Now().memory_bytes;
  for (int i = 0; i < 1000; ++i) object.setValue(keys[5], Make<JNull>());
  EXPECT_EQ(Monitor::Now().memory_bytes, bytes);
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
  object.setValue(keyed->key, Make<JNull>());
  EXPECT_TRUE(object.existed(key));
}

// What a monitor refuses to release stays alive, and nothing reaches it again.
TEST_P(ValuesTest, AMonitorThatThrowsLeadsToNoSecondDisposal) {
  JArray array;
  JObject object;
  JsonReader reader;
  const generic::ScopedPointer<JBase> other(Make<JNull>());
  const auto append = [&] { array.append(Make<JNull>()); };
  const auto insert = [&] { object.setValue("k", Make<JNull>()); };
  const std::pair<std::function<void()>, std::function<void()>> kRows[] = {
      {append, [&] { array.clear(); }},
      {append, [&] { array.setValue(0, Make<JNull>()); }},
      {insert, [&] { object.clear(); }},
      {insert, [&] { object.remove("k"); }},
      {insert, [&] { object.setValue("k", other.get()); }},
      {[&] { reader.fromString("1"); }, [&] { reader.fromString("2"); }}};
  for (const auto& [keep, release] : kRows) {
    SCOPED_TRACE(&keep - &kRows[0].first);
    keep();
    JBase* const value = array.at(0)      ? array.at(0)
                         : reader.valid() ? reader.getJson()
                                          : object.at("k");
    Monitor::ThrowOn(Monitor::Report::Release);
    EXPECT_THROW(release(), MonitorFailure);
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

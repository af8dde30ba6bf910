// The value classes and the archiver: what they are, what they keep of their
// storage, and what a monitor that throws leaves. What edits and writes do to
// them is in properties/tree.cpp and properties/archiver.cpp.

#include "support/keys.h"
#include "support/property.h"
#include "support/traced.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <type_traits>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

// What may be copied may be moved from as well.
template <class... T>
constexpr bool kFixed = (!(std::is_move_constructible_v<T> ||
                           std::is_move_assignable_v<T>)&&...);
static_assert(kFixed<JNull, JBool, JNumber, JString, JArray, JObject>);
static_assert(kFixed<JsonReader, JsonArchiver>);

static_assert(std::is_base_of_v<lang::Exception, JsonException>);
// Programs catch it by value, and scripts/abi sees no function of it.
static_assert(sizeof(JsonException) == 2 * sizeof(SafeString) &&
              !std::is_polymorphic_v<JsonException>);

VORN_TRACED_TEST(ValuesTest);

TEST_P(ValuesTest, HoldWhatTheyAreGiven) {
  EXPECT_FALSE(JBool().value());
  EXPECT_TRUE(JBool(true).value());
  const SafeString bytes("a\0\377 and more than any value has room", 36);
  JString text(bytes), moved{SafeString(bytes)};
  EXPECT_EQ(JString().value(), "");
  EXPECT_EQ(text.value(), bytes);
  EXPECT_EQ(moved.value(), bytes);
  EXPECT_STREQ(lang::Exception(nullptr, "what").where(), "");
  EXPECT_STREQ(lang::Exception("where", nullptr).what(), "");
}

TEST_P(ValuesTest, AnArrayGivesItsStorageBack) {
  JArray array;
  const Account none = Monitor::Now();
  for (void (JArray::*empty)() : {&JArray::clear, &JArray::detach}) {
    JBase* kept[9];
    for (JBase*& value : kept) {
      array.append(value = Make<JNull>());
      const bool same = Monitor::Now().memory_bytes == none.memory_bytes;
      EXPECT_EQ(same, array.length() <= 2);
    }
    (array.*empty)();
    for (JBase* value : kept) {
      if (empty == &JArray::detach) value->dispose();
    }
    EXPECT_EQ(Monitor::Now(), none);
  }
}

TEST_P(ValuesTest, AnObjectTakesNoMoreTheMoreOftenMembersAreReplaced) {
  JObject object;
  const Keys keys = CollidingKeys(20, 0);  // of one bucket, which is indexed
  for (const SafeString& key : keys) object.setValue(key, Make<JNull>());
  object.setValue(keys[5], Make<JNull>());
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
    Monitor::ThrowOn(Monitor::Report::Release);
    EXPECT_THROW(release(), MonitorFailure);
    JBase* const refused = array.at(0) != held[0]      ? held[0]
                           : object.at("k") != held[1] ? held[1]
                                                       : held[2];
    EXPECT_EQ(reader.valid(), refused != held[2]);
    refused->dispose();
    array.clear();
  }
  Monitor::ThrowOn(Monitor::Report::Creation);
  EXPECT_THROW(Make<JString>("an object that could not be recorded"),
               MonitorFailure);
}

TEST_P(ValuesTest, AllocatorsAskForNoMoreThanTheMonitorCounts) {
  debug::Allocator<int> allocator;
  EXPECT_THROW(allocator.allocate(1U << 30), std::bad_alloc);
  Monitor::FailRequest(Source::MemoryMonitor, 0, false);
  EXPECT_EQ(allocator.allocate(0), nullptr);
  EXPECT_TRUE(allocator == debug::Allocator<char>());
  EXPECT_FALSE(allocator != debug::Allocator<char>());
}

}  // namespace

// Cost, counted: the basic blocks that the library runs through, and its
// requests for memory. Keys made to collide cost only a few times what ordinary
// ones do, also while requests fail, and a text of any kind costs as many times
// more as it is longer.

#include "support/keys.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/tracked.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <list>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

struct Cost {
  std::size_t blocks = 0;    // of the library's code, and words of memcmp()
  std::size_t requests = 0;  // for memory
} cost;

// Which requests fail, by their number since the start and their size.
using Failing = bool (*)(std::size_t number, std::size_t bytes);
Failing failing = nullptr;

std::size_t live = 0, peak = 0;  // bytes

}  // namespace

// Each basic block of the library's sources, as they are compiled for this
// program, calls this.
extern "C" void __sanitizer_cov_trace_pc() { ++cost.blocks; }

extern "C" int memcmp(const void* first, const void* second, std::size_t size) {
  const auto* a = static_cast<const unsigned char*>(first);
  const auto* b = static_cast<const unsigned char*>(second);
  std::size_t at = 0;
  while (at < size && a[at] == b[at]) ++at;
  cost.blocks += at / sizeof(std::size_t);
  return at < size ? a[at] - b[at] : 0;
}

namespace vorn::foundation::debug {

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  ++cost.requests;
  if (failing != nullptr && failing(cost.requests, bytes)) return nullptr;
  live += bytes;
  peak = std::max(peak, live);
  return static_cast<unsigned char*>(std::malloc(bytes));
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int bytes) {
  if (block != nullptr) live -= bytes;
  std::free(block);
}

}  // namespace vorn::foundation::debug

namespace {

// Flooding --------------------------------------------------------------------

// An object, and what else the operations work on, one after another.
struct Subject {
  SafeString text;          // of the object, without its end
  const SafeString* first;  // key
  std::size_t size = 0;
  JObject object;
  JsonReader reader;
  generic::ScopedPointer<JBase> copy;
  JsonArchiver archiver;
};
using It = Subject&;
using Key = const SafeString&;

bool Set(It it, Key key) {
  auto* const value = debug::Create<JNull>({"test", 1, "test"});
  generic::ScopedPointer<JBase> guard(value);
  it.object.setValue(key, value);
  return it.object.at(key) == guard.release();
}

const struct {
  const char* name;
  bool whole;  // done once, and not for each key
  bool (*work)(It, Key);
} kOperations[] = {
    {"parse", true,
     [](It it, Key) { return it.reader.fromString(it.text + "}"); }},
    {"parse repeats", true,
     [](It it, Key) {
       return it.reader.fromString(it.text + "," + it.text.substr(1) + "}");
     }},
    {"setValue", false, Set},
    {"replace", false, Set},
    {"at", false, [](It it, Key key) { return it.object.existed(key); }},
    {"clone", true,
     [](It it, Key) { return it.copy.reset(it.object.clone()), true; }},
    {"IsEqual", true,
     [](It it, Key) { return JsonReader::IsEqual(&it.object, it.copy.get()); }},
    {"remove", false, [](It it, Key key) { return it.object.remove(key); }},
    {"load", true,
     [](It it, Key) { return it.archiver.fromString(it.text + "}"); }},
    {"fields", true,
     [](It it, Key) { return it.archiver.fields().size() == it.size; }},
    {"read", false,
     [](It it, Key key) { return !!it.archiver.readByField(key); }},
    {"release", true, [](It it, Key) { return !it.archiver.fromString(""); }},
    {"write", false,
     [](It it, Key key) { return !!it.archiver.writeArrayByField(key); }},
    {"clear", true, [](It it, Key) { return it.reader.reset(), true; }},
};

bool Attempt(bool (*work)(It, Key), It it, Key key) {
  try {
    return work(it, key);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// What the operations cost on objects of these keys, so many in each. The keys
// are visited in an order that is not that of their memory.
struct Costs {
  Costs(const Keys& keys, std::size_t each, Failing which = nullptr) {
    std::list<Subject> all;
    std::vector<std::pair<Subject*, const SafeString*>> visits;
    for (Key key : keys) {
      if (visits.size() % each == 0) all.emplace_back().first = &key;
      Subject& it = all.back();
      it.text += (it.size++ == 0 ? "{\"" : ",\"") + key + "\":0";
      visits.emplace_back(&it, &key);
    }
    std::shuffle(visits.begin(), visits.end(), std::mt19937(1));
    for (const auto& operation : kOperations) {
      cost = Cost();
      failing = which;
      bool right = true;
      for (const auto& [it, key] : visits) {
        if (operation.whole && key != it->first) continue;
        right &= Attempt(operation.work, *it, *key);
      }
      failing = nullptr;
      of.push_back(cost);
      EXPECT_TRUE(right || which != nullptr) << operation.name;
    }
  }

  std::vector<Cost> of;
};

TEST(FloodTest, CollidingKeysCostLittleMoreThanOrdinaryOnes) {
  constexpr std::size_t kMostRatio = 5, kMostRequests = 20;
  // The last of these keys takes so many buckets.
  constexpr std::size_t kCount = 5088, kBuckets = 10273;
  const struct {
    const char* name;
    Keys keys;
    std::size_t each;  // keys of an object
  } kFloods[] = {
      {"one hash", CollidingKeys(kCount, 0), kCount},
      {"one bucket", CollidingKeys(kCount, kBuckets), kCount},
      {"one hash, small objects", CollidingKeys(kCount, 0), 13},
      {"long keys of one hash", LongCollidingKeys(1000, 10240), 1000},
  };
  const struct {
    const char* name;
    Failing fails;
  } kFailures[] = {
      {"no", nullptr},
      {"one", [](auto number, auto) { return number == 1000; }},
      {"every third", [](auto number, auto) { return number % 3 == 0; }},
      {"each large", [](auto, auto bytes) { return bytes > 16384; }},
      {"each later", [](auto number, auto) { return number > 10000; }},
  };
  for (const auto& flood : kFloods) {
    const std::size_t count = flood.keys.size(), size = flood.keys[0].size();
    Keys ordinary = flood.keys;
    for (std::size_t i = 0; i < count; ++i) {
      ordinary[i].replace(size - 8, 8, std::to_string(10000000 + i));
    }
    const Costs least(ordinary, flood.each);
    for (const auto& failure : kFailures) {
      const Costs costs(flood.keys, flood.each, failure.fails);
      for (std::size_t i = 0; i < costs.of.size(); ++i) {
        SCOPED_TRACE(std::string(flood.name) + ", " + kOperations[i].name +
                     ", " + failure.name + " request fails");
        // The hash that decides the order reads each key once as well.
        const auto hashed = count * size / sizeof(std::size_t);
        EXPECT_LE(costs.of[i].blocks,
                  kMostRatio * (least.of[i].blocks + hashed));
        EXPECT_LE(costs.of[i].requests, kMostRequests * count);
      }
    }
  }
}

// A member may need more buckets and an index at once.
TEST(FloodTest, AnyFailureKeepsTheOrder) {
  Keys keys = LongCollidingKeys(3, 64);
  for (Key key : CollidingKeys(11, 1)) keys.insert(keys.begin(), key);
  constexpr std::size_t kMost = 12;  // requests
  for (std::size_t number = 0; number <= kMost; ++number) {
    Subject it;
    for (std::size_t i = 0; i < 13; ++i) EXPECT_TRUE(Set(it, keys[i]));
    const auto order = it.object.keys();
    cost.requests = number;
    failing = [](auto request, auto) { return request > kMost; };
    const bool set = Attempt(Set, it, keys[13]);
    failing = nullptr;
    EXPECT_TRUE(set ? number < 6 : it.object.keys() == order) << number;
  }
}

// Long texts ------------------------------------------------------------------

TEST(LongTextTest, IsReadInLinearTime) {
  const struct {
    const char *open, *unit, *close;
  } kTexts[] = {{"\"", "x", "\""}, {"\"", "\\n", "\""},   {"{\"", "x", "\":0}"},
                {"1", "0", ""},    {"//", "[", "\n0"},    {"", "//\n", "0"},
                {"", " ", "0"},    {"[[]", ",{},[]", "]"}};
  for (const auto& row : kTexts) {
    Cost costs[2];
    for (const unsigned int i : {0U, 1U}) {
      SafeString text = row.open;
      for (int n = 0; n < (i == 0 ? 10000 : 100000); ++n) text += row.unit;
      text += row.close;
      cost = Cost();
      EXPECT_TRUE(JsonReader().fromString(text));
      costs[i] = cost;
    }
    EXPECT_LE(costs[1].blocks, 11 * costs[0].blocks) << row.unit;
    EXPECT_LE(costs[1].requests, 11 * costs[0].requests) << row.unit;
  }
}

// The buffer of a text that is written doubles, and is copied at the end.
TEST(LongTextTest, IsWrittenInThreeTimesItsLength) {
  SafeString text = "[";
  for (int i = 0; i < 70000; ++i) text += "[12345],";
  text += "0]";
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(text));
  const std::size_t before = peak = live;
  EXPECT_EQ(reader.compress(), text);
  EXPECT_LE(peak - before, 3 * text.size() + 1024);
}

}  // namespace

// Cost, counted: the basic blocks that the library runs through, and its
// requests for memory. Keys made to collide cost only a few times what ordinary
// ones do, also while requests fail, and a text of any kind costs as many times
// more as it is longer.

#include "support/keys.h"
#include "support/operations.h"
#include "support/property.h"

#include <foundation/debug/memorymonitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

struct Cost {
  bool right;            // the result
  std::size_t blocks;    // of the library's code
  std::size_t requests;  // for memory
} cost;

// Which requests fail, by their number since the start and their size.
using Failing = bool (*)(std::size_t number, std::size_t bytes);
Failing failing = nullptr;

}  // namespace

// Each basic block of the library's sources, as they are compiled for this
// program, calls this.
extern "C" void __sanitizer_cov_trace_pc() { ++cost.blocks; }

unsigned char* debug::MemoryMonitor::Alloc(unsigned int bytes) {
  ++cost.requests;
  if (failing != nullptr && failing(cost.requests, bytes)) return nullptr;
  return static_cast<unsigned char*>(std::malloc(bytes));
}

void debug::MemoryMonitor::Dealloc(unsigned char* block, unsigned int) {
  std::free(block);
}

namespace {

// Runs what may exhaust memory.
Cost Measure(const std::function<bool()>& run, Failing which = nullptr) {
  cost = {};
  failing = which;
  cost.right = EndOf(run) == End::Passed;
  failing = nullptr;
  return cost;
}

bool Set(JObject& object, const SafeString& key) {
  const auto set = [&] {
    generic::ScopedPointer<JBase> value(Make<JNumber>(0));
    object.setValue(key, value.get());
    return object.at(key) == value.release();
  };
  return EndOf(set) == End::Passed;
}

// Sets all members, removes them, and sets them twice.
bool Edit(JObject& object, const Keys& keys) {
  bool right = true;
  for (const bool set : {true, false, true, true}) {
    for (const SafeString& key : keys) {
      right &= set ? Set(object, key) : object.remove(key);
    }
  }
  return right;
}

// Of the edits of an object with these keys, and of all operations on it.
std::vector<Cost> MeasureAll(Keys keys, Failing which = nullptr) {
  Subject it;
  for (const SafeString& key : keys) it.text += ",\"" + key + "\":0";
  it.text[0] = '{';
  it.text += '}';
  std::shuffle(keys.begin(), keys.end(), std::mt19937(1));  // in memory
  JObject object;
  std::vector<Cost> costs{Measure([&] { return Edit(object, keys); }, which)};
  for (const Operation& operation : kOperations) {
    costs.push_back(Measure([&] { return operation.run(it); }, which));
    it.tree = &object;  // without memory there is no other
  }
  return costs;
}

TEST(FloodTest, CollidingKeysCostLittleMoreThanOrdinaryOnes) {
#ifdef __OPTIMIZE__
  constexpr std::size_t kMostRatio = 5;
#else
  constexpr std::size_t kMostRatio = 15;  // nothing is inlined
#endif
  constexpr std::size_t kMostRequests = 20;
  // An object has kBuckets buckets when the last of kCount keys is added.
  constexpr std::size_t kCount = 1110, kBuckets = 2357;
  const std::pair<const char*, Keys> kFloods[] = {
      {"one bucket", KeysOfOneBucket(kCount, kBuckets)},
      {"one hash", KeysOfOneHash(kCount, 10240)},
      {"few of one hash", KeysOfOneHash(13, 10240)}};
  const std::pair<const char*, Failing> kFailures[] = {
      {"none", nullptr},
      {"every third", [](auto number, auto) { return number % 3 == 0; }},
      {"each large", [](auto, auto bytes) { return bytes > 16384; }},
      {"each later", [](auto number, auto) { return number > 2000; }}};
  for (const auto& [flood, keys] : kFloods) {
    const std::size_t count = keys.size(), size = keys[0].size();
    Keys ordinary = keys;
    for (std::size_t i = 0; i < count; ++i) {
      ordinary[i].replace(size - 8, 8, std::to_string(10000000 + i));
    }
    const std::vector<Cost> least = MeasureAll(ordinary);
    // The hash that decides the order reads each key once as well.
    const std::size_t hashed = count * size / sizeof(std::size_t);
    for (const auto& [failure, fails] : kFailures) {
      const Cost* usual = least.data();
      for (const Cost& it : MeasureAll(keys, fails)) {
        SCOPED_TRACE(std::string(flood) + ", request that fails: " + failure);
        EXPECT_TRUE(it.right || fails != nullptr);
        EXPECT_LE(it.blocks, kMostRatio * (usual++->blocks + hashed));
        EXPECT_LE(it.requests, kMostRequests * count);
      }
    }
  }
}

// The last member needs more buckets and an index at once.
TEST(FloodTest, AnyFailureKeepsTheOrder) {
  Keys keys = KeysOfOneBucket(11, 1);
  for (const SafeString& key : KeysOfOneHash(3)) keys.push_back(key);
  static std::size_t granted;  // requests
  for (granted = 0; granted < 12; ++granted) {
    JObject object;
    for (std::size_t i = 0; i < 13; ++i) EXPECT_TRUE(Set(object, keys[i]));
    const auto order = object.keys();
    const Cost last =
        Measure([&] { return Set(object, keys[13]); },
                [](auto number, auto) { return number > granted; });
    EXPECT_TRUE(last.right ? granted > 6 : object.keys() == order) << granted;
  }
}

// Ten times as many units in the middle.
TEST(FloodTest, LongTextsCostLinearly) {
  const struct {
    const char *open, *unit, *close;
  } kTexts[] = {{"\"", "x", "\""}, {"\"", "\\n", "\""},   {"{\"", "x", "\":0}"},
                {"1", "0", ""},    {"//", "[", "\n0"},    {"", "//\n", "0"},
                {"", " ", "0"},    {"[[]", ",{},[]", "]"}};
  for (const auto& [open, unit, close] : kTexts) {
    Subject one(open + Repeat(10000, unit) + close);
    Subject ten(open + Repeat(100000, unit) + close);
    for (const auto& [name, run] : kOperations) {
      SCOPED_TRACE(std::string(name) + " " + unit);
      const Cost least = Measure(std::bind(run, std::ref(one)));
      const Cost most = Measure(std::bind(run, std::ref(ten)));
      EXPECT_NE(ten.tree, nullptr);
      EXPECT_LE(most.blocks, 11 * least.blocks);
      EXPECT_LE(most.requests, 11 * least.requests);
    }
  }
}

}  // namespace

// Cost, counted: the basic blocks that the library runs through, and its
// requests for memory. Keys made to collide cost only a few times what ordinary
// ones do, also while requests fail, and a text of any kind costs as many times
// more as it is longer.

#include "support/keys.h"
#include "support/operations.h"
#include "support/property.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/tracked.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
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
  const char* name = "";
  bool right = false;        // the result
  std::size_t blocks = 0;    // of the library's code, and words of memcmp()
  std::size_t requests = 0;  // for memory
  std::size_t bytes = 0;     // of these
} cost;

// Which requests fail, by their number since the start and their size.
using Failing = bool (*)(std::size_t number, std::size_t bytes);
Failing failing = nullptr;

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
  cost.bytes += bytes;
  return static_cast<unsigned char*>(std::malloc(bytes));
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int) {
  std::free(block);
}

}  // namespace vorn::foundation::debug

namespace {

// An object of keys, as text and as a value. The keys are visited in an order
// that is not that of their memory.
struct Flooded : Subject {
  explicit Flooded(const Keys& all) : keys(all) {
    for (const SafeString& key : keys) text += ",\"" + key + "\":0";
    text[0] = '{';
    text += '}';
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  }

  Keys keys;
  JObject object;
};

template <class Run, class... Arguments>
bool Attempt(Run run, Arguments&... arguments) {
  try {
    return run(arguments...);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool Set(JObject& object, const SafeString& key) {
  auto* const value = debug::Create<JNumber>({"test", 1, "test"}, 0);
  generic::ScopedPointer<JBase> guard(value);
  object.setValue(key, value);
  return object.at(key) == guard.release();
}

// Sets all members, removes them, and sets them twice.
bool Edit(Subject& subject) {
  auto& it = static_cast<Flooded&>(subject);
  bool right = true;
  for (const bool set : {true, false, true, true}) {
    for (const SafeString& key : it.keys) {
      right &= set ? Attempt(Set, it.object, key) : it.object.remove(key);
    }
  }
  return right;
}

Cost Measure(const Operation& operation, Subject& it, Failing which = nullptr) {
  cost = {operation.name};
  failing = which;
  cost.right = Attempt(operation.run, it);
  failing = nullptr;
  return cost;
}

// Of all operations on an object of these keys.
std::vector<Cost> MeasureAll(const Keys& keys, Failing which = nullptr) {
  Flooded it(keys);
  std::vector<Cost> costs{Measure({"edit", Edit}, it, which)};
  for (const Operation& operation : kOperations) {
    costs.push_back(Measure(operation, it, which));
    it.tree = &it.object;  // without memory there is no other
  }
  return costs;
}

TEST(FloodTest, CollidingKeysCostLittleMoreThanOrdinaryOnes) {
  constexpr std::size_t kMostRatio = 5, kMostRequests = 20;
  // The last of these keys takes so many buckets.
  constexpr std::size_t kCount = 5088, kBuckets = 10273;
  const std::pair<const char*, Keys> kFloods[] = {
      {"one hash", CollidingKeys(kCount, 0)},
      {"one bucket", CollidingKeys(kCount, kBuckets)},
      {"few of one hash", CollidingKeys(13, 0)},
      {"long keys of one hash", LongCollidingKeys(1000, 10240)},
  };
  const std::pair<const char*, Failing> kFailures[] = {
      {"no", nullptr},
      {"one", [](auto number, auto) { return number == 1000; }},
      {"every third", [](auto number, auto) { return number % 3 == 0; }},
      {"each large", [](auto, auto bytes) { return bytes > 16384; }},
      {"each later", [](auto number, auto) { return number > 10000; }},
  };
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
        SCOPED_TRACE(std::string(flood) + ", " + it.name + ", " + failure +
                     " request fails");
        EXPECT_TRUE(it.right || fails != nullptr);
        EXPECT_LE(it.blocks, kMostRatio * (usual++->blocks + hashed));
        EXPECT_LE(it.requests, kMostRequests * count);
      }
    }
  }
}

// A member may need more buckets and an index at once.
TEST(FloodTest, AnyFailureKeepsTheOrder) {
  Keys keys = LongCollidingKeys(3, 64);
  for (const SafeString& key : CollidingKeys(11, 1)) {
    keys.insert(keys.begin(), key);
  }
  constexpr std::size_t kMost = 12;  // requests
  for (std::size_t number = 0; number <= kMost; ++number) {
    JObject object;
    for (std::size_t i = 0; i < 13; ++i) EXPECT_TRUE(Set(object, keys[i]));
    const auto order = object.keys();
    cost.requests = number;
    failing = [](auto request, auto) { return request > kMost; };
    const bool set = Attempt(Set, object, keys[13]);
    failing = nullptr;
    EXPECT_TRUE(set ? number < 6 : object.keys() == order) << number;
  }
}

// Ten times as many units in the middle. Buffers double.
TEST(FloodTest, LongTextsCostLinearly) {
  const struct {
    const char *open, *unit, *close;
  } kTexts[] = {{"\"", "x", "\""}, {"\"", "\\n", "\""},   {"{\"", "x", "\":0}"},
                {"1", "0", ""},    {"//", "[", "\n0"},    {"", "//\n", "0"},
                {"", " ", "0"},    {"[[]", ",{},[]", "]"}};
  for (const auto& row : kTexts) {
    Subject one, ten;
    one.text = (row.open + Repeat(10000, row.unit) + row.close).c_str();
    ten.text = (row.open + Repeat(100000, row.unit) + row.close).c_str();
    for (const Operation& operation : kOperations) {
      SCOPED_TRACE(std::string(operation.name) + " " + row.unit);
      const Cost least = Measure(operation, one),
                 most = Measure(operation, ten);
      EXPECT_NE(ten.tree, nullptr);
      EXPECT_LE(most.blocks, 11 * least.blocks);
      EXPECT_LE(most.requests, 11 * least.requests);
      EXPECT_LE(most.bytes, 20 * least.bytes);
    }
  }
}

}  // namespace

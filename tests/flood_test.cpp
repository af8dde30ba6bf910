// Cost, counted: the basic blocks that the library runs through, and its
// requests for memory. Keys made to collide cost only a few times what ordinary
// ones do, also while requests fail, and a text of any kind costs as many times
// more as it is longer.

#include "support/keys.h"
#include "support/operations.h"
#include "support/texts.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/tracked.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
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

// An object of keys, and what is made of it.
struct Flooded : Subject {
  JObject object;
  JsonArchiver written;
};
using It = Flooded&;
using Key = const SafeString&;

bool Set(It it, Key key) {
  auto* const value = debug::Create<JNumber>({"test", 1, "test"}, 0);
  generic::ScopedPointer<JBase> guard(value);
  it.object.setValue(key, value);
  return it.object.at(key) == guard.release();
}

// Done with each key, beside the operations on whole trees.
constexpr struct {
  const char* name;
  bool (*run)(It, Key);
} kKeyOperations[] = {
    {"setValue", Set},
    {"remove", [](It it, Key key) { return it.object.remove(key); }},
    {"setValue again", Set},
    {"replace", Set},
    {"at", [](It it, Key key) { return it.object.existed(key); }},
    {"write",
     [](It it, Key key) { return !!it.written.writeArrayByField(key); }},
    {"read", [](It it, Key key) { return !!it.written.readByField(key); }},
};

template <class Run, class... Arguments>
bool Attempt(Run run, Arguments&... arguments) {
  try {
    return run(arguments...);
  } catch (const std::bad_alloc&) {
    return false;
  }
}

// What the work costs while requests fail, or else must succeed.
template <class Work>
Cost Measure(const char* name, Work work, Failing which = nullptr) {
  cost = {name};
  failing = which;
  const bool right = Attempt(work);
  failing = nullptr;
  const Cost result = cost;
  EXPECT_TRUE(right || which != nullptr) << name;
  return result;
}

// Of all operations on an object of these keys, which are visited in an order
// that is not that of their memory.
std::vector<Cost> MeasureAll(Keys keys, Failing which = nullptr) {
  Flooded it;
  for (Key key : keys) it.text += ",\"" + key + "\":0";
  it.text[0] = '{';
  it.text += '}';
  std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  std::vector<Cost> costs;
  for (const auto& operation : kKeyOperations) {
    const auto work = [&] {
      bool right = true;
      for (Key key : keys) right &= Attempt(operation.run, it, key);
      return right;
    };
    costs.push_back(Measure(operation.name, work, which));
  }
  for (const auto& [name, run] : kOperations) {
    costs.push_back(Measure(name, std::bind(run, std::ref(it)), which));
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
        const std::size_t most = usual++->blocks + hashed;
        EXPECT_TRUE(it.blocks <= kMostRatio * most &&
                    it.requests <= kMostRequests * count)
            << flood << ", " << it.name << ", " << failure << " request fails";
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
    Flooded it;
    for (std::size_t i = 0; i < 13; ++i) EXPECT_TRUE(Set(it, keys[i]));
    const auto order = it.object.keys();
    cost.requests = number;
    failing = [](auto request, auto) { return request > kMost; };
    const bool set = Attempt(Set, it, keys[13]);
    failing = nullptr;
    EXPECT_TRUE(set ? number < 6 : it.object.keys() == order) << number;
  }
}

// Ten times as many units in the middle; buffers double.
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
    for (const auto& [name, run] : kOperations) {
      SCOPED_TRACE(std::string(name) + " " + row.unit);
      const auto measure = [run = run](Subject& it) {
        return Measure("", [&] { return run(it), it.tree != nullptr; });
      };
      const Cost least = measure(one), most = measure(ten);
      EXPECT_LE(most.blocks, 11 * least.blocks);
      EXPECT_LE(most.requests, 11 * least.requests);
      EXPECT_LE(most.bytes, 20 * least.bytes);
    }
  }
}

}  // namespace

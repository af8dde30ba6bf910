// Time, on the framework's own monitors. Keys made to collide cost only a few
// times what ordinary ones do, and both they and a text of any kind cost no
// more the more there is of them. The sanitizers change what time is: there,
// small sizes run for the results alone.

#include "support/build.h"
#include "support/keys.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/tracked.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <iterator>
#include <list>
#include <random>
#include <string_view>
#include <utility>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

// What else the machine does disturbs measurements, even of the time that it
// spends on this program: while a bound is not kept, all is measured again,
// unless it is missed by more than that can explain.
constexpr int kAttempts = kSanitized ? 1 : 6;
constexpr double kHopeless = 4;

template <class Work>
void Measure(double& shortest, Work work) {
  const std::clock_t start = std::clock();
  work();
  const auto time = static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
  shortest = std::min(shortest, std::max(time, 1e-6));
}

// Flooding --------------------------------------------------------------------

// The keys of an object, few or many, and the buckets that it has for them. Few
// are in several objects: the keys and the memory are as many together.
constexpr std::size_t kCounts[] = {1000, kOptimized ? 50000 : 5000};
constexpr std::size_t kBuckets[] = {1109, kOptimized ? 85229 : 5087};

enum Kind { kOrdinary, kOneHash, kOneBucket };

// An object, and what else the operations work on, one after another.
struct Subject {
  explicit Subject(const Keys& of) : keys(of) {
    for (const SafeString& key : keys) text += ",\"" + key + "\":0";
    twice = "{" + text.substr(1) + text + "}";
    text[0] = '{';
    text += "}";
  }
  JObject& object() { return static_cast<JObject&>(*reader.getJson()); }

  const Keys& keys;
  SafeString text, twice;  // an object of them all, once and repeated
  JsonReader reader;
  generic::ScopedPointer<JBase> copy;
  JsonArchiver archiver;
};
using It = Subject&;
using Key = const SafeString&;

const struct {
  const char* name;
  bool (*once)(It);
  bool (*each)(It, Key);  // if it is there, for each key after that
} kOperations[] = {
    {"parse repeats", [](It it) { return it.reader.fromString(it.twice); }, {}},
    {"parse", [](It it) { return it.reader.fromString(it.text); }, {}},
    {"at, existed", [](It it) { return !it.object().existed("1"); },
     [](It it, Key key) { return it.object().at(key) != nullptr; }},
    {"setValue", [](It it) { return !it.object().empty(); },
     [](It it, Key key) {
       it.object().setValue(key, debug::Create<JNull>({"test", 1, "test"}));
       return it.object().existed(key);
     }},
    {"clone",
     [](It it) { return it.copy.reset(it.object().clone()), true; },
     {}},
    {"IsEqual",
     [](It it) { return JsonReader::IsEqual(&it.object(), it.copy.get()); },
     {}},
    {"remove", [](It it) { return !it.object().remove("1"); },
     [](It it, Key key) { return it.object().remove(key); }},
    {"load, fields",
     [](It it) {
       return it.archiver.fromString(it.text) &&
              it.archiver.fields().size() == it.keys.size();
     },
     [](It it, Key key) { return it.archiver.readByField(key) != nullptr; }},
    {"write", [](It it) { return !it.archiver.fromString(""); },
     [](It it, Key key) {
       return it.archiver.writeArrayByField(key) != nullptr;
     }},
};
constexpr std::size_t kOperationCount = std::size(kOperations);

// Objects of that many keys of the kind, and their keys, in an order that is
// not that of their memory.
struct Subjects {
  Subjects(Kind kind, int size) {
    const std::size_t step = kind == kOneBucket ? kBuckets[size] : 0;
    keys = CollidingKeys(kCounts[size], step);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      EXPECT_EQ(std::hash<std::string_view>()(keys[i]), 1 + i * step);
      if (kind == kOrdinary) keys[i].replace(8, 8, "ordinary");
    }
    while (visits.size() < kCounts[1]) {
      all.emplace_back(keys);
      for (Key key : keys) visits.emplace_back(&all.back(), &key);
    }
    std::shuffle(visits.begin(), visits.end(), std::mt19937(1));
    std::fill_n(seconds, kOperationCount, 1e9);
  }

  void MeasureAll() {
    for (std::size_t i = 0; i < kOperationCount; ++i) {
      const auto& operation = kOperations[i];
      bool right = true;
      Measure(seconds[i], [&] {
        for (Subject& it : all) right = operation.once(it) && right;
        if (operation.each == nullptr) return;
        for (const auto& [it, key] : visits) {
          right = operation.each(*it, *key) && right;
        }
      });
      EXPECT_TRUE(right) << operation.name;
    }
  }

  Keys keys;
  std::list<Subject> all;
  std::vector<std::pair<Subject*, const SafeString*>> visits;
  double seconds[kOperationCount];
};

TEST(FloodTest, CollidingKeysCostLittleMoreThanOrdinaryOnes) {
  // What many keys cost, in the time of ordinary ones and in that of few: of
  // each operation for both kinds.
  struct Cost {
    double cost = 1e9, growth = 1e9;
  } costs[kOperationCount][2];
  constexpr Cost kMost{kOptimized ? 5 : 8, kOptimized ? 4 : 3};
  double worst = 2;
  for (int i = 0; i < kAttempts && worst > 1 && worst < kHopeless; ++i) {
    Subjects few[] = {{kOrdinary, 0}, {kOneHash, 0}, {kOneBucket, 0}};
    Subjects many[] = {{kOrdinary, 1}, {kOneHash, 1}, {kOneBucket, 1}};
    for (const int kind : {0, 1, 2, 0, 1, 2}) {
      few[kind].MeasureAll();
      many[kind].MeasureAll();
    }
    worst = 0;
    for (std::size_t operation = 0; operation < kOperationCount; ++operation) {
      for (const Kind kind : {kOneHash, kOneBucket}) {
        auto& [cost, growth] = costs[operation][kind - 1];
        const double seconds = many[kind].seconds[operation];
        cost = std::min(cost, seconds / many[kOrdinary].seconds[operation]);
        growth = std::min(growth, seconds / few[kind].seconds[operation]);
        worst = std::max({worst, cost / kMost.cost, growth / kMost.growth});
      }
    }
  }
  std::printf("%zu keys of one hash, of one bucket: the cost (and growth)\n",
              kCounts[1]);
  for (std::size_t operation = 0; operation < kOperationCount; ++operation) {
    const auto& [hash, bucket] = costs[operation];
    std::printf("  %-13s %5.2f (%.2f) %5.2f (%.2f)\n",
                kOperations[operation].name, hash.cost, hash.growth,
                bucket.cost, bucket.growth);
  }
  EXPECT_TRUE(worst <= 1 || kSanitized);
}

// The last key is an ordinary one, and the one that takes more buckets: what
// shares one of them is found as fast as before.
TEST(FloodTest, AnObjectThatGrowsKeepsItsIndex) {
  constexpr std::size_t kFull = kOptimized ? 20753 : 5087;  // its buckets
  double seconds[] = {1e9, 1e9};
  for (const std::size_t step : {std::size_t{1}, std::size_t{0}}) {
    JObject object;
    const Keys keys = CollidingKeys(kFull, step);
    const auto set = [&](Key key) {
      object.setValue(key, debug::Create<JNull>({"test", 1, "test"}));
    };
    for (Key key : keys) set(key);
    set("last");
    for (int i = 0; i < 3; ++i) {
      Measure(seconds[step == 0], [&] {
        for (Key key : keys) EXPECT_TRUE(object.existed(key));
      });
    }
  }
  EXPECT_TRUE(seconds[1] < 20 * seconds[0] || kSanitized);
}

// Long texts ------------------------------------------------------------------

// Ten times the text takes about ten times as long, and not a hundred times.
// VORN_TEST_MEGABYTES sets the length of the longer one.
TEST(LongTextTest, IsReadInLinearTime) {
  constexpr double kMostRatio = 15;
  const char* const megabytes = std::getenv("VORN_TEST_MEGABYTES");
  std::size_t length = kSanitized ? 100000 : 2000000;
  if (megabytes != nullptr) length = std::strtoul(megabytes, nullptr, 10) << 20;
  mallopt(M_MMAP_THRESHOLD, 1 << 17);  // and not, later, what proved large
  const struct {
    const char *name, *open, *unit, *close;
  } kTexts[] = {
      {"string", "\"", "x", "\""},   {"escapes", "\"", "\\n", "\""},
      {"key", "{\"", "x", "\":0}"},  {"number", "1", "0", ""},
      {"comment", "//", "[", "\n0"}, {"comments", "", "//\n", "0"},
      {"blanks", "", " ", "0"},      {"empties", "[[]", ",{},[]", "]"}};
  for (const auto& row : kTexts) {
    SafeString texts[2];
    for (const int i : {0, 1}) {
      const std::size_t size = std::strlen(row.unit);
      const std::size_t count = length / (i == 0 ? 10 : 1) / size;
      texts[i] = row.open;
      texts[i].reserve(length + 10);
      for (std::size_t n = 0; n < count; ++n) texts[i].append(row.unit, size);
      texts[i] += row.close;
    }
    double seconds[] = {1e9, 1e9}, ratio = 1e9;
    for (int i = 0; i < kAttempts && ratio > kMostRatio; ++i) {
      for (const int size : {0, 1}) {
        malloc_trim(0);  // each pays for all of its memory
        Measure(seconds[size], [&] {
          EXPECT_TRUE(JsonReader().fromString(texts[size])) << row.name;
        });
      }
      ratio = seconds[1] / seconds[0];
    }
    std::printf("  %-8s %.3f s, %.1f\n", row.name, seconds[1], ratio);
    EXPECT_TRUE(ratio <= kMostRatio || kSanitized) << row.name;
  }
}

// The buffer of a text that is written doubles, and is copied at the end.
TEST(LongTextTest, IsWrittenInThreeTimesItsLength) {
  SafeString text = "[";
  for (int i = 0; i < 70000; ++i) text += "[12345],";
  text += "0]";
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(text));
  const std::size_t before = debug::MemoryMonitor::LiveBytes();
  debug::MemoryMonitor::ResetPeak();
  EXPECT_EQ(reader.compress(), text);
  const std::size_t taken = debug::MemoryMonitor::PeakBytes() - before;
  EXPECT_LE(taken, 3 * text.size() + 1024);
}

}  // namespace

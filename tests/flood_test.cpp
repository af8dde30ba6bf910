// Time, on the framework's own monitors. Keys made to collide cost only a few
// times what ordinary ones do, and a text is read in time linear in its length,
// whatever it consists of. The bounds hold for optimised builds; the others run
// small sizes for the results alone.

#include "support/build.h"
#include "support/keys.h"

#include <foundation/debug/tracked.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <gtest/gtest.h>
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <random>
#include <string_view>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;

// What else the machine does disturbs single measurements: the shortest of some
// counts, and while a bound is not kept all is measured again.
constexpr int kRounds = 2;
constexpr int kAttempts = kOptimized ? 5 : 1;

template <class Work>
void Measure(double& shortest, Work work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  const std::chrono::duration<double> time =
      std::chrono::steady_clock::now() - start;
  shortest = std::min(shortest, time.count());
}

// Flooding --------------------------------------------------------------------

// Few keys and many, and the buckets that an object has for them.
constexpr std::size_t kCounts[] = {kOptimized ? 1000 : 300,
                                   kOptimized ? 50000 : 1500};
constexpr std::size_t kBuckets[] = {kOptimized ? 1109 : 541,
                                    kOptimized ? 85229 : 2357};

enum Kind { kOrdinary, kOneHash, kOneBucket };

// What the operations work on, one after another.
struct Subject {
  Subject(Kind kind, int size) {
    const std::size_t step = kind == kOneBucket ? kBuckets[size] : 0;
    keys = CollidingKeys(kCounts[size], step);
    for (std::size_t i = 0; i < keys.size(); ++i) {
      EXPECT_EQ(std::hash<std::string_view>()(keys[i]), 1 + i * step);
      if (kind == kOrdinary) keys[i].replace(8, 8, "ordinary");
      text += (i == 0 ? "{\"" : ",\"") + keys[i] + "\":0";
    }
    twice = text + "," + text.substr(1) + "}";
    text += "}";
    // Nobody asks for keys in the order of their memory.
    std::shuffle(keys.begin(), keys.end(), std::mt19937(1));
  }
  JObject& object() { return static_cast<JObject&>(*reader.getJson()); }

  Keys keys;
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

// By the operation, the size and the kind.
struct Seconds {
  Seconds() { std::fill_n(&of[0][0][0], sizeof of / sizeof(double), 1e9); }
  double of[kOperationCount][2][3];
};

void MeasureAll(Subject (&subjects)[2][3], Seconds& seconds) {
  for (const int size : {0, 1}) {
    malloc_trim(0);  // few keys do not pay for what many have left
    for (const Kind kind : {kOrdinary, kOneHash, kOneBucket}) {
      Subject& it = subjects[size][kind];
      for (std::size_t i = 0; i < kOperationCount; ++i) {
        const auto& [name, once, each] = kOperations[i];
        bool right = true;
        Measure(seconds.of[i][size][kind], [&, each = each, once = once] {
          right = once(it);
          if (each == nullptr) return;
          for (Key key : it.keys) right = each(it, key) && right;
        });
        EXPECT_TRUE(right) << name;
      }
    }
  }
}

TEST(FloodTest, CollidingKeysCostLittleMoreThanOrdinaryOnes) {
  Subject subjects[2][3] = {{{kOrdinary, 0}, {kOneHash, 0}, {kOneBucket, 0}},
                            {{kOrdinary, 1}, {kOneHash, 1}, {kOneBucket, 1}}};
  // What few keys cost and what many do, in the time of ordinary ones, and what
  // one among many does, in the time of one among few.
  constexpr double kMost[] = {5, 5, 25};
  Seconds costs;  // by the operation and the kind
  double worst = 2;
  for (int attempt = 0; attempt < kAttempts && worst > 1; ++attempt) {
    Seconds seconds;
    for (int i = 0; i < kRounds; ++i) MeasureAll(subjects, seconds);
    worst = 0;
    for (std::size_t i = 0; i < kOperationCount; ++i) {
      for (const Kind kind : {kOneHash, kOneBucket}) {
        const auto& [few, many] = seconds.of[i];
        const double now[] = {few[kind] / few[0], many[kind] / many[0],
                              many[kind] / few[kind] * kCounts[0] / kCounts[1]};
        for (int j = 0; j < 3; ++j) {
          double& cost = costs.of[i][kind - 1][j];
          cost = std::min(cost, now[j]);
          worst = std::max(worst, cost / kMost[j]);
        }
      }
    }
  }
  std::printf("%zu and %zu keys of one hash, of one bucket (and the growth)\n",
              kCounts[0], kCounts[1]);
  for (std::size_t i = 0; i < kOperationCount; ++i) {
    std::printf("  %-13s", kOperations[i].name);
    for (const auto& [few, many, growth] : costs.of[i]) {
      std::printf(" %6.2f %5.2f (%.2f)", few, many, growth);
    }
    std::puts("");
  }
  EXPECT_TRUE(worst <= 1 || !kOptimized);
}

// Long texts ------------------------------------------------------------------

// Ten times the text takes about ten times as long, and not a hundred times.
// VORN_TEST_MEGABYTES sets the length of the longer one.
TEST(LongTextTest, IsReadInLinearTime) {
  constexpr double kMostRatio = 40;
  const char* const megabytes = std::getenv("VORN_TEST_MEGABYTES");
  std::size_t length = kOptimized ? 2000000 : 100000;
  if (megabytes != nullptr) length = std::strtoul(megabytes, nullptr, 10) << 20;
  const struct {
    const char *name, *open, *unit, *close;
  } kTexts[] = {{"string", "\"", "x", "\""},   {"escapes", "\"", "\\n", "\""},
                {"key", "{\"", "x", "\":0}"},  {"number", "1", "0", ""},
                {"comment", "//", "[", "\n0"}, {"comments", "", "//\n", "0"},
                {"blanks", "", " ", "0"},      {"arrays", "[[]", ",[]", "]"},
                {"objects", "[{}", ",{}", "]"}};
  for (const auto& row : kTexts) {
    SafeString texts[2] = {row.open, row.open};
    for (const int i : {0, 1}) {
      while (texts[i].size() < length / (i == 0 ? 10 : 1)) texts[i] += row.unit;
      texts[i] += row.close;
    }
    double least = 1e9;
    for (int attempt = 0; attempt < kAttempts && least > kMostRatio;
         ++attempt) {
      double seconds[] = {1e9, 1e9};
      for (int round = 0; round < 2 * kRounds; ++round) {
        Measure(seconds[round % 2], [&] {
          EXPECT_TRUE(JsonReader().fromString(texts[round % 2])) << row.name;
        });
      }
      least = std::min(least, seconds[1] / seconds[0]);
    }
    std::printf("  %-8s %.1f\n", row.name, least);
    EXPECT_TRUE(least <= kMostRatio || !kOptimized) << row.name;
  }
}

}  // namespace

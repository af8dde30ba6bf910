#include "cost.h"

#include <algorithm>
#include <cstdio>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include "files.h"

namespace vjson {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using debug::MemoryMonitor;
using debug::ObjectMonitor;

namespace {

struct Kind {
  const char* name;
  std::size_t size;  // of an object
};
constexpr Kind kKinds[] = {
    {"null", sizeof(JNull)},     {"bool", sizeof(JBool)},
    {"number", sizeof(JNumber)}, {"string", sizeof(JString)},
    {"array", sizeof(JArray)},   {"object", sizeof(JObject)}};

struct Census {
  std::size_t counts[std::size(kKinds)] = {};
  unsigned int depth = 0;
};

// Counts the value, which has so many containers around it, and all below it.
void Count(const JBase& value, unsigned int around, Census& census) {
  ++census.counts[static_cast<int>(value.type())];
  if (value.type() == JType::Array) {
    const auto& array = static_cast<const JArray&>(value);
    census.depth = std::max(census.depth, around + 1);
    for (unsigned int i = 0; i < array.length(); ++i) {
      Count(*array.at(i), around + 1, census);
    }
  } else if (value.type() == JType::Object) {
    const auto& object = static_cast<const JObject&>(value);
    census.depth = std::max(census.depth, around + 1);
    for (const SafeString& key : object.keys()) {
      Count(*object.at(key), around + 1, census);
    }
  }
}

}  // namespace

void PrintCost(const char* name) {
  const SafeString text = ReadText(name);
  const std::size_t before = MemoryMonitor::LiveBytes();
  MemoryMonitor::ResetPeak();
  const generic::ScopedPointer<JBase> tree(Parse(name, text));
  const std::size_t buffers = MemoryMonitor::LiveBytes() - before;
  const std::size_t peak = MemoryMonitor::PeakBytes() - before;
  Census census;
  Count(*tree.get(), 0, census);

  std::printf("%-8s %10s %12zu bytes\n", "text", "", text.size());
  for (std::size_t i = 0; i < std::size(kKinds); ++i) {
    const std::size_t count = census.counts[i];
    std::printf("%-8s %10zu %12zu bytes\n", kKinds[i].name, count,
                count * kKinds[i].size);
  }
  std::printf("%-8s %10zu %12zu bytes\n", "objects", ObjectMonitor::LiveCount(),
              ObjectMonitor::LiveBytes());
  std::printf("%-8s %10s %12zu bytes, at most %zu while reading\n", "buffers",
              "", buffers, peak);
  std::printf("%-8s %10u\n", "depth", census.depth);
}

}  // namespace vjson

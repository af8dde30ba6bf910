#include <algorithm>
#include <iterator>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/json/view.h>

#include "command.h"
#include "scanner.h"

using namespace vjson;
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
void Count(View value, unsigned int around, Census& census) {
  ++census.counts[static_cast<int>(value.get()->type())];
  if (value.is(JType::Array) || value.is(JType::Object)) ++around;
  census.depth = std::max(census.depth, around);
  for (View element : value) Count(element, around, census);
  for (auto [key, child] : value.members()) Count(child, around, census);
}

}  // namespace

void vjson::Cost(const Arguments& arguments, Output& output) {
  Input input(arguments.operands[0]);
  const Document document = LoadDocument(input);
  const std::size_t before = MemoryMonitor::LiveBytes();
  MemoryMonitor::ResetPeak();
  const generic::ScopedPointer<JBase> tree(LoadTree(document));
  const std::size_t buffers = MemoryMonitor::LiveBytes() - before;
  const std::size_t peak = MemoryMonitor::PeakBytes() - before;
  Census census;
  Count(tree.get(), 0, census);

  const auto print = [&output](auto... values) {
    output.Write(text::StringUtils::_InternalFormat(values...));
  };
  print("%-8s %10s %12zu bytes\n", "text", "", document.text.size());
  for (std::size_t i = 0; i < std::size(kKinds); ++i) {
    const std::size_t count = census.counts[i];
    print("%-8s %10zu %12zu bytes\n", kKinds[i].name, count,
          count * kKinds[i].size);
  }
  print("%-8s %10zu %12zu bytes\n", "objects", ObjectMonitor::LiveCount(),
        ObjectMonitor::LiveBytes());
  print("%-8s %10s %12zu bytes, at most %zu while reading\n", "buffers", "",
        buffers, peak);
  print("%-8s %10u\n", "depth", census.depth);
}

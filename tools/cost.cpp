#include <algorithm>

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

// The objects of a tree, in the order of JType.
struct Census {
  struct {
    const char* name;
    std::size_t size, count = 0;
  } kinds[6] = {{"null", sizeof(JNull)},     {"bool", sizeof(JBool)},
                {"number", sizeof(JNumber)}, {"string", sizeof(JString)},
                {"array", sizeof(JArray)},   {"object", sizeof(JObject)}};
  unsigned int depth = 0;

  // Counts the value, which is in so many containers, and all below it.
  void Count(View value, unsigned int around) {
    ++kinds[static_cast<int>(value.get()->type())].count;
    if (value.is(JType::Array) || value.is(JType::Object)) ++around;
    depth = std::max(depth, around);
    for (View element : value) Count(element, around);
    for (auto [key, child] : value.members()) Count(child, around);
  }
};

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
  census.Count(tree.get(), 0);

  const auto print = [&output](auto... values) {
    output.Write(text::StringUtils::_InternalFormat(values...));
  };
  constexpr const char* kRow = "%-8s %10zu %12zu bytes\n";
  print("%-8s %10s %12zu bytes\n", "text", "", document.text.size());
  for (const auto& kind : census.kinds) {
    print(kRow, kind.name, kind.count, kind.count * kind.size);
  }
  print(kRow, "objects", ObjectMonitor::LiveCount(),
        ObjectMonitor::LiveBytes());
  print("%-8s %10s %12zu bytes, at most %zu while reading\n", "buffers", "",
        buffers, peak);
  print("%-8s %10u\n", "depth", census.depth);
}

// What gdb_test.t looks at, when the program has died.

#include <cstdlib>

#include <foundation/debug/objectmonitor.h>
#include <foundation/json/json.h>

using namespace vorn::foundation;
using namespace vorn::foundation::json;

constexpr debug::Tag kTag{"pump.cpp", 7, "Fill"};
alignas(32) char memory[32];  // malloc gives no address like its middle

SafeString text("tab\t, zero\0, end", 16);
JsonReader scalars, members;
JBase* value;
JsonArchiver archiver;

int main() {
  scalars.fromString("[-1.50e30, \"a\\nbcdef\", \"\", null, true, false]");
  members.fromString(R"({"zeta": 1, "alpha": {}, "kilo": [{"": "v"}]})");
  value = members.getJson();
  archiver.writeStringByField("text", "a");
  archiver.writeDataByField("data", "{\"a\": nan}");
  archiver.writeArrayByField("list")->writeObjectByIndex(0);

  value->clone()->dispose();
  value->clone();
  debug::ObjectMonitor::_IncLeak(memory + 16, "pump.cpp", 7, "Fill", 4);
  debug::Create<JArray>(kTag)->append(debug::Create<JBool>(kTag, true));
  debug::ObjectMonitor::_DecLeak(memory);
  std::abort();
}

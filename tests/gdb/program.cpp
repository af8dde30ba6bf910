// What gdb_test.t looks at, when the program has died.

#include <cstdlib>
#include <string>

#include <foundation/debug/objectmonitor.h>
#include <foundation/json/json.h>

using namespace vorn::foundation;
using namespace vorn::foundation::json;

struct Plain {
  int number = 7;
};

constexpr debug::Tag kTag{"pump.cpp", 7, "Fill"};
constexpr debug::Tag kOther{"valve.cpp", 1, "Open"};
alignas(32) Plain plains[2];  // malloc gives no address like the second's
alignas(void*) unsigned char zeros[sizeof(JsonArchiver)];

SafeString text("tab\t, zero\0, end", 16);
JsonReader unread, scalars, members, deep;
JBase* value;
JBase* gone = reinterpret_cast<JBase*>(zeros);

JsonArchiver unwritten, single, archiver;
io::IArchiver* child;
JsonArchiver* early = reinterpret_cast<JsonArchiver*>(zeros);

int main() {
  scalars.fromString("[-1.50e30, \"a\\nbcdef\", \"\", null, true, false]");
  members.fromString(R"({"zeta": 1, "alpha": {}, "kilo": [{"": "v"}]})");
  deep.fromString((std::string(1024, '[') + std::string(1024, ']')).c_str());
  value = members.getJson();

  single.writeData("[1]");
  archiver.writeStringByField("text", "a");
  archiver.writeDataByField("data", "{\"a\": nan}");
  child = archiver.writeArrayByField("list");
  child->writeObjectByIndex(0);

  value->clone()->dispose();
  value->clone();
  debug::ObjectMonitor::_IncLeak(&plains[1], "pump.cpp", 7, "Fill", 4);
  auto* array = debug::Create<JArray>(kTag);
  array->append(debug::Create<JBool>(kTag, true));
  for (int i = 0; i < 5; ++i) {
    array->append(debug::Create<JArray>(kOther));
  }
  debug::ObjectMonitor::_DecLeak(zeros);
  std::abort();
}

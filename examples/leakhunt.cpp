// A controller that keeps the first messages it gets. It leaks all others: a
// mark and a report find where, and show that it is mended.
//
// Usage: leakhunt [safe]   with the word, without the leak

#include <iostream>
#include <utility>

#include <foundation/debug/objectmonitor.h>
#include <foundation/json/build.h>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using debug::ObjectMonitor;

namespace {

constexpr unsigned int kMost = 5;  // messages that are kept

//! [leak]
// Keeps the message while there is room.
void KeepLeaking(JArray& kept, const JBase* message) {
  auto* entry = debug::Create<JObject>(Here());
  entry->setValue("from", debug::Create<JString>(Here(), "pump 7"));
  entry->setValue("message", message->clone());
  if (kept.length() < kMost) kept.append(entry);
}
//! [leak]

//! [mended]
// The same, with an owner for each value on every way out.
void Keep(JArray& kept, const JBase* message) {
  auto entry = MakeObject(Here(), "from", "pump 7", "message", View(message));
  if (kept.length() < kMost) Append(Here(), kept, std::move(entry));
}
//! [mended]

using Keeping = void (*)(JArray& kept, const JBase* message);

void Receive(JArray& kept, Keeping keep) {
  JsonReader reader;
  if (reader.fromString(R"({"level": 0.5})")) keep(kept, reader.getJson());
}

//! [hunt]
void Hunt(Keeping keep) {
  const auto kept = MakeArray(Here());
  // What is to grow has grown before the mark is set.
  for (int i = 0; i < 10; ++i) Receive(*kept.get(), keep);
  ObjectMonitor::Mark("warm");
  for (int i = 0; i < 100; ++i) Receive(*kept.get(), keep);
  ObjectMonitor::Report(std::cout, "warm");
}
//! [hunt]

}  // namespace

int main(int count, char**) {
  if (count == 1) Hunt(KeepLeaking);
  Hunt(Keep);
}

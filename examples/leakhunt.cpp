// A controller that keeps the first messages it gets. It leaks all others: a
// mark and a report find where, and show that it is mended.
//
// Usage: leakhunt [safe]   with the word, without the leak

#include <iostream>

#include <foundation/debug/objectmonitor.h>
#include <foundation/debug/tracked.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using debug::ObjectMonitor;
using generic::ScopedPointer;

//! [tag]
// Where a value is created. __FILE__ would do for the file, but names the
// folder of the build, too.
#define HERE \
  debug::Tag { "leakhunt.cpp", __LINE__, __func__ }
//! [tag]

namespace {

constexpr unsigned int kMost = 5;  // messages that are kept

//! [leak]
// Keeps the message while there is room.
void KeepLeaking(JArray& kept, const JBase* message) {
  auto* entry = debug::Create<JObject>(HERE);
  entry->setValue("from", debug::Create<JString>(HERE, "pump 7"));
  entry->setValue("message", message->clone());
  if (kept.length() < kMost) kept.append(entry);
}
//! [leak]

//! [mended]
// The same, with an owner for each value on every way out.
void Keep(JArray& kept, const JBase* message) {
  ScopedPointer<JObject> entry(debug::Create<JObject>(HERE));
  ScopedPointer<JBase> from(debug::Create<JString>(HERE, "pump 7"));
  entry->setValue("from", from.get());
  from.release();
  ScopedPointer<JBase> copy(message->clone());
  entry->setValue("message", copy.get());
  copy.release();
  if (kept.length() == kMost) return;
  kept.append(entry.get());
  entry.release();
}
//! [mended]

using Keeping = void (*)(JArray& kept, const JBase* message);

void Receive(JArray& kept, Keeping keep) {
  JsonReader reader;
  if (reader.fromString(R"({"level": 0.5})")) keep(kept, reader.getJson());
}

//! [hunt]
void Hunt(Keeping keep) {
  const ScopedPointer<JArray> kept(debug::Create<JArray>(HERE));
  if (!kept) return;
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

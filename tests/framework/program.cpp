// On a framework whose every header defines a marker: does what needs each of
// its parts, and ends with a status of 0 if it went well.

#include <foundation/json/json.h>

#include "markers.h"  // made by framework_test.sh; fails without the markers

#include <cstring>
#include <iostream>

using namespace vorn::foundation;

namespace {

bool Work() {
  json::JsonReader reader;
  if (!reader.fromString("{\"a\": [1, 2.50, \"x\"]} // end")) return false;
  generic::ScopedPointer<json::JBase> copy(reader.getJson()->clone());
  static_cast<json::JObject*>(copy.get())
      ->setValue("b", debug::Create<json::JNumber>(
                          debug::Tag{__FILE__, __LINE__, __func__}, 0.5));
  reader.reset();
  const bool written = json::JsonReader::Compress(copy.get()).size() ==
                       std::strlen(R"({"a":[1,2.50,"x"],"b":0.5})");
  json::JsonArchiver archiver;
  archiver.writeArray();
  try {
    archiver.writeObject();
  } catch (const lang::Exception& exception) {
    return written && std::strstr(exception.what(), "mismatched") != nullptr;
  }
  return false;
}

}  // namespace

int main() {
  for (const bool trace : {false, true}) {
    debug::ObjectMonitor::SetTrace(trace);
    if (!Work()) return 1;
    debug::ObjectMonitor::Report(std::cout);
    if (debug::ObjectMonitor::LiveCount() != 0) return 1;
    if (debug::MemoryMonitor::LiveBytes() != 0) return 1;
  }
  return 0;
}

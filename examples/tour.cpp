// Reads a JSON text, looks at it, changes it and writes it back.

#include <cstdio>
#include <iostream>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>
#include <foundation/json/json.h>

using namespace vorn::foundation;
using namespace vorn::foundation::json;

// Where a value is created: the object monitor names it in its reports.
#define HERE \
  debug::Tag { __FILE__, __LINE__, __func__ }

int main() {
  JsonReader reader;
  if (!reader.fromString(R"({
        "name": "pump 7",        // a line comment
        "limits": [0.50, 1e3]
      })")) {
    std::puts("that is no JSON text");
    return 1;
  }

  // Ask for the kind, then cast. What at() returns belongs to the tree.
  JBase* root = reader.getJson();
  if (root->type() != JType::Object) return 1;
  auto* pump = static_cast<JObject*>(root);
  auto* limits = static_cast<JArray*>(pump->at("limits"));
  std::printf("limit: %g\n", static_cast<JNumber*>(limits->at(1))->toFloat());

  // What is handed over belongs to the container, and replaces what was there.
  JBase* before = root->clone();
  limits->append(debug::Create<JNumber>(HERE, 2000));
  pump->setValue("name", debug::Create<JString>(HERE, "pump 8"));
  std::printf("changed: %s\n",
              JsonReader::IsEqual(before, root) ? "no" : "yes");
  std::printf("%s\n%s\n", JsonReader::Compress(before).c_str(),
              reader.format().c_str());

  // Everything else is released by its owner; this copy is ours.
  before->dispose();
  reader.reset();
  debug::ObjectMonitor::Report(std::cout);
  std::cout << debug::MemoryMonitor::LiveBytes() << " bytes of text\n";
}

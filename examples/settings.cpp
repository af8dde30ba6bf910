// The settings of a small device, which save themselves to a file as JSON and
// load themselves back. A file with a fault is refused, with the place and what
// was expected there, and leaves the settings as they were.

#include <cstring>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include <foundation/json/fields.h>
#include <foundation/json/files.h>
#include <foundation/json/jsonarchiver.h>

using vorn::foundation::SafeString;
using namespace vorn::foundation::json;
using vorn::foundation::lang::Exception;

namespace {

struct Sensor {
  SafeString name;
  int pin = 0;
  bool enabled = true;

  template <class Fields>
  void list(Fields& fields) {
    fields.required("name", name);
    fields.required("pin", pin, 0, 63);
    fields.optional("enabled", enabled);
  }
};

struct Limits {
  int low = 0, high = 0;

  template <class Fields>
  void list(Fields& fields) {
    fields.required("low", low, -100, 100);
    fields.required("high", high, low, 100);
  }
};

struct Settings {
  SafeString name;
  std::vector<Sensor> sensors;
  Limits limits;

  template <class Fields>
  void list(Fields& fields) {
    fields.required("name", name);
    fields.required("sensors", sensors);
    fields.required("limits", limits);
  }
};

void ToTree(const Settings& settings, JsonReader& tree) {
  JsonArchiver archiver;
  SaveFields(archiver, settings);
  if (!tree.fromString(archiver.compress())) throw std::bad_alloc();
}

void Save(const char* path, const Settings& settings) {
  JsonReader tree;
  FileFault fault;
  ToTree(settings, tree);
  if (SaveFile(path, *tree.getJson(), fault)) return;
  throw Exception(path, std::strerror(fault.error));
}

Settings Load(const char* path) {
  JsonArchiver archiver;
  FileFault fault;
  Settings settings;
  if (!ReadFile(path, 10000000, archiver, fault)) {
    const JsonFault& text = fault.text;
    if (text.kind != JsonFault::Kind::Malformed) {
      throw Exception(path, std::strerror(fault.error));
    }
    const std::string place = path + (":" + std::to_string(text.line)) + ":" +
                              std::to_string(text.column);
    throw Exception(place.c_str(), text.message);
  }
  LoadFields(archiver, "settings", settings);
  return settings;
}

constexpr const char* kFile = "demo.json";
constexpr const char* kFaulty[] = {
    R"({"name": []})", R"({"name": "barn", "sensors": [{"name": "air"}]})",
    R"({"name": "barn", "sensors": [{"name": "air", "pin": "A4"}]})",
    R"({"name": "barn", "sensors": {"name": "air", "pin": 4}})",
    R"({"name": "barn", "sensors": [)"};

void Print(const Exception& fault, std::ostream& out) {
  out << fault.where() << ": " << fault.what() << '\n';
}

// Loads what was saved, and keeps it when the file has a fault.
void Demonstrate() {
  Settings settings = {"greenhouse", {{"air", 4, true}}, {5, 38}};
  Save(kFile, settings);
  for (const char* text : kFaulty) {
    settings = Load(kFile);
    std::ofstream(kFile) << text;
    try {
      settings = Load(kFile);
    } catch (const Exception& fault) {
      Print(fault, std::cout);
    }
    Save(kFile, settings);
  }
  std::cout << "kept " << settings.name << '\n';
}

}  // namespace

// Usage: settings [FILE]
// Loads the file and prints the settings, or the fault. Without a file it shows
// how that goes, and leaves settings to be changed and tried in demo.json.
int main(int count, char** arguments) try {
  JsonReader tree;
  if (count == 1) {
    Demonstrate();
  } else {
    ToTree(Load(arguments[1]), tree);
    std::cout << tree.format() << '\n';
  }
  return std::cout.flush() ? 0 : 1;
} catch (const Exception& fault) {
  Print(fault, std::cerr);
  return 1;
} catch (const std::exception& fault) {
  std::cerr << fault.what() << '\n';
  return 1;
}

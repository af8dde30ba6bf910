// The settings of a small device, which save themselves to a file as JSON and
// load themselves back. A file with a fault is refused, with the place and what
// was expected there, and leaves the settings as they were.

#include <cstdio>
#include <exception>
#include <fstream>
#include <iostream>
#include <utility>
#include <vector>

#include <foundation/json/jsonarchiver.h>
#include <foundation/text/stringutils.h>

using vorn::foundation::SafeString;
using vorn::foundation::io::IArchiver;
using vorn::foundation::json::JsonArchiver;
using vorn::foundation::lang::Exception;
using vorn::foundation::text::StringUtils;

namespace {

// Loading. What is not as expected throws where it is, and what was expected.
//
// A string reads as its characters and any other scalar as its JSON text, so 5
// and "5" are the same here: either passes for a number and for a text, as it
// is plain what was meant. Null is no text, and so "null" is none either.

void Expect(bool met, const SafeString& expected) {
  if (!met) throw Exception("", ("expected " + expected).c_str());
}

void Load(IArchiver& from, SafeString& text) {
  Expect(from.read(text) && text != "null", "a text");
}

void Load(IArchiver& from, bool& flag) {
  SafeString text;
  flag = from.read(text) && text == "true";
  Expect(flag || text == "false", "true or false");
}

void Load(IArchiver& from, int& number, int low, int high) {
  SafeString text;
  from.read(text);
  const bool whole = StringUtils::GetNumberFormat(text) == 1;
  const long long value = StringUtils::StringToLong(text);
  Expect(whole && low <= value && value <= high,
         "a whole number from " + StringUtils::IntToString(low) + " to " +
             StringUtils::IntToString(high));
  number = static_cast<int>(value);
}

// A part of the settings, which loads its own fields.
template <class Part>
void Load(IArchiver& from, Part& part) {
  Expect(from.isObject(), "an object");
  part.load(from);
}

template <class Element>
void Load(IArchiver& from, std::vector<Element>& list);

// Loads what stands at a place, and puts the place in front of any fault in it.
template <class... Value>
void LoadAt(const SafeString& place, IArchiver* from, Value&&... value) {
  try {
    if (from == nullptr) throw Exception("", "is missing");
    Load(*from, value...);
  } catch (const Exception& fault) {
    throw Exception((place + fault.where()).c_str(), fault.what());
  }
}

template <class... Value>
void LoadField(IArchiver& from, const SafeString& field, Value&&... value) {
  LoadAt("." + field, from.readByField(field), value...);
}

template <class Element>
void Load(IArchiver& from, std::vector<Element>& list) {
  Expect(from.isArray(), "an array");
  list.resize(from.size());
  for (unsigned int i = 0; i < from.size(); ++i) {
    LoadAt("[" + StringUtils::LongToString(i) + "]", from.readByIndex(i),
           list[i]);
  }
}

// Saving a list.

void Save(IArchiver& to, const std::vector<SafeString>& texts) {
  for (const SafeString& text : texts) to.writeStringByIndex(to.size(), text);
}

template <class Part>
void Save(IArchiver& to, const std::vector<Part>& parts) {
  for (const Part& part : parts) part.save(*to.writeObjectByIndex(to.size()));
}

// The settings ----------------------------------------------------------------

struct Sensor {
  SafeString name;
  int pin = 0;
  bool enabled = true;

  void save(IArchiver& to) const {
    to.writeStringByField("name", name);
    to.writeDataByField("pin", StringUtils::IntToString(pin));
    to.writeDataByField("enabled", enabled ? "true" : "false");
  }
  void load(IArchiver& from) {
    LoadField(from, "name", name);
    LoadField(from, "pin", pin, 0, 63);
    LoadField(from, "enabled", enabled);
  }
};

struct Limits {
  int low = 0, high = 0;

  void save(IArchiver& to) const {
    to.writeDataByField("low", StringUtils::IntToString(low));
    to.writeDataByField("high", StringUtils::IntToString(high));
  }
  void load(IArchiver& from) {
    LoadField(from, "low", low, -100, 100);
    LoadField(from, "high", high, low, 100);
  }
};

struct Network {
  SafeString host;
  std::vector<SafeString> interfaces;

  void save(IArchiver& to) const {
    to.writeStringByField("host", host);
    Save(*to.writeArrayByField("interfaces"), interfaces);
  }
  void load(IArchiver& from) {
    LoadField(from, "host", host);
    LoadField(from, "interfaces", interfaces);
  }
};

struct Settings {
  SafeString name;
  std::vector<Sensor> sensors;
  Limits limits;
  Network network;

  void save(IArchiver& to) const {
    to.writeStringByField("name", name);
    Save(*to.writeArrayByField("sensors"), sensors);
    limits.save(*to.writeObjectByField("limits"));
    network.save(*to.writeObjectByField("network"));
  }
  void load(IArchiver& from) {
    LoadField(from, "name", name);
    LoadField(from, "sensors", sensors);
    LoadField(from, "limits", limits);
    LoadField(from, "network", network);
  }
};

// Files -----------------------------------------------------------------------

SafeString ToJson(const Settings& settings) {
  JsonArchiver archiver;
  settings.save(archiver);
  return archiver.format();
}

// Writes beside the file and then replaces it: a full disk leaves it as it was.
void SaveFile(const char* path, const SafeString& text) {
  const SafeString beside = SafeString(path) + ".new";
  std::ofstream file(beside.c_str());
  file << text << '\n';
  file.close();
  if (file && std::rename(beside.c_str(), path) == 0) return;
  std::remove(beside.c_str());
  throw Exception(path, "cannot be written");
}

Settings LoadFile(const char* path) {
  std::ifstream file(path);
  SafeString text;
  std::getline(file, text, '\0');  // to the end, as JSON has no NUL byte
  if (!file && !file.eof()) throw Exception(path, "cannot be read");
  JsonArchiver archiver;
  const bool json = file.eof() && archiver.fromString(text);
  if (!json) throw Exception(path, "expected JSON");
  Settings settings;
  LoadAt("settings", &archiver, settings);
  return settings;
}

SafeString ToText(const Exception& fault) {
  return fault.where() + SafeString(": ") + fault.what();
}

// The demonstration -----------------------------------------------------------

constexpr const char* kFile = "demo.json";

// Texts with a fault, and how they are refused.
constexpr std::pair<const char*, const char*> kFaulty[] = {
    {R"({"name": null})", "settings.name: expected a text"},
    {R"({"name": "barn", "sensors": [{"name": "air"}]})",
     "settings.sensors[0].pin: is missing"},
    {R"({"name": "barn", "sensors": [{"name": "air", "pin": "A4"}]})",
     "settings.sensors[0].pin: expected a whole number from 0 to 63"},
    {R"({"name": "barn", "sensors": {"name": "air", "pin": 4}})",
     "settings.sensors: expected an array"},
    {R"({"name": "barn", "sensors": [)", "demo.json: expected JSON"}};

// Whether settings are loaded as they were saved, and kept when their file has
// a fault. They are left in the file.
bool Demonstrate() {
  Settings settings = {"greenhouse",
                       {{"air", 4, true}, {"soil", 17, false}},
                       {5, 38},
                       {"gh-1.local", {"eth0", "wlan0"}}};
  const SafeString saved = ToJson(settings);
  SaveFile(kFile, saved);
  settings = LoadFile(kFile);
  bool well = ToJson(settings) == saved;
  std::cout << "loaded " << settings.name << (well ? ", as saved\n" : "\n");

  for (const auto& [text, expected] : kFaulty) {
    SaveFile(kFile, text);
    try {
      settings = LoadFile(kFile);
    } catch (const Exception& fault) {
      std::cout << ToText(fault) << '\n';
      well = well && ToText(fault) == expected;
    }
  }
  SaveFile(kFile, saved);
  const bool kept = ToJson(settings) == saved;
  std::cout << (kept ? "kept " : "lost ") << settings.name << '\n';
  return well && kept;
}

}  // namespace

// Usage: settings [FILE]
// Loads the file and prints the settings, or the fault. Without a file it shows
// how that goes, and leaves settings to be changed and tried in demo.json.
int main(int count, char** arguments) try {
  if (count > 1) {
    std::cout << ToJson(LoadFile(arguments[1])) << '\n';
  } else if (!Demonstrate()) {
    return 1;
  }
  return std::cout.flush() ? 0 : 1;
} catch (const Exception& fault) {
  std::cerr << ToText(fault) << '\n';
  return 1;
} catch (const std::exception& fault) {
  std::cerr << fault.what() << '\n';
  return 1;
}

// The settings of a small device, which save themselves to a file as JSON and
// load themselves back. A file with a fault is refused, with the field and what
// was expected there, and leaves the settings as they were.

#include <fstream>
#include <iostream>
#include <iterator>
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

// Loading a value. A string reads as its characters and any other scalar as its
// JSON text, so the text has to tell whether it is a number or a flag; one in
// quotes passes as well. The fault that is thrown says where, and what.

void Expect(const SafeString& expected, bool found) {
  if (!found) throw Exception("", ("expected " + expected).c_str());
}

void Load(IArchiver& from, SafeString& text) {
  Expect("a text", from.read(text));
}

void Load(IArchiver& from, bool& flag) {
  SafeString text;
  from.read(text);
  Expect("true or false", text == "true" || text == "false");
  flag = text == "true";
}

void Load(IArchiver& from, int& number, int low, int high) {
  SafeString text;
  from.read(text);
  const bool whole = StringUtils::GetNumberFormat(text) == 1;
  const long long value = StringUtils::StringToLong(text);
  Expect(
      StringUtils::_InternalFormat("a whole number from %d to %d", low, high),
      whole && low <= value && value <= high);
  number = static_cast<int>(value);
}

// A part of the settings, which loads its own fields.
template <class Part>
void Load(IArchiver& from, Part& part) {
  Expect("an object", from.isObject());
  part.load(from);
}

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
void LoadField(IArchiver& from, const char* field, Value&&... value) {
  LoadAt(SafeString(".") + field, from.readByField(field), value...);
}

template <class Part>
void Load(IArchiver& from, std::vector<Part>& list) {
  Expect("an array", from.isArray());
  for (unsigned int i = 0; i < from.size(); ++i) {
    LoadAt(StringUtils::_InternalFormat("[%u]", i), from.readByIndex(i),
           list.emplace_back());
  }
}

template <class Part>
void Save(const std::vector<Part>& list, IArchiver* to) {
  for (const Part& part : list) part.save(*to->writeObjectByIndex(to->size()));
}

// The settings ----------------------------------------------------------------

struct Interface {
  SafeString name;
  int mtu = 1500;

  void save(IArchiver& to) const {
    to.writeStringByField("name", name);
    to.writeDataByField("mtu", StringUtils::IntToString(mtu));
  }
  void load(IArchiver& from) {
    LoadField(from, "name", name);
    LoadField(from, "mtu", mtu, 68, 9000);
  }
};

struct Network {
  SafeString host;
  std::vector<Interface> interfaces;

  void save(IArchiver& to) const {
    to.writeStringByField("host", host);
    Save(interfaces, to.writeArrayByField("interfaces"));
  }
  void load(IArchiver& from) {
    LoadField(from, "host", host);
    LoadField(from, "interfaces", interfaces);
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

struct Settings {
  SafeString name;
  Network network;
  Limits limits;
  std::vector<Sensor> sensors;

  void save(IArchiver& to) const {
    to.writeStringByField("name", name);
    network.save(*to.writeObjectByField("network"));
    limits.save(*to.writeObjectByField("limits"));
    Save(sensors, to.writeArrayByField("sensors"));
  }
  void load(IArchiver& from) {
    LoadField(from, "name", name);
    LoadField(from, "network", network);
    LoadField(from, "limits", limits);
    LoadField(from, "sensors", sensors);
  }
};

// Files -----------------------------------------------------------------------

SafeString ToJson(const Settings& settings) {
  JsonArchiver archiver;
  settings.save(archiver);
  return archiver.format();
}

void WriteFile(const char* path, const SafeString& text) {
  std::ofstream file(path);
  file << text.c_str() << std::endl;
  if (!file) throw Exception(path, "cannot be written");
}

// Loads fresh settings, which take the place of the others once complete.
void LoadFile(const char* path, Settings& settings) {
  std::ifstream file(path);
  if (!file) throw Exception(path, "cannot be read");
  const SafeString text(std::istreambuf_iterator<char>(file), {});
  JsonArchiver archiver;
  if (!archiver.fromString(text)) throw Exception(path, "expected JSON");
  Settings loaded;
  LoadAt("settings", &archiver, loaded);
  std::swap(settings, loaded);
}

// Texts that lack a field, have a value of another kind, and are not JSON.
const char* const kFaulty[] = {
    R"({"name": "barn", "network": {"host": "b1", "interfaces": [
        {"name": "eth0"}]}})",
    R"({"name": "barn", "network": {"host": "b1", "interfaces": [
        {"name": "eth0", "mtu": "large"}]}})",
    R"({"name": "barn", "network": {"host": "b1", "interfaces": [)"};

}  // namespace

// Usage: settings [FILE]
int main(int count, char** arguments) try {
  const char* const path = count > 1 ? arguments[1] : "settings.json";
  Settings settings = {"greenhouse",
                       {"gh-1.local", {{"eth0", 1500}, {"wlan0", 1400}}},
                       {5, 38},
                       {{"air", 4, true}, {"soil", 17, false}}};
  const SafeString text = ToJson(settings);
  WriteFile(path, text);
  std::cout << "saved to " << path << '\n';

  settings = Settings();
  LoadFile(path, settings);
  const bool same = ToJson(settings) == text;
  std::cout << "loaded " << settings.name << (same ? ", as saved\n" : "\n");

  for (const char* faulty : kFaulty) {
    WriteFile(path, faulty);
    try {
      LoadFile(path, settings);
    } catch (const Exception& fault) {
      std::cout << fault.where() << ": " << fault.what() << '\n';
    }
    const bool kept = ToJson(settings) == text;
    std::cout << (kept ? "  settings kept\n" : "  settings lost\n");
  }
  WriteFile(path, text);
} catch (const Exception& fault) {
  std::cerr << fault.where() << ": " << fault.what() << '\n';
  return 1;
}

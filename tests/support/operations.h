#pragma once

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <functional>
#include <string>

namespace support {

namespace json = vorn::foundation::json;

// A compressed text, and what the operations make of it, one after another.
// Each returns whether its result is right. Those behind Parse() do not change
// the tree; those behind Clone() need the copy. The order of members is left
// open.
struct Subject {
  explicit Subject(const std::string& its_text = "") : text(its_text.c_str()) {}

  bool Parse() {
    const bool read = reader.fromString(text);
    return tree = reader.getJson(), read;
  }
  bool Format() { return reader.Format(tree).size() >= text.size(); }
  bool Compress() { return reader.Compress(tree).size() == text.size(); }
  bool Clone() { return copy.reset(tree->clone()), true; }
  bool Compare() { return reader.IsEqual(tree, copy.get()); }
  bool Dispose() { return copy.reset(), true; }
  bool Load() { return archiver.fromString(text); }
  bool Render() { return archiver.compress().size() == text.size(); }
  bool Unload() { return !archiver.fromString(""); }

  vorn::foundation::SafeString text;
  json::JsonReader reader;
  const json::JBase* tree = nullptr;  // owned by the reader
  vorn::foundation::generic::ScopedPointer<json::JBase> copy;
  json::JsonArchiver archiver;
};

// Every operation on a whole tree.
inline const struct Operation {
  const char* name;
  std::function<bool(Subject&)> run;
} kOperations[] = {
    {"parse", &Subject::Parse},       {"format", &Subject::Format},
    {"compress", &Subject::Compress}, {"clone", &Subject::Clone},
    {"compare", &Subject::Compare},   {"dispose", &Subject::Dispose},
    {"load", &Subject::Load},         {"render", &Subject::Render},
    {"unload", &Subject::Unload}};

}  // namespace support

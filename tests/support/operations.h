#pragma once

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

namespace support {

namespace json = vorn::foundation::json;

// A compressed text, and what the operations make of it, one after another.
struct Subject {
  vorn::foundation::SafeString text;
  json::JsonReader reader;
  const json::JBase* tree = nullptr;  // owned by the reader
  vorn::foundation::generic::ScopedPointer<json::JBase> copy;
  json::JsonArchiver archiver;
};

// Whether the result is right. Those behind the first one do not change the
// tree; those behind a copy need it.
struct Operation {
  const char* name;
  bool (*run)(Subject&);
};

// Every operation on a whole tree. The order of members is left open.
inline constexpr Operation kOperations[] = {
    {"parse",
     [](Subject& it) {
       const bool read = it.reader.fromString(it.text);
       it.tree = it.reader.getJson();
       return read;
     }},
    {"format",
     [](Subject& it) {
       return it.reader.Format(it.tree).size() >= it.text.size();
     }},
    {"compress",
     [](Subject& it) {
       return it.reader.Compress(it.tree).size() == it.text.size();
     }},
    {"clone",
     [](Subject& it) { return it.copy.reset(it.tree->clone()), true; }},
    {"compare",
     [](Subject& it) { return it.reader.IsEqual(it.tree, it.copy.get()); }},
    {"dispose", [](Subject& it) { return it.copy.reset(), true; }},
    {"load", [](Subject& it) { return it.archiver.fromString(it.text); }},
    {"render",
     [](Subject& it) {
       return it.archiver.compress().size() == it.text.size();
     }},
    {"unload", [](Subject& it) { return !it.archiver.fromString(""); }},
};

}  // namespace support

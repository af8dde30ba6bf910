// Writes to an archiver, beside a model of standard containers.

#include "support.h"

#include <foundation/json/json.h>

#include <algorithm>
#include <string>
#include <utility>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Input;
using fuzz::Require;
using A = io::IArchiver;

namespace {

// What an archiver should be.
struct Model {
  A* it;
  char kind = 0;      // '[', '{' or, for a scalar, 's'; 0 while it is empty
  SafeString read{};  // of a scalar
  SafeString json{};
  fuzz::Elements<Model> elements{};
  fuzz::Members<Model> members{};

  void Hold(const JBase& value) {
    JBase* const copy = value.clone();
    kind = 's';
    json = JsonReader::Compress(copy);
    read = value.type() == JType::String
               ? static_cast<const JString&>(value).value()
               : JsonReader::Compress(&value);
    copy->dispose();
  }

  // The object that is written gets its members in the order of the archiver's.
  SafeString Text() const {
    if (kind == 's' || kind == 0) return json;
    std::unordered_map<SafeString, SafeString, fuzz::Hash> object;
    for (const auto& [field, child] : members) object[field] = child->Text();
    SafeString inside;
    for (const auto& child : elements) inside += "," + child->Text();
    for (const auto& [field, text] : object) {
      inside += ",\"" + field + "\":" + text;
    }
    return kind + inside.substr(!inside.empty()) + (kind == '[' ? "]" : "}");
  }
};

enum What { kData, kString, kArray, kObject };
enum Where { kHere, kByIndex, kByField };

struct Write {
  What what;
  Where where;
  unsigned int index;
  SafeString field, text;
};

Write Next(Input& in, const Model& model) {
  constexpr const char* kTexts[] = {"1", R"({"b":[{}],"a":2})", R"("\\")", ""};
  const unsigned int n = in.Below(12);
  return {static_cast<What>(in.Below(4)), static_cast<Where>(in.Below(3)),
          in.Below(model.elements.size() + 2),
          SafeString(std::to_string(in.Below(40))),
          n < 4 ? kTexts[n] : SafeString(in.Text(n))};
}

// Returns the archiver that the write gives, or null.
A* Do(const Write& write, A& it) {
  const auto& [what, where, index, field, text] = write;
  const bool here = where == kHere, to_index = where == kByIndex;
  switch (what) {
    case kData:
      here       ? it.writeData(text)
      : to_index ? it.writeDataByIndex(index, text)
                 : it.writeDataByField(field, text);
      return nullptr;
    case kString:
      here       ? it.writeString(text)
      : to_index ? it.writeStringByIndex(index, text)
                 : it.writeStringByField(field, text);
      return nullptr;
    case kArray:
      return here       ? it.writeArray()
             : to_index ? it.writeArrayByIndex(index)
                        : it.writeArrayByField(field);
    default:
      return here       ? it.writeObject()
             : to_index ? it.writeObjectByIndex(index)
                        : it.writeObjectByField(field);
  }
}

// Lets the model follow the write, which gave that archiver or null, and
// returns the message of its failure.
SafeString Follow(const Write& write, A* given, Model& model, bool root) {
  const auto& [what, where, index, field, text] = write;
  const char made = "ss[{"[what];
  const char kind = where == kHere ? made : where == kByIndex ? '[' : '{';
  if (model.kind == 0 && kind == 's') model.Hold(JNull());
  if (model.kind == 0) model.kind = kind;
  if (model.kind != kind) {
    return root ? "the type of write archiver is mismatched"
                : "unexpected write operation at";
  }
  if (where == kByIndex && index > model.elements.size()) {
    const SafeString number(std::to_string(index));
    return "try to write to error index <" + number + ">";
  }
  if (where == kByField && model.members.count(field) != 0) {
    return "field <" + field + "> is already existing";
  }
  JsonReader data;
  if (what == kData && !data.fromString(text)) {
    return "try to write error format data";
  }
  std::unique_ptr<Model> child(new Model{given, made});
  Model& target = where == kHere ? model : *child;
  if (what == kData) target.Hold(*data.getJson());
  if (what == kString) target.Hold(JString(text));
  if (where == kByIndex) {
    if (given == nullptr) child->it = model.it->readByIndex(index);
    if (index == model.elements.size()) model.elements.emplace_back();
    model.elements[index] = std::move(child);
  } else if (where == kByField) {
    if (given == nullptr) child->it = model.it->readByField(field);
    model.members.emplace(field, std::move(child));
  }
  return "";
}

// Whether what can be read there is what should be.
bool Reads(A& it, const Model& model) {
  SafeString text;
  const auto fields = it.fields();
  const auto is_field = [&](const SafeString& field, const auto& member) {
    return field == member.first && it.readByField(field) == member.second->it;
  };
  unsigned int index = 0;
  for (const auto& element : model.elements) {
    if (it.readByIndex(index++) != element->it) return false;
  }
  return it.read(text) == (model.kind == 's') && text == model.read &&
         it.isArray() == (model.kind == '[') &&
         it.size() == model.elements.size() &&
         it.isObject() == (model.kind == '{') &&
         std::equal(fields.begin(), fields.end(), model.members.begin(),
                    model.members.end(), is_field);
}

}  // namespace

void fuzz::Run(Input& in) {
  JsonArchiver archiver, loaded;
  Model root{&archiver};
  for (int step = 0; step < 100 && !in.empty(); ++step) {
    Model& model = Find(in, root);
    const Write write = Next(in, model);
    A* given = nullptr;
    SafeString failure;
    try {
      given = Do(write, *model.it);
    } catch (const JsonException& e) {
      failure = e.what();
    }
    Require(failure == Follow(write, given, model, &model == &root),
            "the message");
    Require(Reads(*model.it, model), "what is read");
    Require(archiver.compress() == root.Text(), "what is written");
  }
  const SafeString text = archiver.format();
  if (text.find('\0') != text.npos) return;  // where a text ends
  Require(loaded.fromString(text) == archiver.isValid(), "it is loaded");
  JsonReader written, again;
  written.fromString(archiver.compress());
  again.fromString(loaded.compress());
  Require(JsonReader::IsEqual(written.getJson(), again.getJson()),
          "the same is loaded");
}

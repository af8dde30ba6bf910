// Writes to an archiver, beside a model of standard containers: what can be
// read, what is written and loaded, which archivers are destroyed in which
// order, and that a request that fails changes nothing.

#include "support/keys.h"
#include "support/property.h"

#include <foundation/json/json.h>

#include <algorithm>

namespace support {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using A = io::IArchiver;

// What an archiver should be.
struct Model {
  A* it;
  char kind = 0;       // '[', '{' or, for a scalar, 's'; 0 while it is empty
  std::string read{};  // of a scalar
  std::string json{};
  Elements<Model> elements{};
  Members<Model> members{};

  void Hold(const JBase& value) {
    JBase* const copy = value.clone();
    kind = 's';
    json = JsonReader::Compress(copy);
    read = value.type() == JType::String
               ? std::string(static_cast<const JString&>(value).value())
               : std::string(JsonReader::Compress(&value));
    copy->dispose();
  }
};
using Child = std::unique_ptr<Model>;

// The object that is written gets its members in the order of the archiver's.
std::string Text(const Model& model) {
  if (model.kind == 's' || model.kind == 0) return model.json;
  std::unordered_map<std::string, std::string, Hash> object;
  for (const auto& [field, child] : model.members) object[field] = Text(*child);
  std::string inside;
  for (const Child& child : model.elements) (inside += ',') += Text(*child);
  for (const auto& [field, text] : object) {
    inside += "," + Quoted(field) + ":" + text;
  }
  return model.kind + inside.substr(!inside.empty()) +
         (model.kind == '[' ? "]" : "}");
}

// The archivers that are destroyed with this one, by their numbers.
std::string Destroyed(const Model& model, bool itself) {
  std::string numbers;
  if (itself) (numbers += '#') += std::to_string(Monitor::Number(model.it));
  for (const Child& child : model.elements) numbers += Destroyed(*child, true);
  for (const auto& member : model.members) {
    numbers += Destroyed(*member.second, true);
  }
  return numbers;
}

// Those that the calls say, with the first one only if that is wanted.
std::string TakeDestroyed(bool first) {
  constexpr std::string_view kDestroy =
      "!../json/archive/archiverutils:33 Destroy ";
  const std::string calls = Monitor::TakeCalls();
  std::string numbers;
  for (std::size_t at = 0; (at = calls.find(kDestroy, at)) != calls.npos;) {
    at += kDestroy.size();
    const std::size_t end = calls.find_first_of("+-!", at);
    if (std::exchange(first, true)) numbers += calls.substr(at, end - at);
  }
  return numbers;
}

// The content of a tree.
Child ModelOf(const JBase& source, A* it) {
  Child model(new Model{it});
  if (source.type() == JType::Array) {
    model->kind = '[';
    const auto& array = static_cast<const JArray&>(source);
    for (unsigned int i = 0; i < array.length(); ++i) {
      model->elements.push_back(ModelOf(*array.at(i), it->readByIndex(i)));
    }
  } else if (source.type() == JType::Object) {
    model->kind = '{';
    const auto& object = static_cast<const JObject&>(source);
    for (const SafeString& key : object.keys()) {
      model->members.emplace(key,
                             ModelOf(*object.at(key), it->readByField(key)));
    }
  } else {
    model->Hold(source);
  }
  return model;
}

// Writes ----------------------------------------------------------------------

enum What { kData, kString, kArray, kObject };
enum Where { kHere, kByIndex, kByField };

struct Write {
  What what;
  Where where;
  unsigned int index;
  SafeString field, text;
};

Write NextWrite(Input& in, const Model& model, const Keys& fields) {
  constexpr const char* kTexts[] = {"1", R"({"b":[{}],"a":2})", R"("\\")", ""};
  const unsigned int n = in.Below(12);
  return {static_cast<What>(in.Below(4)), static_cast<Where>(in.Below(3)),
          in.Below(model.elements.size() + 2), fields[in.Below(fields.size())],
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

constexpr const char* kBadData = "try to write error format data";

// Gives the model its kind, if it has none. Returns the message with which the
// write is refused, or nothing.
std::string Refusal(const Write& write, Model& model, bool root) {
  const auto& [what, where, index, field, text] = write;
  const char kind = where == kHere      ? "ss[{"[what]
                    : where == kByIndex ? '['
                                        : '{';
  if (model.kind == 0 && kind == 's') model.Hold(JNull());
  if (model.kind == 0) model.kind = kind;
  if (model.kind != kind) {
    return root ? "the type of write archiver is mismatched"
                : "unexpected write operation at";
  }
  if (where == kByIndex && index > model.elements.size()) {
    return "try to write to error index <" + std::to_string(index) + ">";
  }
  if (where == kByField && model.members.count(std::string(field)) != 0) {
    return std::string("field <") + field.c_str() + "> is already existing";
  }
  const bool bad = what == kData && !JsonReader().fromString(text);
  return bad ? kBadData : "";
}

// Lets the model follow a write that passed and gave that archiver or null.
void Follow(const Write& write, A* given, Model& model) {
  const auto& [what, where, index, field, text] = write;
  Child child(new Model{given, "ss[{"[what]});
  Model& target = where == kHere ? model : *child;
  JsonReader data;
  if (what == kData && data.fromString(text)) target.Hold(*data.getJson());
  if (what == kString) target.Hold(JString(text));
  if (where == kByIndex) {
    if (given == nullptr) child->it = model.it->readByIndex(index);
    if (index == model.elements.size()) model.elements.emplace_back();
    model.elements[index] = std::move(child);
  } else if (where == kByField) {
    if (given == nullptr) child->it = model.it->readByField(field);
    model.members.emplace(field, std::move(child));
  }
}

// Whether what can be read there is what should be.
bool Reads(A& it, const Model& model) {
  SafeString text;
  const auto fields = it.fields();
  const auto is_field = [&](const SafeString& field, const auto& member) {
    return std::string_view(field) == member.first &&
           it.readByField(field) == member.second->it;
  };
  unsigned int index = 0;
  for (const Child& element : model.elements) {
    if (it.readByIndex(index++) != element->it) return false;
  }
  return it.read(text) == (model.kind == 's') &&
         std::string_view(text) == model.read &&
         it.isArray() == (model.kind == '[') &&
         it.size() == model.elements.size() &&
         it.readByIndex(index) == nullptr &&
         it.isObject() == (model.kind == '{') &&
         std::equal(fields.begin(), fields.end(), model.members.begin(),
                    model.members.end(), is_field);
}

// The write, with its first request, its second, ... failing until it passes
// or is refused.
void CheckWrite(const Write& write, Model& model, JsonArchiver& archiver,
                bool root, const Failing* failing) {
  A* given = nullptr;
  std::string message, destroyed;
  const auto operate = [&] {
    try {
      given = Do(write, *model.it);
    } catch (const JsonException& e) {
      const Monitor::Exempt exemption;
      message = e.what();
      Require(e.where() == SafeString("vorn.foundation.json.JsonArchiver"),
              "where it fails");
    }
    return message.empty();
  };
  if (failing != nullptr) {
    Sweep(*failing, operate, [&](End end, std::size_t, bool failed) {
      const bool data = write.what == kData && message == kBadData;
      if (end == End::Passed || (end == End::Nothing && !(data && failed))) {
        return true;
      }
      Require(failed && (end != End::AccessNull ||
                         failing->source == Source::ObjectMonitor),
              "a write's end");
      // An empty archiver may have got its kind.
      if (model.kind == 0 && archiver.isValid()) Refusal(write, model, root);
      Require(Reads(*model.it, model), "what is read after a failure");
      message.clear();
      return false;
    });
  } else {
    if (write.where == kByIndex && model.kind == '[' &&
        write.index < model.elements.size()) {
      destroyed = Destroyed(*model.elements[write.index], true);
    }
    Monitor::TakeLog();
    operate();
    Require(TakeDestroyed(true) == (message.empty() ? destroyed : ""),
            "what is replaced");
  }
  Require(message == Refusal(write, model, root), "the message");
  if (message.empty()) Follow(write, given, model);
}

// Rendering and loading -------------------------------------------------------

void CheckRendering(const JsonArchiver& archiver, Model& model,
                    Failing failing) {
  const std::string text = Text(model);
  const std::size_t fields = model.kind == '{' ? model.members.size() : 0;
  Look(failing, [&] { return std::string_view(archiver.compress()) == text; });
  Look(failing, [&] { return archiver.format().empty() == text.empty(); });
  Look(failing, [&] { return archiver.fields().size() == fields; });
}

// Loads the text into another archiver, which is then as the model of the tree.
void CheckLoading(const SafeString& text, Failing failing) {
  JsonReader reader;
  reader.fromString(text);
  const SafeString expected = reader.compress();
  JsonArchiver loaded;
  const Account before = Monitor::Now();
  const auto load = [&] { return loaded.fromString(text); };
  Monitor::TakeLog();
  Sweep(failing, load, [&](End end, std::size_t, bool failed) {
    Require(Monitor::TakeCalls().find("!#") == std::string::npos,
            "what was finished is released by its owner");
    Require(loaded.isValid() == (end == End::Passed), "it is loaded, or empty");
    Require(failed ? end != End::AccessNull
                   : (end == End::Passed) == reader.valid(),
            "how loading ends");
    const bool partial = failed && failing.source == Source::ObjectMonitor;
    if (end == End::Passed && !partial) {
      const Child model = ModelOf(*reader.getJson(), &loaded);
      Require(Reads(loaded, *model), "what is loaded");
      Require(std::string_view(loaded.compress()) == Text(*model),
              "the same is loaded");
      const std::string numbers = Destroyed(*model, false);
      Monitor::TakeLog();
      loaded.fromString(nullptr);
      Require(TakeDestroyed(false) == numbers, "what is dropped");
    }
    loaded.fromString(nullptr);
    Require(Monitor::Now() == before, "loading leaves nothing");
    return false;
  });
}

}  // namespace

void CheckArchiver(Input& in) {
  const Keys& fields = kKeySets[in.Below(std::size(kKeySets))];
  JsonArchiver archiver;
  Child root(new Model{&archiver});
  if (in.Below(4) == 0) {
    JsonReader reader;
    const SafeString text(in.Document());
    reader.fromString(text);
    CheckLoading(text, Failing(in));
    if (archiver.fromString(text)) {
      root = ModelOf(*reader.getJson(), &archiver);
    }
  }
  std::size_t size = 0;
  for (unsigned int step = 0; !in.empty() && size < 5000; ++step) {
    Model& model = Find(in, *root);
    const Failing failing(in);
    Write write = NextWrite(in, model, fields);
    const bool fails = in.Below(8) == 0;
    // What is loaded in part is not told from what is written.
    if (fails && write.text[0] == '{') write.text = SafeString("1");
    CheckWrite(write, model, archiver, &model == root.get(),
               fails ? &failing : nullptr);
    if (write.where == kByField && in.Below(8) == 0) {
      for (auto more = in.Below(std::min<std::size_t>(fields.size(), 400));
           more > 0;) {
        write.field = fields[--more];
        CheckWrite(write, model, archiver, &model == root.get(), nullptr);
      }
    }
    Require(Reads(*model.it, model), "what is read");
    if (in.Below(16) == 0) CheckRendering(archiver, *root, failing);
    if (in.Below(16) == 0) CheckLoading(archiver.format(), failing);
    if (step % (1 + size / 1000) != 0) continue;
    const std::string text = Text(*root);
    Require(std::string_view(archiver.compress()) == text, "what is written");
    Require(archiver.isValid() == (root->kind != 0), "whether it is empty");
    size = text.size();
  }
}

}  // namespace support

// Edits of a tree, beside a model of standard containers: what is in it and in
// which order, what the object monitor is told, and that a request that fails
// changes nothing.

#include "support/keys.h"
#include "support/property.h"

#include <foundation/json/json.h>

namespace support {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

// What a value should be.
struct Model;
using Child = std::unique_ptr<Model>;
struct Model {
  bool IsArray() const { return text == "[]"; }
  bool IsObject() const { return text == "{}"; }
  JArray& array() const { return static_cast<JArray&>(*it); }
  JObject& object() const { return static_cast<JObject&>(*it); }

  template <class Visit>
  void ForEachChild(Visit visit) const {
    for (const Child& child : elements) visit(*child);
    for (const auto& member : members) visit(*member.second);
  }

  JBase* it;
  std::string text;  // of a scalar, else "[]" or "{}"
  Elements<Model> elements{};
  Members<Model> members{};
};

std::string Text(const JBase* value) {
  return std::string(JsonReader::Compress(value));
}

// On lines from this level of indentation on, or on a single one.
constexpr int kOneLine = -1;
std::string Text(const Model& model, int level = kOneLine) {
  if (model.elements.empty() && model.members.empty()) return model.text;
  const int inner = level == kOneLine ? level : level + 1;
  const auto line = [](int at) {
    return at == kOneLine ? "" : "\n" + std::string(4 * std::size_t(at), ' ');
  };
  std::string inside;
  for (const Child& child : model.elements) {
    inside += "," + line(inner) + Text(*child, inner);
  }
  for (const auto& [key, child] : model.members) {
    inside += "," + line(inner) + Quoted(key);
    inside += (level == kOneLine ? ":" : ": ") + Text(*child, inner);
  }
  return model.text[0] + inside.substr(1) + line(level) + model.text[1];
}

// What the monitor is told of its disposal.
std::string Disposal(const Model& model) {
  std::string calls = "-#" + std::to_string(Monitor::Number(model.it));
  model.ForEachChild([&](const Model& child) { calls += Disposal(child); });
  return calls;
}

// What it is told when it is copied, with numbers from this one on.
std::string Creation(const Model& model, unsigned int& number) {
  const char first = model.text[0];
  const char* const line = first == '['                   ? "525"
                           : first == '{'                 ? "636"
                           : first == '"'                 ? "491"
                           : first == 't' || first == 'f' ? "350"
                           : model.text == "null"         ? "326"
                                                          : "399";
  std::string calls = "+../json/json:";
  ((calls += line) += " clone #") += std::to_string(number++);
  model.ForEachChild(
      [&](const Model& child) { calls += Creation(child, number); });
  return calls;
}

// The model of a copy, which grew in the order of its source.
Child ModelOf(const JBase& source, JBase* copy) {
  Child model(new Model{copy, ""});
  if (source.type() == JType::Array) {
    model->text = "[]";
    const auto& array = static_cast<const JArray&>(source);
    for (unsigned int i = 0; i < array.length(); ++i) {
      model->elements.push_back(ModelOf(*array.at(i), model->array().at(i)));
    }
  } else if (source.type() == JType::Object) {
    model->text = "{}";
    const auto& object = static_cast<const JObject&>(source);
    for (const SafeString& key : object.keys()) {
      model->members.emplace(key,
                             ModelOf(*object.at(key), model->object().at(key)));
    }
  } else {
    model->text = Text(&source);
  }
  return model;
}

// A copy of what the text says, or null.
Child Read(std::string_view text) {
  JsonReader reader;
  if (!reader.fromString(SafeString(text))) return nullptr;
  return ModelOf(*reader.getJson(), reader.getJson()->clone());
}

// A new value, or a copy of one in the tree.
Child NewValue(Input& in, Model& root) {
  constexpr const char* kTexts[] = {"[]",   "{}",  "[]",    "{}",
                                    "null", "nan", "false", R"("\\\n")"};
  const unsigned int n = in.Below(10);
  if (n < 8) return Read(kTexts[n]);
  const Model& source = Find(in, root);
  return ModelOf(*source.it, source.it->clone());
}

// Edits -----------------------------------------------------------------------

enum class Act { Append, SetElement, SetMember, Remove, Clear, Detach, Assign };

struct Edit {
  Act act;
  unsigned int n;  // an index, or which scalar is assigned
  SafeString key;  // or the string that is assigned
  Child value;     // null is handed over as well

  JBase* handed() const { return value ? value->it : nullptr; }
};

Edit NextEdit(Input& in, Model& root, const Model& node, const Keys& keys) {
  constexpr Act kArray[] = {Act::Clear,      Act::Detach, Act::SetElement,
                            Act::SetElement, Act::Append, Act::Append};
  constexpr Act kObject[] = {Act::Remove, Act::Remove, Act::SetMember};
  const unsigned int n = in.Below(16);
  const Act act = node.IsArray()          ? kArray[n % 6]
                  : !node.IsObject()      ? Act::Assign
                  : n == 0 && in.Below(2) ? Act::Clear
                  : n == 0                ? Act::Detach
                                          : kObject[std::min(n / 3, 2U)];
  Edit edit{act, in.Below(node.elements.size() + 4),
            keys[in.Below(keys.size())], nullptr};
  const bool takes =
      act == Act::Append || act == Act::SetElement || act == Act::SetMember;
  if (takes && in.Below(16) != 0) edit.value = NewValue(in, root);
  return edit;
}

// The texts that numbers are assigned.
constexpr const char* kNumbers[] = {"-7", "-1234567890123456789",
                                    "1.7976931348623157e+308",
                                    "0x123456789ABCDEF0"};
// Whether it has the result that Follow() returns.
bool Assign(const Edit& edit, JBase* it) {
  const unsigned int n = edit.n;
  if (it->type() == JType::Bool) {
    return static_cast<JBool*>(it)->setValue(n != 0), true;
  }
  if (it->type() == JType::String) {
    return static_cast<JString*>(it)->setValue(edit.key), true;
  }
  if (it->type() != JType::Number) return true;
  auto& number = static_cast<JNumber&>(*it);
  if (n == 0) return number.setValue(-7), true;
  if (n == 1) return number.setValue(-1234567890123456789LL), true;
  if (n == 2) return number.setValue(1.7976931348623157e+308), true;
  return number.fromString(" 0x123456789ABCDEF0 ");
}

bool Do(const Edit& edit, const Model& node) {
  switch (edit.act) {
    case Act::Append:
      return node.array().append(edit.handed()), true;
    case Act::SetElement:
      return node.array().setValue(edit.n, edit.handed());
    case Act::SetMember:
      return node.object().setValue(edit.key, edit.handed()), true;
    case Act::Remove:
      return node.object().remove(edit.key);
    case Act::Clear:
      node.IsArray() ? node.array().clear() : node.object().clear();
      return true;
    case Act::Detach:
      node.IsArray() ? node.array().detach() : node.object().detach();
      node.ForEachChild([](const Model& child) { child.it->dispose(); });
      return true;
    default:
      return Assign(edit, node.it);
  }
}

// What the edit disposes.
std::string Disposals(const Edit& edit, const Model& node) {
  const auto member = node.members.find(std::string(edit.key));
  const bool found = member != node.members.end();
  std::string calls;
  if (edit.act == Act::SetElement && edit.value) {
    const bool past = edit.n >= node.elements.size();
    calls = Disposal(past ? *edit.value : *node.elements[edit.n]);
  } else if (edit.act == Act::Remove ||
             (edit.act == Act::SetMember && edit.value)) {
    if (found) calls = Disposal(*member->second);
  } else if (edit.act == Act::Clear || edit.act == Act::Detach) {
    node.ForEachChild([&](const Model& child) { calls += Disposal(child); });
  }
  return calls;
}

// Lets the model follow, and returns what the edit returns.
bool Follow(Edit& edit, Model& node) {
  const std::string key(edit.key);
  switch (edit.act) {
    case Act::Append:
      if (edit.value) node.elements.push_back(std::move(edit.value));
      return true;
    case Act::SetElement:
      if (!edit.value || edit.n >= node.elements.size()) return false;
      return node.elements[edit.n] = std::move(edit.value), true;
    case Act::SetMember:
      if (!edit.value) return true;
      node.members.erase(key);
      return node.members.emplace(key, std::move(edit.value)), true;
    case Act::Remove:
      return node.members.erase(key) != 0;
    case Act::Assign:
      if (node.it->type() == JType::Bool) node.text = edit.n ? "true" : "false";
      if (node.it->type() == JType::Number) node.text = kNumbers[edit.n];
      if (node.it->type() == JType::String) {
        node.text = Quoted(key);
      }
      return true;
    default:
      node.elements.clear();
      return node.members.clear(), true;
  }
}

// Comparison ------------------------------------------------------------------

void Compare(const Model& node) {
  if (node.IsArray()) {
    unsigned int i = 0;
    for (const Child& element : node.elements) {
      Require(node.array().at(i++) == element->it, "an element");
    }
    Require(node.array().at(i) == nullptr, "nothing is past the last");
    Require(node.array().length() == i, "the length");
    Require(node.array().empty() == (i == 0), "an array is empty");
  } else if (node.IsObject()) {
    const auto keys = node.object().keys();
    Require(keys.size() == node.members.size(), "the number of keys");
    Require(node.object().empty() == keys.empty(), "an object is empty");
    auto key = keys.begin();
    for (const auto& [name, child] : node.members) {
      Require(std::string_view(*key) == name, "a key");
      Require(node.object().at(*key++) == child->it, "a member");
    }
  }
}

// How it ends without memory for the first object, or for another.
bool MayEnd(End end, const Model& node, Failing failing, std::size_t number) {
  if (failing.source != Source::ObjectMonitor) return end == End::Exhausted;
  if (number != 0) return end == End::Exhausted || end == End::AccessNull;
  const bool used = node.IsArray() || !node.members.empty();
  return end == (used ? End::AccessNull : End::Nothing);
}

// Copies it, and disposes the copy.
void CheckClone(const Model& node, Failing failing) {
  const Account before = Monitor::Now();
  JBase* copy = nullptr;
  Monitor::TakeLog();
  const auto clone = [&] { return (copy = node.it->clone()) != nullptr; };
  Sweep(failing, clone, [&](End end, std::size_t number, bool failed) {
    const std::string calls = Monitor::TakeCalls();
    if (end == End::Passed) {
      const Child model = ModelOf(*node.it, copy);
      unsigned int next = Monitor::Number(copy);
      Require(calls == Creation(node, next), "what a copy creates");
      Require(Text(copy) == Text(*model), "the text of a copy");
      Require(JsonReader::IsEqual(copy, node.it), "a copy is equal");
      const std::string disposal = Disposal(*model);
      copy->dispose();
      Require(Monitor::TakeCalls() == disposal, "what a copy disposes");
    } else {
      Require(failed && MayEnd(end, node, failing, number), "a clone's end");
    }
    Require(Monitor::Now() == before, "a clone leaves nothing");
    return false;
  });
}

void CheckReading(const Model& node, Failing failing) {
  const std::string text = Text(node), lines = Text(node, 0);
  const auto is = [](const SafeString& written, const std::string& expected) {
    return std::string_view(written) == expected;
  };
  Look(failing, [&] { return is(JsonReader::Compress(node.it), text); });
  Look(failing, [&] { return is(JsonReader::Format(node.it), lines); });
  Look(failing, [&] {
    Context context;
    node.it->toString(context);
    return is(context.stream.str(), lines) && context.depth == 0;
  });
  if (!node.IsObject()) return;
  Look(failing,
       [&] { return node.object().keys().size() == node.members.size(); });
}

// With requests failing, now and then, until it passes.
void CheckEdit(Edit edit, Model& node, const Failing* failing) {
  const SafeString& key = edit.key;
  std::string calls;
  End end = End::Passed;
  const auto operate = [&] {
    {
      const Monitor::Exempt exemption;
      calls = Disposals(edit, node);
    }
    return Do(edit, node);
  };
  Monitor::TakeLog();
  if (failing == nullptr) {
    end = EndOf(operate);
  } else {
    Sweep(*failing, operate, [&](End ended, std::size_t, bool failed) {
      end = ended;
      if (end != End::Exhausted) return true;
      Require(failed, "memory is exhausted when a request fails");
      // The value is ours; the member that it was to replace may be gone.
      if (edit.act == Act::SetMember && !node.object().existed(key)) {
        node.members.erase(std::string(key));
      } else {
        calls.clear();
      }
      Require(Monitor::TakeCalls() == calls, "what a failed edit disposes");
      Compare(node);
      return false;
    });
  }
  Require((end == End::Passed) == Follow(edit, node), "an edit's result");
  Require(Monitor::TakeCalls() == calls, "what an edit disposes");
}

}  // namespace

void CheckTree(Input& in) {
  const Keys& keys = kKeySets[in.Below(std::size(kKeySets))];
  Child root = in.Below(4) == 0 ? Read(in.Document()) : nullptr;
  if (!root) root = Read(in.Below(4) ? "{}" : "[]");
  std::size_t size = Text(*root).size();
  for (unsigned int step = 0; !in.empty() && size < 20000; ++step) {
    Model& node = Find(in, *root);
    const Failing failing(in);
    const bool fails = in.Below(8) == 0;
    Edit edit = NextEdit(in, *root, node, keys);
    const bool sets = edit.act == Act::SetMember && in.Below(8) == 0;
    // Where requests fail, the cost is the square of the size.
    const auto edits = [&](Edit next) {
      const bool small = node.members.size() < 100;
      CheckEdit(std::move(next), node, fails && small ? &failing : nullptr);
    };
    edits(std::move(edit));
    for (unsigned int more = sets ? in.Below(keys.size()) : 0; more > 0;) {
      edits({Act::SetMember, 0, keys[--more], Read("0")});
    }
    if (in.Below(8) == 0 && size < 2000) CheckClone(node, failing);
    if (in.Below(8) == 0 && size < 2000) CheckReading(node, failing);
    Require(!node.IsObject() ||
                node.object().existed(keys[step % keys.size()]) ==
                    (node.members.count(
                         std::string(keys[step % keys.size()])) != 0),
            "existed");
    // The whole costs more the larger it is.
    if (step % (1 + size / 1000) != 0) continue;
    Compare(node);
    const std::string text = Text(*root);
    Require(Text(root->it) == text, "the text");
    size = text.size();
  }
  const std::string calls = Disposal(*root);
  Monitor::TakeLog();
  root->it->dispose();
  Require(Monitor::TakeCalls() == calls, "what the whole disposes");
}

}  // namespace support

// Edits of a tree, beside a model of standard containers: what is in it and in
// which order, what the object monitor is told, and that a request that fails
// changes nothing.

#include "support/model.h"

namespace support {

namespace {

using Node = Model<JBase>;
using Child = Node::Child;

JArray& ArrayOf(const Node& node) { return static_cast<JArray&>(*node.it); }
JObject& ObjectOf(const Node& node) { return static_cast<JObject&>(*node.it); }

// What the monitor is told of a copy, with numbers from this one on.
std::string Creation(const Node& node, unsigned int& number) {
  const char first = node.kind == 's' ? node.text[0] : node.kind;
  const char* const line = first == '['                   ? "525"
                           : first == '{'                 ? "636"
                           : first == '"'                 ? "491"
                           : first == 't' || first == 'f' ? "350"
                           : node.text == "null"          ? "326"
                                                          : "399";
  std::string calls = "+../json/json:";
  ((calls += line) += " clone #") += std::to_string(number++);
  node.ForEachChild(
      [&](const Node& child) { calls += Creation(child, number); });
  return calls;
}

// A copy of what the text says, or null.
Child Read(std::string_view text) {
  JsonReader reader;
  if (!reader.fromString(SafeString(text))) return nullptr;
  return Node::Of(*reader.getJson(), reader.getJson()->clone());
}

// A new value, or a copy of one in the tree.
Child NewValue(Input& in, Node& root) {
  constexpr const char* kTexts[] = {"[]",   "{}",  "[]",    "{}",
                                    "null", "nan", "false", R"("\\\n")"};
  const unsigned int n = in.Below(10);
  if (n < 8) return Read(kTexts[n]);
  const Node& source = root.Find(in);
  return Node::Of(*source.it, source.it->clone());
}

// Edits -----------------------------------------------------------------------

enum class Act { Append, SetElement, SetMember, Remove, Clear, Detach, Assign };

struct Edit {
  Act act;
  unsigned int n;  // an index, or which scalar is assigned
  SafeString key;  // or the string that is assigned
  Child value;     // null is handed over as well
};

Edit NextEdit(Input& in, Node& root, const Node& node, const Keys& keys) {
  constexpr Act kArray[] = {Act::Clear,      Act::Detach, Act::SetElement,
                            Act::SetElement, Act::Append, Act::Append};
  constexpr Act kObject[] = {Act::Remove, Act::Remove, Act::SetMember};
  const unsigned int n = in.Below(16);
  const Act act = node.kind == '['        ? kArray[n % 6]
                  : node.kind != '{'      ? Act::Assign
                  : n == 0 && in.Below(2) ? Act::Clear
                  : n == 0                ? Act::Detach
                                          : kObject[std::min(n / 3, 2U)];
  Edit edit{act, in.Below(node.elements.size() + 4),
            keys[in.Below(keys.size())], nullptr};
  if (act == Act::Assign) edit.key.resize(in.Below(40), 'x');
  const bool takes =
      act == Act::Append || act == Act::SetElement || act == Act::SetMember;
  if (takes && in.Below(16) != 0) edit.value = NewValue(in, root);
  return edit;
}

// The texts that numbers are assigned.
constexpr const char* kNumbers[] = {"-7", "-1234567890123456789",
                                    "1.7976931348623157e+308",
                                    "0x123456789ABCDEF0"};
void Assign(const Edit& edit, JBase* it) {
  auto& number = static_cast<JNumber&>(*it);
  switch (it->type()) {
    case JType::Bool:
      return static_cast<JBool*>(it)->setValue(edit.n != 0);
    case JType::String:
      return static_cast<JString*>(it)->setValue(edit.key);
    case JType::Number:
      if (edit.n == 0) number.setValue(-7);
      if (edit.n == 1) number.setValue(-1234567890123456789LL);
      if (edit.n == 2) number.setValue(1.7976931348623157e+308);
      if (edit.n == 3) number.fromString(" 0x123456789ABCDEF0 ");
      return;
    default:
      return;
  }
}

// Returns what the edit returns.
bool Do(const Edit& edit, const Node& node) {
  JBase* const value = edit.value ? edit.value->it : nullptr;
  const bool array = node.kind == '[';
  switch (edit.act) {
    case Act::Append:
      return ArrayOf(node).append(value), true;
    case Act::SetElement:
      return ArrayOf(node).setValue(edit.n, value);
    case Act::SetMember:
      return ObjectOf(node).setValue(edit.key, value), true;
    case Act::Remove:
      return ObjectOf(node).remove(edit.key);
    case Act::Clear:
      return array ? ArrayOf(node).clear() : ObjectOf(node).clear(), true;
    case Act::Detach:
      array ? ArrayOf(node).detach() : ObjectOf(node).detach();
      node.ForEachChild([](const Node& child) { child.it->dispose(); });
      return true;
    default:
      return Assign(edit, node.it), true;
  }
}

// Takes the member out of the model, and returns its disposal.
std::string Erase(Node& node, const SafeString& key) {
  const auto member = node.members.find(std::string(key));
  if (member == node.members.end()) return "";
  std::string calls = member->second->Disposal();
  node.members.erase(member);
  return calls;
}

// Lets the model follow, and returns what the edit returns. Adds what it
// disposes to the calls.
bool Follow(Edit& edit, Node& node, std::string& calls) {
  const JType type = node.it->type();
  switch (edit.act) {
    case Act::Append:
      if (edit.value) node.elements.push_back(std::move(edit.value));
      return true;
    case Act::SetElement:
      if (!edit.value) return false;
      if (edit.n < node.elements.size()) edit.value.swap(node.elements[edit.n]);
      calls += edit.value->Disposal();
      return edit.n < node.elements.size();
    case Act::SetMember:
      if (!edit.value) return true;
      calls += Erase(node, edit.key);
      node.members.emplace(edit.key, std::move(edit.value));
      return true;
    case Act::Remove:
      return !(calls += Erase(node, edit.key)).empty();
    case Act::Assign:
      if (type == JType::Bool) node.text = edit.n ? "true" : "false";
      if (type == JType::Number) node.text = kNumbers[edit.n];
      if (type == JType::String) node.text = Quoted(std::string(edit.key));
      return true;
    default:
      node.ForEachChild([&](const Node& child) { calls += child.Disposal(); });
      node.elements.clear();
      return node.members.clear(), true;
  }
}

// Comparison ------------------------------------------------------------------

void Compare(const Node& node) {
  const bool empty = node.elements.empty() && node.members.empty();
  Require(node.HasChildren(), "the children");
  if (node.kind == '[') {
    Require(ArrayOf(node).length() == node.elements.size(), "the length");
    Require(ArrayOf(node).empty() == empty, "an array is empty");
  } else if (node.kind == '{') {
    Require(ObjectOf(node).empty() == empty, "an object is empty");
  }
}

// Copies it, and disposes the copy.
void CheckClone(const Node& node, Failing failing) {
  const auto clone = [&] {
    Monitor::TakeLog();
    JBase* const copy = node.it->clone();
    if (copy == nullptr) return false;
    const Monitor::Exempt exemption;
    const Child model = Node::Of(*node.it, copy);
    unsigned int next = model->number;
    Require(Monitor::TakeCalls() == Creation(node, next), "what is created");
    Require(Text(copy) == model->Text(), "the text of a copy");
    Require(JsonReader::IsEqual(copy, node.it), "a copy is equal");
    copy->dispose();
    Require(Monitor::TakeCalls() == model->Disposal(), "what is disposed");
    return true;
  };
  const bool used = node.kind == '[' || !node.members.empty();
  Look(failing, clone, used ? End::AccessNull : End::Nothing);
}

void CheckReading(const Node& node, Failing failing) {
  const std::string text = node.Text(), lines = node.Text(0);
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
  if (node.kind != '{') return;
  Look(failing,
       [&] { return ObjectOf(node).keys().size() == node.members.size(); });
}

// With requests failing until it passes.
void CheckEdit(Edit edit, Node& node, Failing failing) {
  End end = End::Passed;
  std::string calls;
  Monitor::TakeLog();
  const auto passed = [&](End ended, std::size_t, bool failed) {
    end = ended;
    if (end != End::Exhausted) return true;
    Require(failed, "memory is exhausted when a request fails");
    // The value is ours; the member that it was to replace may be gone.
    const bool gone =
        edit.act == Act::SetMember && !ObjectOf(node).existed(edit.key);
    Require(Monitor::TakeCalls() == (gone ? Erase(node, edit.key) : ""),
            "what a failed edit disposes");
    Compare(node);
    return false;
  };
  Sweep(
      failing, [&] { return Do(edit, node); }, passed);
  Require((end == End::Passed) == Follow(edit, node, calls), "the result");
  Require(Monitor::TakeCalls() == calls, "what an edit disposes");
}

}  // namespace

void CheckTree(Input& in) {
  const Keys& keys = kKeySets[in.Below(std::size(kKeySets))];
  Child root = in.Below(4) == 0 ? Read(in.Document()) : nullptr;
  if (!root) root = Read(in.Below(4) ? "{}" : "[]");
  std::size_t size = root->Text().size();
  for (unsigned int step = 0; !in.empty() && size < 20000; ++step) {
    Node& node = root->Find(in);
    const Failing failing(in);
    const bool fails = in.Below(8) == 0;
    Edit edit = NextEdit(in, *root, node, keys);
    const bool sets = edit.act == Act::SetMember && in.Below(8) == 0;
    // Where requests fail, the cost is the square of the size.
    const auto edits = [&](Edit next) {
      const bool small = node.members.size() < 100;
      CheckEdit(std::move(next), node, failing.OrNone(fails && small));
    };
    edits(std::move(edit));
    for (unsigned int more = sets ? in.Below(keys.size()) : 0; more > 0;) {
      edits({Act::SetMember, 0, keys[--more], Read("0")});
    }
    if (in.Below(8) == 0 && size < 2000) CheckClone(node, failing);
    if (in.Below(8) == 0 && size < 2000) CheckReading(node, failing);
    const SafeString& key = keys[step % keys.size()];
    Require(node.kind != '{' || ObjectOf(node).existed(key) ==
                                    (node.members.count(std::string(key)) != 0),
            "existed");
    // The whole costs more the larger it is.
    if (step % (1 + size / 1000) != 0) continue;
    Compare(node);
    const std::string text = root->Text();
    Require(Text(root->it) == text, "the text");
    size = text.size();
  }
  Monitor::TakeLog();
  root->it->dispose();
  Require(Monitor::TakeCalls() == root->Disposal(), "what the whole disposes");
}

}  // namespace support

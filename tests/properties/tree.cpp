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

// A new value, a copy of one in the tree, or null, which edits take as well.
Child NewValue(Input& in, Node& root) {
  constexpr const char* kTexts[] = {"[]",   "{}",  "[]",    "{}",
                                    "null", "nan", "false", R"("\\\n")"};
  const unsigned int n = in.Below(10);
  if (in.Below(16) == 0) return nullptr;
  if (n < 8) return Read(kTexts[n]);
  const Node& source = root.Find(in);
  return Node::Of(*source.it, source.it->clone());
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

// Edits -----------------------------------------------------------------------

// Takes the member out of the model, and returns its disposal.
std::string Erase(Node& node, const SafeString& key) {
  const auto member = node.members.find(std::string(key));
  if (member == node.members.end()) return "";
  std::string calls = member->second->Disposal();
  node.members.erase(member);
  return calls;
}

// Edits the node, with requests failing until it passes, and then the model.
// Both return what the edit returns; follow() says what it disposes. Replacing
// a member needs no memory.
template <class Run, class Follow>
void CheckEdit(Node& node, Failing failing, Run run, Follow follow,
               bool replaces = false) {
  End end = End::Passed;
  std::string calls;
  Monitor::TakeLog();
  Sweep(failing, run, [&](End ended, std::size_t, bool failed) {
    end = ended;
    if (end != End::Exhausted) return true;
    Require(failed && !replaces, "memory is exhausted when a request fails");
    Require(Monitor::TakeCalls().empty(), "a failed edit disposes nothing");
    Compare(node);
    return false;
  });
  Require((end == End::Passed) == follow(calls), "the result");
  Require(Monitor::TakeCalls() == calls, "what an edit disposes");
}

template <class Container>
void Empty(Container& it, bool detach, Node& node, Failing failing) {
  const auto run = [&] {
    if (!detach) return it.clear(), true;
    it.detach();
    node.ForEachChild([](const Node& child) { child.it->dispose(); });
    return true;
  };
  CheckEdit(node, failing, run, [&](std::string& calls) {
    node.ForEachChild([&](const Node& child) { calls += child.Disposal(); });
    node.elements.clear();
    return node.members.clear(), true;
  });
}

void EditArray(Input& in, Node& root, Node& node, Failing failing) {
  JArray& array = ArrayOf(node);
  auto& elements = node.elements;
  const unsigned int index = in.Below(elements.size() + 4), act = in.Below(6);
  if (act < 2) return Empty(array, act == 0, node, failing);
  Child value = NewValue(in, root);
  JBase* const it = value ? value->it : nullptr;
  const auto append = [&](std::string&) {
    if (value) elements.push_back(std::move(value));
    return true;
  };
  const auto set = [&](std::string& calls) {
    const bool within = index < elements.size();
    if (value && within) value.swap(elements[index]);
    if (value) calls = value->Disposal();
    return it != nullptr && within;
  };
  act < 4 ? CheckEdit(
                node, failing, [&] { return array.append(it), true; }, append)
          : CheckEdit(
                node, failing, [&] { return array.setValue(index, it); }, set);
}

void SetMember(Node& node, const SafeString& key, Child value,
               Failing failing) {
  JBase* const it = value ? value->it : nullptr;
  const auto run = [&] { return ObjectOf(node).setValue(key, it), true; };
  const auto follow = [&](std::string& calls) {
    if (!value) return true;
    calls = Erase(node, key);
    return node.members.emplace(key, std::move(value)).second;
  };
  // Where requests fail, the cost is the square of the size.
  CheckEdit(node, failing.OrNone(node.members.size() < 100), run, follow,
            ObjectOf(node).existed(key));
}

void EditObject(Input& in, Node& root, Node& node, const Keys& keys,
                Failing failing) {
  const SafeString& key = keys[in.Below(keys.size())];
  const unsigned int act = in.Below(16);
  if (act == 0) return Empty(ObjectOf(node), in.Below(2) != 0, node, failing);
  if (act < 6) {
    return CheckEdit(
        node, failing, [&] { return ObjectOf(node).remove(key); },
        [&](std::string& calls) {
          return !(calls = Erase(node, key)).empty();
        });
  }
  SetMember(node, key, NewValue(in, root), failing);
  for (auto more = in.Below(8) == 0 ? in.Below(keys.size()) : 0; more > 0;) {
    SetMember(node, keys[--more], Read("0"), failing);
  }
}

constexpr struct {
  const char* text;
  void (*assign)(JNumber& number);
} kNumbers[] = {
    {"-7", [](JNumber& number) { number.setValue(-7); }},
    {"-1234567890123456789",
     [](JNumber& number) { number.setValue(-1234567890123456789LL); }},
    {"1.7976931348623157e+308",
     [](JNumber& number) { number.setValue(1.7976931348623157e+308); }},
    {"0x123456789ABCDEF0",
     [](JNumber& number) { number.fromString(" 0x123456789ABCDEF0 "); }}};

void EditScalar(Input& in, Node& node, SafeString string, Failing failing) {
  string.resize(in.Below(40), 'x');
  const unsigned int n = in.Below(4);
  const JType type = node.it->type();
  const auto run = [&] {
    if (type == JType::Bool) static_cast<JBool*>(node.it)->setValue(n != 0);
    if (type == JType::String) static_cast<JString*>(node.it)->setValue(string);
    if (type == JType::Number)
      kNumbers[n].assign(static_cast<JNumber&>(*node.it));
    return true;
  };
  CheckEdit(node, failing, run, [&](std::string&) {
    if (type == JType::Bool) node.text = n ? "true" : "false";
    if (type == JType::String) node.text = Quoted(std::string(string));
    if (type == JType::Number) node.text = kNumbers[n].text;
    return true;
  });
}

}  // namespace

void CheckTree(Input& in) {
  const Keys& keys = kKeySets[in.Below(std::size(kKeySets))];
  Child root = in.Below(4) == 0 ? Read(in.Document()) : nullptr;
  if (!root) root = Read(in.Below(4) ? "{}" : "[]");
  std::size_t size = root->Text().size();
  for (unsigned int step = 0; !in.empty() && size < 20000; ++step) {
    Node& node = root->Find(in);
    const Failing failing(in), rarely = failing.OrNone(in.Below(8) == 0);
    const SafeString& key = keys[step % keys.size()];
    node.kind == '['   ? EditArray(in, *root, node, rarely)
    : node.kind == '{' ? EditObject(in, *root, node, keys, rarely)
                       : EditScalar(in, node, key, rarely);
    if (in.Below(8) == 0 && size < 2000) CheckClone(node, failing);
    if (in.Below(8) == 0 && size < 2000) CheckReading(node, failing);
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

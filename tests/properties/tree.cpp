// A text that is read, written and read again. Then edits of the tree, beside a
// model of standard containers: what is in it and in which order, what is
// disposed, and that a request that fails changes nothing.

#include "support/model.h"

namespace support {

namespace {

using Node = Model<JBase>;
using Child = Node::Child;

JArray& ArrayOf(const Node& node) { return static_cast<JArray&>(*node.it); }
JObject& ObjectOf(const Node& node) { return static_cast<JObject&>(*node.it); }

// A copy of what the text says, or null.
Child Read(std::string_view text) {
  JsonReader reader;
  if (!reader.fromString(SafeString(text))) return nullptr;
  return Node::Of(*reader.getJson(), reader.getJson()->clone());
}

// A new value, a copy of one in the tree, or null, which edits take as well.
Child NewValue(Input& in, Node& root) {
  constexpr const char* kTexts[] = {"[]",  "{}",    "null",
                                    "nan", "false", R"("\\\n")"};
  const unsigned int n = in.Below(10);
  if (in.Below(16) == 0) return nullptr;
  if (n < 8) return Read(kTexts[n % 6]);
  const Node& source = root.Find(in);
  return Node::Of(*source.it, source.it->clone());
}

// Texts -----------------------------------------------------------------------

// Reads the text, which is valid or not, with requests failing. Values for
// which the object monitor has no memory may be missing.
void CheckLoading(const SafeString& text, bool valid, Failing failing) {
  JsonArchiver archiver;
  const std::size_t before = Monitor::Blocks();
  Monitor::TakeLog();
  const auto load = [&] { return archiver.fromString(text); };
  Sweep(failing, load, [&](End end, std::size_t, bool failed) {
    const bool partial = failed && failing.source == Source::ObjectMonitor;
    Require(Monitor::TakeCalls().find("!#") == std::string::npos,
            "what was finished is released by its owner");
    Require(end != End::AccessNull, "no exception but of memory");
    Require(end == End::Passed ? valid : failed || !valid, "how reading ends");
    Require(end != End::Passed || partial ||
                archiver.compress().size() == text.size(),
            "what is read");
    archiver.fromString(nullptr);
    Require(Monitor::Blocks() == before, "reading leaves nothing");
    return false;
  });
}

void CheckText(const SafeString& text, Failing failing) {
  JsonReader reader, lines, line;
  if (!reader.fromString(text)) return CheckLoading(text, false, failing);
  Require(lines.fromString(reader.format()), "lines can be read");
  Require(line.fromString(reader.compress()), "a line can be read");
  Require(JsonReader::IsEqual(line.getJson(), reader.getJson()), "as it was");
  Require(lines.compress() == line.compress(), "both say the same");
  CheckLoading(line.compress(), true, failing);
}

// Writes the value, and copies it and disposes the copy.
void CheckUse(const Node& node, Failing failing) {
  const std::string text = node.Text();
  const auto use = [&] {
    const bool written =
        Text(node.it) == text && !JsonReader::Format(node.it).empty();
    JBase* const copy = written ? node.it->clone() : nullptr;
    if (copy == nullptr) return false;
    const Monitor::Exempt exemption;
    const Child model = Node::Of(*node.it, copy);
    Require(Text(copy) == model->Text(), "the text of a copy");
    Require(JsonReader::IsEqual(copy, node.it), "a copy is equal");
    Monitor::TakeLog();
    copy->dispose();
    Require(Monitor::TakeCalls() == model->Disposal(), "what is disposed");
    return true;
  };
  const bool used = node.kind == '[' || !node.members.empty();
  Look(failing, use, used ? End::AccessNull : End::Nothing);
}

// Edits -----------------------------------------------------------------------

// Edits the value, after its model, with requests failing until that passes.
// The result says whether the edit does anything. What disposes needs no
// memory.
template <class Edit>
void CheckEdit(const Node& node, Failing failing, bool result,
               const std::string& disposal, Edit edit) {
  const std::string before = failing.first == 0 ? Text(node.it) : "";
  End end = End::Passed;
  Monitor::TakeLog();
  Sweep(failing, edit, [&](End ended, std::size_t, bool failed) {
    end = ended;
    if (end != End::Exhausted) return true;
    Require(failed && disposal.empty(), "memory is exhausted if it is needed");
    Require(Monitor::TakeCalls().empty(), "a failed edit disposes nothing");
    Require(Text(node.it) == before, "a failed edit changes nothing");
    return false;
  });
  Require((end == End::Passed) == result, "the result");
  Require(Monitor::TakeCalls() == disposal, "what an edit disposes");
}

template <class Container>
void Empty(Container& it, bool detach, Node& node) {
  const std::size_t before = Monitor::Blocks();
  Monitor::TakeLog();
  detach ? it.detach() : it.clear();
  Require(
      it.empty() && (node.elements.size() <= 2 || Monitor::Blocks() < before),
      "a container is empty, and an array has no storage then");
  std::string disposal;
  node.ForEachChild([&](const Node& child) {
    disposal += child.Disposal();
    if (detach) child.it->dispose();
  });
  node.elements.clear();
  node.members.clear();
  Require(Monitor::TakeCalls() == disposal, "each is disposed once, in order");
}

void EditArray(Input& in, Node& root, Node& node, Failing failing) {
  JArray& array = ArrayOf(node);
  auto& elements = node.elements;
  const unsigned int index = in.Below(elements.size() + 4), act = in.Below(6);
  if (act < 2) return Empty(array, act == 0, node);
  Child value = NewValue(in, root);
  JBase* const it = value ? value->it : nullptr;
  if (act < 4) {
    if (value) elements.push_back(std::move(value));
    return CheckEdit(node, failing, true, "",
                     [&] { return array.append(it), true; });
  }
  const bool within = index < elements.size();
  if (value && within) value.swap(elements[index]);
  CheckEdit(node, failing, it != nullptr && within,
            value ? value->Disposal() : "",
            [&] { return array.setValue(index, it); });
}

// Takes the member out of the model, and returns its disposal.
std::string Erase(Node& node, const SafeString& key) {
  const auto member = node.members.extract(std::string(key));
  return member ? member.mapped()->Disposal() : "";
}

void SetMember(Node& node, const SafeString& key, Child value,
               Failing failing) {
  JBase* const it = value ? value->it : nullptr;
  const std::string disposal = value ? Erase(node, key) : "";
  if (value) node.members.emplace(key, std::move(value));
  // Where requests fail, the cost is the square of the size.
  CheckEdit(node, failing.OrNone(node.members.size() < 100), true, disposal,
            [&] { return ObjectOf(node).setValue(key, it), true; });
}

void EditObject(Input& in, Node& root, Node& node, const Keys& keys,
                Failing failing) {
  const SafeString& key = keys[in.Below(keys.size())];
  const unsigned int act = in.Below(16);
  if (act == 0) return Empty(ObjectOf(node), in.Below(2) != 0, node);
  if (act < 6) {
    const std::string disposal = Erase(node, key);
    return CheckEdit(node, failing, !disposal.empty(), disposal,
                     [&] { return ObjectOf(node).remove(key); });
  }
  SetMember(node, key, NewValue(in, root), failing);
  for (auto more = in.Below(8) == 0 ? in.Below(keys.size()) : 0; more > 0;) {
    SetMember(node, keys[--more], Read("0"), failing);
  }
}

void EditScalar(Input& in, Node& node, Failing failing) {
  const SafeString string(in.Text(in.Below(in.Below(8) ? 40 : 2000)));
  const bool on = in.Below(2) != 0;
  const JType type = node.it->type();
  if (type == JType::Bool) node.text = on ? "true" : "false";
  if (type == JType::String) node.text = Quoted(std::string(string));
  if (type == JType::Number)
    node.text = on ? "-1.7976931348623157e+308" : "0x123456789ABCDEF0";
  CheckEdit(node, failing, true, "", [&] {
    if (type == JType::Bool) static_cast<JBool*>(node.it)->setValue(on);
    if (type == JType::String) static_cast<JString*>(node.it)->setValue(string);
    if (type != JType::Number) return true;
    auto& number = static_cast<JNumber&>(*node.it);
    return on   ? number.setValue(-1.7976931348623157e+308),
           true : number.fromString(" 0x123456789ABCDEF0 ");
  });
}

}  // namespace

void CheckTree(Input& in) {
  const Keys& keys = kKeySets[in.Below(std::size(kKeySets))];
  const SafeString document(in.Below(2) ? in.Document() : "");
  CheckText(document, kFailing[in.Below(8)].OrNone(in.Below(8) == 0));
  Child root = Read(document);
  if (!root) root = Read(in.Below(4) ? "{}" : "[]");
  std::size_t size = root->Text().size();
  for (unsigned int step = 0; !in.empty() && size < 20000; ++step) {
    Node& node = root->Find(in);
    const Failing failing = kFailing[in.Below(8)];
    const Failing rarely = failing.OrNone(in.Below(8) == 0 && size < 5000);
    node.kind == '['   ? EditArray(in, *root, node, rarely)
    : node.kind == '{' ? EditObject(in, *root, node, keys, rarely)
                       : EditScalar(in, node, rarely);
    if (in.Below(8) == 0 && size < 2000) CheckUse(node, failing);
    // The whole costs more the larger it is.
    if (step % (1 + size / 1000) != 0) continue;
    Require(node.HasChildren(), "the children");
    const std::string text = root->Text();
    Require(Text(root->it) == text, "the text");
    size = text.size();
  }
  Monitor::TakeLog();
  root->it->dispose();
  Require(Monitor::TakeCalls() == root->Disposal(), "what the whole disposes");
}

}  // namespace support

// Writes to an archiver, beside a model of standard containers: what can be
// read, what is written and loaded, which archivers are destroyed in which
// order, and that a request that fails changes nothing.

#include "support/model.h"

#include <regex>

namespace support {

namespace {

using A = io::IArchiver;
using Node = Model<A>;
using Child = Node::Child;

// The destruction of an archiver.
const std::regex kDestroy("!../json/archive/archiverutils:33 Destroy (#\\d+)");

enum What { kData, kString, kArray, kObject };
enum Where { kHere, kByIndex, kByField };

struct Write {
  What what;
  Where where;
  unsigned int index;
  SafeString field, text;
};

// Objects in data have one member: copies of more may have another order.
Write NextWrite(Input& in, const Node& node, const Keys& fields) {
  constexpr const char* kTexts[] = {"1", R"({"b":[{"a":2}]})", R"("\\")", ""};
  const unsigned int n = in.Below(12);
  return {static_cast<What>(in.Below(4)), static_cast<Where>(in.Below(3)),
          in.Below(node.elements.size() + 2), fields[in.Below(fields.size())],
          n < 4 ? kTexts[n] : SafeString(in.Text(n))};
}

// Returns the archiver that the write gives, or null.
A* Do(const Write& write, A& it) {
  const auto& [what, where, index, field, text] = write;
  if (where == kHere && what == kData) it.writeData(text);
  if (where == kHere && what == kString) it.writeString(text);
  if (where == kHere && what == kArray) return it.writeArray();
  if (where == kHere && what == kObject) return it.writeObject();
  if (where == kByIndex && what == kData) it.writeDataByIndex(index, text);
  if (where == kByIndex && what == kString) it.writeStringByIndex(index, text);
  if (where == kByIndex && what == kArray) return it.writeArrayByIndex(index);
  if (where == kByIndex && what == kObject) return it.writeObjectByIndex(index);
  if (where == kByField && what == kData) it.writeDataByField(field, text);
  if (where == kByField && what == kString) it.writeStringByField(field, text);
  if (where == kByField && what == kArray) return it.writeArrayByField(field);
  if (where == kByField && what == kObject) return it.writeObjectByField(field);
  return nullptr;
}

// Gives the model its kind, if it has none. Returns whether the write is
// refused. The messages are in doc/failure.md.
bool Refuses(const Write& write, Node& node) {
  const auto& [what, where, index, field, text] = write;
  const char kind = where == kHere      ? "ss[{"[what]
                    : where == kByIndex ? '['
                                        : '{';
  if (node.kind == 0 && kind == 's') node.text = "null";
  if (node.kind == 0) node.kind = kind;
  return node.kind != kind ||
         (where == kByIndex && index > node.elements.size()) ||
         (where == kByField && node.members.count(std::string(field)) != 0) ||
         (what == kData && !JsonReader().fromString(text));
}

// Lets the model follow a write that passed and gave that archiver or null.
// Returns what was destroyed.
std::string Follow(const Write& write, A* given, Node& node) {
  const auto& [what, where, index, field, text] = write;
  JsonReader data;
  std::string scalar = what == kString ? Quoted(std::string(text)) : "";
  if (what == kData && data.fromString(text)) scalar = Text(data.getJson());
  if (where == kHere) return node.text = scalar, "";
  if (given == nullptr) {
    given = where == kByIndex ? At(*node.it, index) : At(*node.it, field);
  }
  Child child(new Node(given, "ss[{"[what]));
  child->text = scalar;
  if (where == kByField)
    return node.members.emplace(field, std::move(child)), "";
  if (index == node.elements.size()) node.elements.emplace_back();
  child.swap(node.elements[index]);
  return child ? child->Disposal() : "";
}

// Whether what can be read there is what should be.
bool Reads(const Node& node) {
  SafeString read;
  const bool scalar = node.it->read(read), array = node.it->isArray(),
             object = node.it->isObject();
  const std::string text(read);
  return node.HasChildren() && scalar == (node.kind == 's') &&
         node.text == (node.text[0] == '"' ? Quoted(text) : text) &&
         array == (node.kind == '[') && object == (node.kind == '{') &&
         node.it->size() == node.elements.size() &&
         (array || node.it->readByIndex(0) == nullptr) &&
         (object || node.it->fields().empty());
}

// The write, with requests failing until it passes or is refused. Data for
// which there is no memory is refused too.
void CheckWrite(const Write& write, Node& node, const JsonArchiver& archiver,
                Failing failing) {
  A* given = nullptr;
  std::string destroyed;
  bool passed = false;
  const auto operate = [&] { return given = Do(write, *node.it), true; };
  Monitor::TakeLog();
  Sweep(failing, operate, [&](End end, std::size_t, bool failed) {
    destroyed = std::regex_replace(Monitor::TakeCalls(), kDestroy, "-$1",
                                   std::regex_constants::format_no_copy);
    passed = end == End::Passed;
    if (passed || (end == End::Nothing && write.what != kData)) return true;
    Require(failed || end == End::Nothing, "memory is exhausted if it fails");
    Require(end != End::AccessNull || failing.source == Source::ObjectMonitor,
            "only an object can be missing");
    // An empty archiver may have got its kind.
    if (node.kind == 0 && archiver.isValid()) Refuses(write, node);
    Require(Reads(node), "what is read after a failure");
    Require(destroyed.empty(), "a write that fails replaces nothing");
    return false;
  });
  Require(passed != Refuses(write, node), "which writes are refused");
  Require(destroyed == (passed ? Follow(write, given, node) : ""),
          "what is replaced");
}

}  // namespace

void CheckArchiver(Input& in) {
  const Keys& fields = kKeySets[in.Below(std::size(kKeySets))];
  const auto archiver = std::make_unique<JsonArchiver>();
  Child root(new Node(archiver.get()));
  const SafeString loaded(in.Below(4) == 0 ? in.Document() : "");
  JsonReader reader;
  if (reader.fromString(loaded) && archiver->fromString(loaded)) {
    root = Node::Of(*reader.getJson(), archiver.get());
  }
  std::size_t size = 0;
  for (unsigned int step = 0; !in.empty() && size < 5000; ++step) {
    Node& node = root->Find(in);
    const Failing failing = kFailing[in.Below(8)];
    const Failing rarely = failing.OrNone(in.Below(4) == 0);
    Write write = NextWrite(in, node, fields);
    // What is loaded in part is not told from what is written.
    if (rarely.first == 0 && write.text[0] == '{') write.text = SafeString("1");
    CheckWrite(write, node, *archiver, rarely);
    Require(Reads(node), "what is read");
    if (step % (1 + size / 1000) != 0) continue;
    const std::string text = root->Text(true);
    Look(failing.OrNone(in.Below(16) == 0),
         [&] { return std::string_view(archiver->compress()) == text; });
    JsonReader formatted, compressed;
    formatted.fromString(archiver->format());
    compressed.fromString(text.c_str());
    Require(JsonReader::IsEqual(formatted.getJson(), compressed.getJson()),
            "the formatted text");
    Require(archiver->isValid() == (root->kind != 0), "whether it is empty");
    size = text.size();
  }
}

}  // namespace support

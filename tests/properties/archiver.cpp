// Writes to an archiver, beside a model of standard containers: what can be
// read, what is written and loaded, which archivers are destroyed in which
// order, and that a request that fails changes nothing.

#include "support/model.h"

namespace support {

namespace {

using A = io::IArchiver;
using Node = Model<A>;
using Child = Node::Child;

// The object that is written gets its members, and those of each text that was
// written as data, one after another, in the order of what it is made from.
Child Copy(const Node& node) {
  Child copy(new Node(node.it, node.kind));
  JsonReader data;
  const bool tree = node.text[0] == '[' || node.text[0] == '{';
  if (tree) data.fromString(SafeString(node.text));
  copy->text = tree ? Text(data.getJson()) : node.text;
  for (const Child& child : node.elements) {
    copy->elements.push_back(Copy(*child));
  }
  for (const auto& [key, child] : node.members) {
    copy->members.emplace(key, Copy(*child));
  }
  return copy;
}

// Which archivers were destroyed, as they are disposed in a model.
std::string TakeDestroyed() {
  constexpr std::string_view kDestroy =
      "!../json/archive/archiverutils:33 Destroy ";
  const std::string calls = Monitor::TakeCalls();
  std::string destroyed;
  for (std::size_t at = 0; (at = calls.find(kDestroy, at)) != calls.npos;) {
    at += kDestroy.size();
    destroyed += "-" + calls.substr(at, calls.find_first_of("+-!", at) - at);
  }
  return destroyed;
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

Write NextWrite(Input& in, const Node& node, const Keys& fields) {
  constexpr const char* kTexts[] = {"1", R"({"b":[{}],"a":2})", R"("\\")", ""};
  const unsigned int n = in.Below(12);
  return {static_cast<What>(in.Below(4)), static_cast<Where>(in.Below(3)),
          in.Below(node.elements.size() + 2), fields[in.Below(fields.size())],
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
std::string Refusal(const Write& write, Node& node, bool root) {
  const auto& [what, where, index, field, text] = write;
  const char kind = where == kHere      ? "ss[{"[what]
                    : where == kByIndex ? '['
                                        : '{';
  if (node.kind == 0 && kind == 's') node.text = "null";
  if (node.kind == 0) node.kind = kind;
  if (node.kind != kind) {
    return root ? "the type of write archiver is mismatched"
                : "unexpected write operation at";
  }
  if (where == kByIndex && index > node.elements.size()) {
    return "try to write to error index <" + std::to_string(index) + ">";
  }
  if (where == kByField && node.members.count(std::string(field)) != 0) {
    return std::string("field <") + field.c_str() + "> is already existing";
  }
  const bool bad = what == kData && !JsonReader().fromString(text);
  return bad ? kBadData : "";
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
  if (index == node.elements.size())
    return node.elements.push_back(std::move(child)), "";
  child.swap(node.elements[index]);
  return child->Disposal();
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

// The write, with requests failing until it passes or is refused.
void CheckWrite(const Write& write, Node& node, JsonArchiver& archiver,
                Failing failing) {
  const bool root = node.it == &archiver;
  A* given = nullptr;
  std::string message, destroyed;
  const auto operate = [&] {
    try {
      given = Do(write, *node.it);
    } catch (const JsonException& e) {
      const Monitor::Exempt exemption;
      message = e.what();
      Require(e.where() == SafeString("vorn.foundation.json.JsonArchiver"),
              "where it fails");
    }
    return message.empty();
  };
  const auto passed = [&](End end, std::size_t, bool failed) {
    destroyed = TakeDestroyed();
    const bool data = write.what == kData && message == kBadData;
    if (end == End::Passed || (end == End::Nothing && !(data && failed))) {
      return true;
    }
    Require(failed && (end != End::AccessNull ||
                       failing.source == Source::ObjectMonitor),
            "a write's end");
    // An empty archiver may have got its kind.
    if (node.kind == 0 && archiver.isValid()) Refusal(write, node, root);
    Require(Reads(node), "what is read after a failure");
    Require(destroyed.empty(), "a write that fails replaces nothing");
    message.clear();
    return false;
  };
  Monitor::TakeLog();
  Sweep(failing, operate, passed);
  Require(message == Refusal(write, node, root), "the message");
  Require(destroyed == (message.empty() ? Follow(write, given, node) : ""),
          "what is replaced");
}

// Rendering -------------------------------------------------------------------

void CheckRendering(const JsonArchiver& archiver, const Node& node,
                    Failing failing) {
  const std::string text = Copy(node)->Text();
  const auto fields = node.members.size();
  Look(failing, [&] { return std::string_view(archiver.compress()) == text; });
  Look(failing, [&] { return archiver.format().empty() == text.empty(); });
  Look(failing, [&] { return archiver.fields().size() == fields; });
}

}  // namespace

void CheckArchiver(Input& in) {
  const Keys& fields = kKeySets[in.Below(std::size(kKeySets))];
  const auto archiver = std::make_unique<JsonArchiver>();
  Child root(new Node(archiver.get()));
  if (in.Below(4) == 0) {
    JsonReader reader;
    const SafeString text(in.Document());
    reader.fromString(text);
    if (archiver->fromString(text)) {
      root = Node::Of(*reader.getJson(), archiver.get());
    }
  }
  std::size_t size = 0;
  for (unsigned int step = 0; !in.empty() && size < 5000; ++step) {
    Node& node = root->Find(in);
    const Failing failing(in), rarely = failing.OrNone(in.Below(8) == 0);
    Write write = NextWrite(in, node, fields);
    // What is loaded in part is not told from what is written.
    if (rarely.first == 0 && write.text[0] == '{') write.text = SafeString("1");
    CheckWrite(write, node, *archiver, rarely);
    if (write.where == kByField && in.Below(8) == 0) {
      for (auto more = in.Below(std::min<std::size_t>(fields.size(), 400));
           more > 0;) {
        write.field = fields[--more];
        CheckWrite(write, node, *archiver, failing.OrNone(false));
      }
    }
    Require(Reads(node), "what is read");
    if (in.Below(16) == 0) CheckRendering(*archiver, *root, failing);
    if (step % (1 + size / 1000) != 0) continue;
    const std::string text = Copy(*root)->Text();
    Require(std::string_view(archiver->compress()) == text, "what is written");
    Require(archiver->isValid() == (root->kind != 0), "whether it is empty");
    size = text.size();
  }
}

}  // namespace support

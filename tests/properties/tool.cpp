// The tool, for any text: its scanner agrees with the parser, through any
// window; what is laid out keeps its tokens; every value is found at its path;
// a change changes what it should; any text is a path, or refused.

#include "support/property.h"

#include "command.h"
#include "document.h"
#include "scanner.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include <sys/mman.h>
#include <unistd.h>
#include <cstdio>
#include <random>

namespace support {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using vjson::Token;

// A file without a name in any folder.
class File {
 public:
  explicit File(std::string_view text = {}) {
    std::snprintf(name_, sizeof name_, "/proc/self/fd/%d", number_);
    const ssize_t size = write(number_, text.data(), text.size());
    Require(size == static_cast<ssize_t>(text.size()), "the file is written");
  }
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File() { close(number_); }

  int number() const { return number_; }
  const char* name() const { return name_; }

 private:
  const int number_ = memfd_create("text", 0);
  char name_[32];
};

// What a command writes, which has to succeed.
SafeString Run(vjson::Status (*command)(const vjson::Arguments&,
                                        vjson::Output&),
               std::string_view text, std::vector<const char*> operands,
               unsigned int options = 0) {
  const File file(text);
  const File result;
  operands.insert(operands.begin(), file.name());
  vjson::Output output(result.number(), false);
  vjson::Arguments arguments;
  arguments.operands = operands;
  arguments.options = options;
  Require(command(arguments, output) == vjson::kYes, "the command succeeds");
  output.Flush();
  return SafeString(vjson::Input(result.name()).ReadAll());
}

// All tokens of a text, for comments with whether they begin a line.
SafeString Scan(vjson::Input& input, JsonFault& fault) {
  SafeString tokens;
  vjson::Scanner scanner(input);
  fault = JsonFault();
  try {
    Token token{};
    while (token.kind != Token::kTextEnd) {
      token = scanner.Next();
      const bool comment = token.kind == Token::kComment;
      if (token.kind == Token::kOddBlank) continue;
      if (comment && token.starts_line && !tokens.empty()) tokens += '\n';
      (tokens += static_cast<char>('a' + token.kind)) += token.text;
    }
  } catch (const JsonFault& thrown) {
    fault = thrown;
  }
  return tokens;
}

SafeString TokensOf(const SafeString& text) {
  JsonFault fault;
  vjson::Input input("", text);
  return Scan(input, fault);
}

bool AreSame(const JsonFault& a, const JsonFault& b) {
  return a.kind == b.kind && a.offset == b.offset && a.line == b.line &&
         a.column == b.column && a.rule == std::string_view(b.rule) &&
         a.message == std::string_view(b.message);
}

void CheckScanner(const SafeString& text, const JsonFault& expected) {
  JsonFault fault;
  const File file(text);
  vjson::Input whole("", text);
  vjson::Input part(file.name(), 256);
  const SafeString tokens = Scan(whole, fault);
  Require(AreSame(fault, expected), "the scanner agrees with the parser");
  Require(Scan(part, fault) == tokens, "a window shows the same tokens");
  Require(AreSame(fault, expected), "and the same fault");
}

void CheckLayout(const SafeString& text) {
  using vjson::Compress, vjson::Format, vjson::kComments;
  const SafeString formatted = Run(Format, text, {});
  Require(TokensOf(formatted) == TokensOf(text), "the tokens are the same");
  Require(Run(Format, formatted, {}) == formatted, "it is formatted");
  for (const unsigned int options : {0u, unsigned{kComments}}) {
    const SafeString compressed = Run(Compress, text, {}, options);
    Require(Run(Compress, formatted, {}, options) == compressed,
            "the blanks do not matter");
    Require(options == 0 || TokensOf(compressed) == TokensOf(text),
            "comments are kept");
  }
}

// A child in the tree, or a place for one behind the last, and its paths.
struct Place {
  JBase* container = nullptr;
  JBase* child = nullptr;
  unsigned int index = 0;
  SafeString key, path, pointer;
};

Place FindPlace(std::minstd_rand& random, JBase& root) {
  Place place;
  place.child = &root;
  do {
    place.container = place.child;
    if (auto* array = dynamic_cast<JArray*>(place.container)) {
      place.index = static_cast<unsigned int>(random() % (array->length() + 1));
      place.child = array->at(place.index);
      place.path += "[" + std::to_string(place.index) + "]";
      place.pointer += vjson::PointerText(place.index);
    } else {
      auto& object = static_cast<JObject&>(*place.container);
      auto keys = object.keys();
      keys.push_back("a new key");
      place.key = keys[random() % keys.size()];
      place.child = object.at(place.key);
      place.path += "[" + vjson::Quote(place.key) + "]";
      place.pointer += vjson::PointerText(place.key);
    }
  } while (place.child != nullptr && place.child->type() >= JType::Array &&
           random() % 4 != 0);
  return place;
}

// Puts true there, or takes what is there away.
void Change(const Place& place, bool remove) {
  JBase* const value = remove ? nullptr : Make<JBool>(true);
  if (auto* object = dynamic_cast<JObject*>(place.container)) {
    if (remove) object->remove(place.key);
    return object->setValue(place.key, value);
  }
  auto& array = static_cast<JArray&>(*place.container);
  std::vector<JBase*> elements;
  for (unsigned int i = 0; i < array.length(); ++i) {
    elements.push_back(i == place.index ? value : array.at(i));
  }
  if (place.child == nullptr) elements.push_back(value);
  array.detach();
  for (JBase* const element : elements) array.append(element);
  if (place.child != nullptr) place.child->dispose();
}

// Gets what is at a place, then sets or removes it: in the text as in the tree.
void CheckPlace(std::minstd_rand& random, SafeString& text, JBase& root) {
  const Place place = FindPlace(random, root);
  const SafeString& path = random() % 2 ? place.path : place.pointer;
  const bool remove = place.child != nullptr && random() % 2;
  JsonReader reader;
  if (place.child != nullptr) {
    reader.fromString(Run(vjson::Get, text, {path.c_str()}));
    Require(JsonReader::IsEqual(reader.getJson(), place.child),
            "the path leads to the value");
  }
  text = remove ? Run(vjson::Remove, text, {path.c_str()})
                : Run(vjson::Set, text, {path.c_str(), "true"});
  Change(place, remove);
  reader.fromString(text);
  Require(JsonReader::IsEqual(reader.getJson(), &root),
          "the change is made, and nothing else");
}

}  // namespace

// What stands behind a value is cut off after the scanner has seen it.
void CheckTool(Input& in) {
  const std::string_view bytes = in.Text();
  std::minstd_rand random(static_cast<unsigned int>(Hash()(bytes)));
  try {
    vjson::ParsePath(bytes.substr(0, bytes.find('\n')));
  } catch (const vjson::PathFault& fault) {
    Require(fault.at <= bytes.size(), "the fault is in the path");
  }
  SafeString text(bytes);
  JsonReader reader;
  JsonFault fault;
  reader.fromString(text.data(), text.size(), fault);
  CheckScanner(text, fault);
  if (fault.message == std::string_view("extra data characters")) {
    text.resize(fault.offset);
    reader.fromString(text, fault);
  }
  if (fault.kind != JsonFault::Kind::None) return;
  CheckLayout(text);
  for (int i = 0; i < 6 && reader.getJson()->type() >= JType::Array; ++i) {
    CheckPlace(random, text, *reader.getJson());
  }
}

}  // namespace support

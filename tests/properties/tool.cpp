// The tool, for any text: its scanner agrees with the parser, through any
// window; what is laid out keeps its tokens; every value is found at its path;
// a change changes what it should; any text is a path, or refused.

#include "support/property.h"

#include "command.h"
#include "path.h"

#include <foundation/json/json.h>
#include <foundation/json/view.h>

#include <sys/mman.h>
#include <unistd.h>
#include <random>

namespace support {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using vjson::Token;

// A file without a name in any folder.
struct File {
  explicit File(std::string_view text) { vjson::files::Write(number, text); }
  ~File() { close(number); }

  const int number = memfd_create("text", 0);
  const std::string name = "/proc/self/fd/" + std::to_string(number);
};

// What a command writes, which has to succeed.
SafeString Run(vjson::Command& command, std::string_view text,
               std::vector<const char*> operands = {},
               std::vector<std::string_view> options = {}) {
  const File file(text), result("");
  operands.insert(operands.begin(), file.name.c_str());
  vjson::Output output(result.number, false);
  command({operands, options}, output);
  output.Flush();
  return SafeString(vjson::Input(result.name.c_str()).ReadAll());
}

SafeString TextOf(const JsonFault& fault) {
  return text::StringUtils::_InternalFormat(
      "\n%d %zu:%u:%u %s %s", static_cast<int>(fault.kind), fault.offset,
      fault.line, fault.column, fault.rule, fault.message);
}

// All tokens of a text, for comments with whether they begin a line, and the
// fault.
SafeString Scan(vjson::Input& input) {
  SafeString tokens;
  vjson::Scanner scanner(input);
  try {
    Token token{};
    while (token.kind != Token::kTextEnd) {
      token = scanner.Next();
      const bool comment = token.kind == Token::kComment;
      if (token.kind == Token::kOddBlank) continue;
      if (comment && token.starts_line && !tokens.empty()) tokens += '\n';
      (tokens += static_cast<char>('a' + token.kind)) += token.text;
    }
    return tokens + TextOf({});
  } catch (const JsonFault& fault) {
    return tokens + TextOf(fault);
  }
}

SafeString Scan(const SafeString& text) {
  vjson::Input input("", text);
  return Scan(input);
}

void CheckScanner(const SafeString& text, const SafeString& fault) {
  const SafeString tokens = Scan(text);
  const File file(text);
  vjson::Input part(file.name.c_str(), 256);
  Require(tokens.rfind(fault) == tokens.size() - fault.size(),
          "the scanner agrees with the parser");
  Require(Scan(part) == tokens, "a window shows the same");
}

void CheckLayout(const SafeString& text) {
  using vjson::Compress, vjson::Format;
  const SafeString formatted = Run(Format, text);
  Require(Scan(formatted) == Scan(text), "the tokens are the same");
  Require(Run(Format, formatted) == formatted, "it is formatted");
  Require(Run(Compress, formatted) == Run(Compress, text), "blanks go");
  const SafeString compressed = Run(Compress, text, {}, {"--comments"});
  Require(Scan(compressed) == Scan(text), "comments stay");
  Require(Run(Format, compressed) == formatted, "where they are");
}

// A value in the tree, or a place for one behind the last, and its paths.
struct Place {
  View parent, value;
  std::size_t index = 0;  // in an array
  SafeString above, pointer, path;
};

Place FindPlace(std::minstd_rand& random, View root) {
  Place place;
  place.value = root;
  do {
    const View parent = place.parent = place.value;
    place.above = place.pointer;
    auto number = place.index = random() % (parent.size() + 1);
    if (parent.is(JType::Array)) {
      place.path += "[" + std::to_string(number) + "]";
      place.pointer += vjson::PointerText(number);
    } else {
      std::string_view key = "a new key";
      for (auto [name, value] : parent.members()) {
        if (number-- == 0) key = name;
      }
      place.path += "[" + vjson::Quote(key) + "]";
      place.pointer += vjson::PointerText(key);
    }
    place.value = root.at(place.pointer);
  } while (place.value.size() != 0 && random() % 4 != 0);
  return place;
}

// A value that is set and set back leaves the text as it was, and one that is
// removed leaves its neighbours.
void CheckPlace(std::minstd_rand& random, SafeString& text) {
  JsonReader before, after;
  before.fromString(text);
  const auto same = [&](View a, View b) {
    Require(JsonReader::IsEqual(a.get(), b.get()), "all else is as it was");
  };
  const Place place = FindPlace(random, before);
  const char* const path = (random() % 2 ? place.path : place.pointer).c_str();
  const SafeString changed = Run(vjson::Set, text, {path, "true"});
  Require(Run(vjson::Get, changed, {path}) == "true\n", "it is set");
  if (!place.value) {
    after.fromString(Run(vjson::Remove, changed, {path}));
    same(after, before);
    text = changed;
    return;
  }
  SafeString old = Run(vjson::Get, text, {path});
  old.pop_back();
  after.fromString(old);
  same(after, place.value);
  Require(Run(vjson::Set, changed, {path, old.c_str()}) == text, "and back");
  text = Run(vjson::Remove, text, {path});
  after.fromString(text);
  const View rest = View(after).at(place.above);
  Require(rest.size() + 1 == place.parent.size(), "one value is removed");
  for (std::size_t i = 0; i < rest.size(); ++i) {
    if (!rest.is(JType::Array)) break;
    same(rest[i], place.parent[i < place.index ? i : i + 1]);
  }
  for (auto [key, value] : rest.members()) same(value, place.parent[key]);
}

}  // namespace

// What stands behind a value is cut off after the scanner has seen it.
void CheckTool(Input& in) {
  const std::string_view bytes = in.Text();
  std::minstd_rand random(
      static_cast<unsigned int>(std::hash<std::string_view>()(bytes)));
  SafeString text(bytes);
  JsonReader reader;
  JsonFault fault;
  vjson::Input path("path", text);
  try {
    vjson::ParsePath(path);
  } catch (const JsonFault& thrown) {
    Require(thrown.offset <= text.find('\0'), "the fault is in the path");
  }
  reader.fromString(text.data(), text.size(), fault);
  CheckScanner(text, TextOf(fault));
  if (fault.message == std::string_view("extra data characters")) {
    text.resize(fault.offset);
    reader.fromString(text, fault);
  }
  if (fault.kind != JsonFault::Kind::None) return;
  CheckLayout(text);
  for (int i = 0; i < 6 && reader.getJson()->type() >= JType::Array; ++i) {
    CheckPlace(random, text);
  }
}

}  // namespace support

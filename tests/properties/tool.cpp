// The tool, for any text: its scanner agrees with the parser, through any
// window; what is laid out keeps its tokens; every value is found at its path;
// a change changes what it should; any text is a path, or refused.

#include "support/property.h"

#include "command.h"
#include "path.h"

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

// The text that a command writes, which has to succeed.
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
  return text::StringUtils::_InternalFormat("\n%zu:%u:%u %s %s", fault.offset,
                                            fault.line, fault.column,
                                            fault.rule, fault.message);
}

// All tokens of a text, for comments with whether they begin a line, and the
// fault.
SafeString Scan(vjson::Input&& input) {
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

void CheckLayout(const SafeString& text) {
  using vjson::Compress, vjson::Format;
  const SafeString formatted = Run(Format, text);
  const SafeString compressed = Run(Compress, text, {}, {"--comments"});
  JsonReader before, after;
  before.fromString(text);
  for (const SafeString& result : {formatted, compressed}) {
    after.fromString(result);
    Require(JsonReader::IsEqual(before.getJson(), after.getJson()),
            "the parser reads the same");
    Require(Scan({"", result}) == Scan({"", text}), "the tokens are the same");
    Require(Run(Format, result) == formatted, "the layout is the same");
  }
  Require(Run(Compress, formatted) == Run(Compress, text), "blanks go");
}

// Sets and removes a value, or one behind the last of a container. A value that
// is set and set back leaves the text, and a removed one its neighbours.
void CheckPlace(std::minstd_rand& random, SafeString& text) {
  JsonReader before, after;
  before.fromString(text);
  View parent, value = before;
  std::size_t index = 0;
  SafeString path;
  do {
    parent = value;
    auto number = index = random() % (parent.size() + 1);
    SafeString key = std::to_string(index).c_str();
    for (auto [name, child] : parent.members()) {
      if (number-- == 0) key = name;
    }
    path += vjson::PointerText(key);
    value = View(before).at(path);
  } while (value.size() != 0 && random() % 4 != 0);
  const char* const at = path.c_str();
  const SafeString changed = Run(vjson::Set, text, {at, "true"});
  Require(Run(vjson::Get, changed, {at}) == "true\n", "it is set");
  if (value) {
    SafeString old = Run(vjson::Get, text, {at});
    old.pop_back();
    const SafeString back = Run(vjson::Set, changed, {at, old.c_str()});
    Require(back == text, "it is set back");
  }
  const SafeString removed = Run(vjson::Remove, changed, {at});
  after.fromString(removed);
  const View rest = View(after).at(path.substr(0, path.rfind('/')));
  Require(rest.size() + (value ? 1 : 0) == parent.size(), "it is removed");
  const auto same = [](View a, View b) {
    Require(JsonReader::IsEqual(a.get(), b.get()), "its neighbours stay");
  };
  for (std::size_t i = 0; rest.is(JType::Array) && i < rest.size(); ++i) {
    same(rest[i], parent[i < index ? i : i + 1]);
  }
  for (auto [key, child] : rest.members()) same(child, parent[key]);
  text = value ? removed : changed;
}

}  // namespace

// What stands behind a value is cut off after the scanner has seen it.
void CheckTool(Input& in) {
  SafeString text(in.Text());
  std::minstd_rand random(
      static_cast<unsigned int>(std::hash<std::string_view>()(text)));
  vjson::Input path("path", text);
  try {
    vjson::ParsePath(path);
  } catch (const JsonFault& fault) {
    Require(fault.offset <= text.find('\0'), "the fault is in the path");
  }
  JsonReader reader;
  JsonFault fault;
  reader.fromString(text.data(), text.size(), fault);
  const File file(text);
  const SafeString tokens = Scan({"", text}), end = TextOf(fault);
  Require(tokens.rfind(end) == tokens.size() - end.size(),
          "the scanner agrees with the parser");
  Require(Scan(vjson::Input(file.name.c_str(), 256)) == tokens,
          "a window shows the same");
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

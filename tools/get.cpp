// get and keys: values and keys as they stand in the text.

#include <algorithm>
#include <cctype>
#include <set>

#include "command.h"
#include "path.h"

using namespace vjson;

namespace {

// Whether the text looks like a name in a program.
bool IsName(std::string_view text) {
  return !text.empty() &&
         std::isdigit(static_cast<unsigned char>(text[0])) == 0 &&
         std::all_of(text.begin(), text.end(), [](unsigned char byte) {
           return byte == '_' || std::isalnum(byte) != 0;
         });
}

}  // namespace

void vjson::Get(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const bool raw = arguments.Has("--raw");
  std::vector<Path> paths;
  for (std::size_t i = 1; i < operands.size(); ++i) {
    paths.push_back(ParsePathOrFail(operands[i]));
  }
  const auto write = [&](const Document& document, const Path& path) {
    const std::string_view value = FindValue(document, path);
    const bool decode = raw && value[0] == '"';
    output.WriteLine(decode ? Unquote(value, Escapes::kStandard) : value);
  };
  ForEachText(operands[0], arguments.Has("--lines"), [&](Input& input) {
    const Document document = LoadDocument(input);
    for (const Path& path : paths) Try([&] { write(document, path); });
  });
}

void vjson::Keys(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const Path path = ParsePathOrFail(operands.size() > 1 ? operands[1] : "");
  ForEachText(operands[0], arguments.Has("--lines"), [&](Input& input) {
    const Document document = LoadDocument(input);
    const std::string_view value = FindValue(document, path);
    if (value[0] != '{') {
      const Shown shown = Excerpt(value, 0, kBrief);
      FailAt(document, path.text, "no object but " + shown.text);
    }
    std::set<SafeString> written;
    for (const Child& child : ChildrenOf(value)) {
      const SafeString key = Unquote(child.key);
      if (!written.insert(key).second) continue;
      output.WriteLine(IsName(key) ? key : child.key);
    }
  });
}

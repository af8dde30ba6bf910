// get and keys: values and keys as they stand in the text.

#include <algorithm>
#include <cctype>
#include <set>

#include "command.h"
#include "path.h"

using namespace vjson;

namespace {

void WriteValue(std::string_view value, bool raw, Output& output) {
  const bool decode = raw && value[0] == '"';
  output.WriteLine(decode ? Unquote(value, Escapes::kStandard) : value);
}

// Whether the text looks like a name in a program.
bool IsName(std::string_view text) {
  return !text.empty() &&
         std::isdigit(static_cast<unsigned char>(text[0])) == 0 &&
         std::all_of(text.begin(), text.end(), [](unsigned char byte) {
           return byte == '_' || std::isalnum(byte) != 0;
         });
}

void WriteKeys(const Document& document, const Path& path, Output& output) {
  const std::string_view value = FindValue(document, path);
  if (value[0] != '{') {
    FailAt(document, path.text,
           "no object but " + Excerpt(value, 0, kBrief).text);
  }
  std::set<SafeString> written;
  for (const Child& child : ChildrenOf(value)) {
    const SafeString key = Unquote(child.key);
    if (!written.insert(key).second) continue;
    output.WriteLine(IsName(key) ? key : child.key);
  }
}

}  // namespace

void vjson::Get(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const bool raw = arguments.Has("--raw");
  std::vector<Path> paths;
  for (std::size_t i = 1; i < operands.size(); ++i) {
    paths.push_back(ParsePathOrFail(operands[i]));
  }
  ForEachText(operands[0], arguments.Has("--lines"), [&](Input& input) {
    const Document document = LoadDocument(input);
    for (const Path& path : paths) {
      Try([&] { WriteValue(FindValue(document, path), raw, output); });
    }
  });
}

void vjson::Keys(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const Path path = ParsePathOrFail(operands.size() > 1 ? operands[1] : "");
  ForEachText(operands[0], arguments.Has("--lines"), [&](Input& input) {
    WriteKeys(LoadDocument(input), path, output);
  });
}

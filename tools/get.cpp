// get and keys: values and keys as they stand in the text.

#include <algorithm>
#include <set>

#include "command.h"
#include "document.h"

namespace vjson {

namespace {

void WriteValue(std::string_view value, bool raw, Output& output) {
  if (raw && value[0] == '"') return output.WriteLine(Decode(value));
  output.WriteLine(value);
}

void WriteKeys(const Document& document, const Path& path, Output& output) {
  const std::string_view value = FindValue(document, path);
  if (value[0] != '{') {
    FailAt(document, path.text,
           SafeString("no object but a value of the kind ") + KindOf(value));
  }
  std::set<SafeString> written;
  for (const Child& child : ChildrenOf(value)) {
    const SafeString key = Unquote(child.key);
    if (!written.insert(key).second) continue;
    output.WriteLine(IsName(key) ? key : child.key);
  }
}

}  // namespace

Status Get(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  std::vector<Path> paths;
  std::transform(operands.begin() + 1, operands.end(),
                 std::back_inserter(paths), ParsePathOrFail);
  const auto get = [&](Input& input) {
    const Document document = LoadDocument(input);
    Status status = kYes;
    for (const Path& path : paths) {
      status = std::max(status, StatusOf([&] {
                          WriteValue(FindValue(document, path),
                                     arguments.Has(kRaw), output);
                          return kYes;
                        }));
    }
    return status;
  };
  return ForEachText(operands[0], arguments.Has(kLines), get);
}

Status Keys(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const Path path = ParsePathOrFail(operands.size() > 1 ? operands[1] : "");
  const auto keys = [&](Input& input) {
    WriteKeys(LoadDocument(input), path, output);
    return kYes;
  };
  return ForEachText(operands[0], arguments.Has(kLines), keys);
}

}  // namespace vjson

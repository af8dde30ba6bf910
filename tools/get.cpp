// get and keys: values and keys as they stand in the text.

#include <algorithm>
#include <set>

#include "command.h"
#include "document.h"

namespace vjson {

namespace {

// A path, or several; the values are written in the order of the paths.
Status WriteValues(const Document& document, const std::vector<Path>& paths,
                   bool raw, Output& output) {
  Status status = kYes;
  for (const Path& path : paths) {
    const std::string_view value = FindValue(document, path, path.steps.size());
    if (value.data() == nullptr) {
      status = kNo;
    } else if (raw && value[0] == '"') {
      output.WriteLine(Decode(value));
    } else {
      output.WriteLine(value);
    }
  }
  return status;
}

Status WriteKeys(const Document& document, const Path& path, Output& output) {
  const std::string_view value = FindValue(document, path, path.steps.size());
  if (value.data() == nullptr) return kNo;
  if (value[0] != '{') {
    PrintMissing(
        document, path.text,
        SafeString("no object but a value of the kind ") + KindOf(value));
    return kNo;
  }
  std::set<SafeString> written;
  for (const Child& child : ChildrenOf(document, value)) {
    const SafeString key = Unquote(child.key);
    if (!written.insert(key).second) continue;
    output.WriteLine(IsName(key) ? key : child.key);
  }
  return kYes;
}

}  // namespace

Status Get(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const bool named = operands.size() > 1;
  std::vector<Path> paths;
  std::transform(operands.begin() + (named ? 1 : 0), operands.end(),
                 std::back_inserter(paths), ParsePathOrFail);
  return ForEachDocument(named ? operands[0] : "-", arguments.Has(kLines),
                         [&](const Document& document) {
                           return WriteValues(document, paths,
                                              arguments.Has(kRaw), output);
                         });
}

Status Keys(const Arguments& arguments, Output& output) {
  const auto& operands = arguments.operands;
  const Path path = ParsePathOrFail(operands.size() > 1 ? operands[1] : "");
  return ForEachDocument(arguments.FileAt(0), arguments.Has(kLines),
                         [&](const Document& document) {
                           return WriteKeys(document, path, output);
                         });
}

}  // namespace vjson

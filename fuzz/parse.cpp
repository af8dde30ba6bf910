// Any text: it is refused with a failure of the table and the cursor at the
// fault, or it can be written in both layouts and read again.

#include "support.h"

#include "compile.h"
#include "support/failures.h"

#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <algorithm>
#include <cstring>
#include <memory>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Require;

namespace {

SafeString Sorted(SafeString text) {
  std::sort(text.begin(), text.end());
  return text;
}

void WriteAndRead(const JBase* tree) {
  const SafeString text = JsonReader::Format(tree);
  JsonReader lines, line;
  Require(lines.fromString(text), "lines can be read");
  Require(line.fromString(JsonReader::Compress(tree)), "a line can be read");
  Require(JsonReader::IsEqual(lines.getJson(), tree), "the lines are equal");
  Require(JsonReader::IsEqual(tree, line.getJson()), "the line is equal");
  // Both have got their members in the same order, unlike the tree.
  Require(lines.compress() == line.compress(), "both say the same");
  Require(Sorted(line.format()) == Sorted(text), "no character is lost");
}

}  // namespace

void fuzz::Run(Input& in) {
  const std::string_view bytes = in.Text();
  const std::size_t length = std::min(bytes.find('\0'), bytes.size());
  const std::unique_ptr<char[]> text(new char[length + 1]);
  text[bytes.copy(text.get(), length)] = '\0';
  const char* cursor = text.get();
  try {
    JBase* const tree = Compile(cursor);
    Require(cursor == text.get() + length, "all of the text is read");
    WriteAndRead(tree);
    tree->dispose();
  } catch (const lang::Exception& e) {
    Require(cursor >= text.get() && cursor <= text.get() + length,
            "the cursor is in the text");
    Require(support::IsFailure(e, *cursor), "the failure is known");
  }
}

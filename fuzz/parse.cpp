// Any text: it is refused with a failure of the table and the cursor at the
// fault, or it can be written in both layouts and read again.

#include "support.h"

#include "compile.h"

#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <algorithm>
#include <cstring>
#include <memory>

using namespace std::string_view_literals;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Require;

namespace {

// The failures, and the characters on which the cursor stands then, or else on
// which it does not.
constexpr struct {
  std::string_view where, what;
  bool on;
  std::string_view characters;
} kFailures[] = {
    {"ParseKey", "object '}' mismatching", true, "\0"sv},
    {"ParseKey", "spare ','", true, "}"},
    {"ParseKey", "key is not begin with '\"'", false, "\"}\0"sv},
    {"GetString", "string is not end with '\"'", true, "\0"sv},
    {"ParseObject", "field not combined with ':'", false, ":"},
    {"ParseObject", "missing '}' or have some extra data characters", false,
     ",}"},
    {"ArraySkip", "array ']' mismatching", true, "\0"sv},
    {"ArraySkip", "spare ','", true, "]"},
    {"ParseArray", "missing ']'", false, ",]"},
    {"ParseBool", "true error", true, "tf"},
    {"ParseNull", "data error", true, "n"},
    {"ParseNumber", "number is incorrect", false, "{[\"tfn"},
    {"Parse", "extra data characters", false, "\0"sv},
    {"Parse", "nesting is too deep", true, "[{"},
};

bool IsKnown(const lang::Exception& e, char at) {
  return std::any_of(
      std::begin(kFailures), std::end(kFailures), [&](const auto& failure) {
        const bool on = failure.characters.find(at) != std::string_view::npos;
        return e.where() == failure.where && e.what() == failure.what &&
               on == failure.on;
      });
}

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
    Require(IsKnown(e, *cursor), "the failure is known");
  }
}

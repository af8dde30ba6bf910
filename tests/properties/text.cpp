// Any text: it is refused with a failure of the table and the cursor at the
// fault, or it can be written in both layouts and read again; and it is read
// whole, in part or not at all when requests fail.

#include "support/property.h"

#include "compile.h"

#include <foundation/json/json.h>

#include <algorithm>
#include <memory>

namespace support {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

// The failures of the parser, and the characters on which the cursor stands
// then, or else on which it does not.
constexpr struct {
  std::string_view where, what;
  bool on;
  std::string_view characters;
} kFailures[] = {
    {"ParseKey", "object '}' mismatching", true, {"", 1}},
    {"ParseKey", "spare ','", true, "}"},
    {"ParseKey", "key is not begin with '\"'", false, {"\"}", 3}},
    {"GetString", "string is not end with '\"'", true, {"", 1}},
    {"ParseObject", "field not combined with ':'", false, ":"},
    {"ParseObject", "missing '}' or have some extra data characters", false,
     ",}"},
    {"ArraySkip", "array ']' mismatching", true, {"", 1}},
    {"ArraySkip", "spare ','", true, "]"},
    {"ParseArray", "missing ']'", false, ",]"},
    {"ParseBool", "true error", true, "tf"},
    {"ParseNull", "data error", true, "n"},
    {"ParseNumber", "number is incorrect", false, "{[\"tfn"},
    {"Parse", "extra data characters", false, {"", 1}},
    {"Parse", "nesting is too deep", true, "[{"},
};

bool IsFailure(const lang::Exception& e, char at) {
  return std::any_of(
      std::begin(kFailures), std::end(kFailures), [&](const auto& failure) {
        const bool on = failure.characters.find(at) != std::string_view::npos;
        return e.where() == failure.where && e.what() == failure.what &&
               on == failure.on;
      });
}

std::string Sorted(const SafeString& text) {
  std::string sorted(text);
  std::sort(sorted.begin(), sorted.end());
  return sorted;
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

// Whether the tree was read without one of the values, or without some: of the
// created objects, so many are the tree's.
bool IsInPart(const JsonReader& part, const JsonReader& all, bool one) {
  const auto count = [](const JBase* tree) {
    Monitor::TakeLog();
    JBase* const copy = tree->clone();
    const std::string calls = Monitor::TakeLog();
    copy->dispose();
    return std::count(calls.begin(), calls.end(), '+');
  };
  const auto values = count(all.getJson()), rest = count(part.getJson());
  const std::string left = Sorted(part.compress()),
                    whole = Sorted(all.compress());
  return (one ? rest + 1 == values : rest < values) &&
         std::includes(whole.begin(), whole.end(), left.begin(), left.end());
}

}  // namespace

void CheckText(Input& in) {
  const Failing failing(in);
  const bool fails = in.Below(8) == 0;
  const std::string_view bytes = in.Document();
  const std::size_t length = bytes.size();
  const std::unique_ptr<char[]> text(new char[length + 1]);
  text[bytes.copy(text.get(), length)] = '\0';
  const char* cursor = text.get();
  const std::string rest(in.Text());
  const JString string{SafeString(rest)};
  Require(std::string_view(JsonReader::Compress(&string)) == Quoted(rest),
          "any bytes are written as a string");
  bool whole = false;
  try {
    JBase* const tree = Compile(cursor);
    whole = true;
    Require(cursor == text.get() + length, "all of the text is read");
    WriteAndRead(tree);
    tree->dispose();
  } catch (const lang::Exception& e) {
    Require(cursor >= text.get() && cursor <= text.get() + length,
            "the cursor is in the text");
    Require(IsFailure(e, *cursor), "the failure is known");
  }
  if (!fails) return;
  // Where an object is missing, a repeated key may leave the former member.
  JsonReader all, reader;
  Require(all.fromString(text.get()) == whole, "a reader takes the same");
  const SafeString again = whole ? all.compress() : SafeString(text.get());
  const Account before = Monitor::Now();
  const auto read = [&] { return reader.fromString(again); };
  Sweep(failing, read, [&](End end, std::size_t, bool failed) {
    Require(reader.valid() == (end == End::Passed), "it is valid when read");
    Require(failed ? end == End::Passed || end == End::Nothing
                   : whole == (end == End::Passed),
            "how reading ends");
    if (end == End::Passed) {
      Require(whole, "malformed text is refused, whatever fails");
      const bool object = failed && failing.source == Source::ObjectMonitor;
      Require(object ? IsInPart(reader, all, !failing.forever)
                     : JsonReader::IsEqual(reader.getJson(), all.getJson()),
              "what is read when a request fails");
    }
    reader.reset();
    Require(Monitor::Now() == before, "reading leaves nothing");
    return false;
  });
}

}  // namespace support

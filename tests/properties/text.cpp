// Any text: it is refused with the cursor in it, or it can be written in both
// layouts and read again; and it is read whole, in part or not at all when
// requests fail. How it is refused, the tool's scanner says as well.

#include "support/property.h"

#include "compile.h"

#include <foundation/json/json.h>

#include <algorithm>
#include <memory>

namespace support {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

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

// Whether the tree was read whole, or without some of its values.
bool IsIn(const JBase* part, const JBase* all, bool whole) {
  const std::string some = Sorted(JsonReader::Compress(part)),
                    every = Sorted(JsonReader::Compress(all));
  return whole ? JsonReader::IsEqual(part, all)
               : std::includes(every.begin(), every.end(), some.begin(),
                               some.end());
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
  } catch (const lang::Exception&) {
    Require(cursor >= text.get() && cursor <= text.get() + length,
            "the cursor is in the text");
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
      Require(IsIn(reader.getJson(), all.getJson(), !object),
              "what is read when a request fails");
    }
    reader.reset();
    Require(Monitor::Now() == before, "reading leaves nothing");
    return false;
  });
}

}  // namespace support

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

// Reads the text, which is valid or not, with requests failing. Values for
// which the object monitor has no memory may be missing.
void CheckReading(const SafeString& text, bool valid, Failing failing) {
  JsonArchiver archiver;
  const Account before = Monitor::Now();
  Monitor::TakeLog();
  const auto read = [&] { return archiver.fromString(text); };
  Sweep(failing, read, [&](End end, std::size_t, bool failed) {
    const bool partial = failed && failing.source == Source::ObjectMonitor;
    Require(Monitor::TakeCalls().find("!#") == std::string::npos,
            "what was finished is released by its owner");
    Require(archiver.isValid() == (end == End::Passed), "valid when read");
    Require(
        end == End::Passed
            ? valid && (partial ? archiver.compress().size() <= text.size()
                                : Sorted(archiver.compress()) == Sorted(text))
        : failed ? end == End::Nothing || end == End::Exhausted
                 : end == End::Nothing && !valid,
        "how reading ends, and what is read");
    archiver.fromString(nullptr);
    Require(Monitor::Now() == before, "reading leaves nothing");
    return false;
  });
}

}  // namespace

void CheckText(Input& in) {
  const Failing failing = Failing::Of(in);
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
  JsonReader reader;
  Require(reader.fromString(text.get()) == whole, "a reader takes the same");
  CheckReading(whole ? reader.compress() : SafeString(text.get()), whole,
               failing);
}

}  // namespace support

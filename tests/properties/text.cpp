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

// Whether a text has the characters of the other, or else some of them.
bool IsOf(const SafeString& text, const SafeString& other, bool all) {
  const std::string some = Sorted(text), every = Sorted(other);
  return all ? some == every
             : std::includes(every.begin(), every.end(), some.begin(),
                             some.end());
}

// Reads the text into a reader or an archiver with requests failing. Values for
// which the object monitor has no memory may be missing.
template <class Reader>
void CheckReading(Reader& reader, bool (Reader::*is_valid)() const,
                  const SafeString& text, bool whole, Failing failing,
                  End without_memory) {
  const Account before = Monitor::Now();
  Monitor::TakeLog();
  const auto read = [&] { return reader.fromString(text); };
  Sweep(failing, read, [&](End end, std::size_t, bool failed) {
    const bool object = failed && failing.source == Source::ObjectMonitor;
    Require(Monitor::TakeCalls().find("!#") == std::string::npos,
            "what was finished is released by its owner");
    Require((reader.*is_valid)() == (end == End::Passed), "valid when read");
    Require(end == End::Passed ? whole && IsOf(reader.compress(), text, !object)
            : failed           ? end == End::Nothing || end == without_memory
                               : end == End::Nothing && !whole,
            "how reading ends, and what is read");
    reader.fromString(nullptr);
    Require(Monitor::Now() == before, "reading leaves nothing");
    return false;
  });
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
  JsonArchiver archiver;
  Require(all.fromString(text.get()) == whole, "a reader takes the same");
  const SafeString again = whole ? all.compress() : SafeString(text.get());
  CheckReading(reader, &JsonReader::valid, again, whole, failing, End::Nothing);
  CheckReading(archiver, &JsonArchiver::isValid, again, whole, failing,
               End::Exhausted);
}

}  // namespace support

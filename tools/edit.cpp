// set and remove: only the value, its comma and its comment change.

#include <algorithm>

#include "command.h"
#include "path.h"

using namespace vjson;

namespace {

// Positions in a text, inside a container.

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

const char* BeginOf(const Child& child) {
  return child.key.empty() ? child.value.data() : child.key.data();
}
const char* EndOf(std::string_view part) { return part.data() + part.size(); }
const char* BeforeBlanks(const char* at) {
  while (IsBlank(at[-1])) --at;
  return at;
}
const char* LineEnd(const char* at) {
  while (!IsLineEnd(*at) && *at != '\0') ++at;
  return at;
}

std::size_t Offset(const SafeString& text, const char* at) {
  return static_cast<std::size_t>(at - text.data());
}

// Adding ----------------------------------------------------------------------

// The blanks in front of a child, comment or bracket, and the line break that
// precedes them.
SafeString GapBefore(const char* end) {
  const char* begin = BeforeBlanks(end);
  if (begin[-1] == '\n') --begin;
  if (begin[-1] == '\r') --begin;
  return {begin, end};
}

// The comment with this end, in a container that begins at open and has nothing
// but comments.
const char* LastComment(const char* open, const char* end) {
  while (end != open && !IsLineEnd(end[-1])) --end;
  while (IsBlank(*end)) ++end;
  return end;
}

// The text between a key and its value: as in the last child, if on one line.
SafeString ColonOf(const std::vector<Child>& children) {
  if (children.empty()) return ": ";
  const Child& child = children.back();
  const SafeString colon(EndOf(child.key), child.value.data());
  return colon.find_first_of("/\r\n") == colon.npos ? colon : ": ";
}

// Adds the child behind the last one, indented alike. A comment between the
// last child and the bracket stays in front of the new child, which goes on a
// line of its own then.
void Add(SafeString& text, const std::vector<Child>& children,
         std::string_view container, const SafeString& child) {
  const char* const open = container.data() + 1;
  const char* const close = EndOf(container) - 1;
  const char* end = close;
  while (IsBlank(end[-1]) || IsLineEnd(end[-1])) --end;
  const bool none = children.empty();
  const char* const last = none ? open : EndOf(children.back().value);
  SafeString gap =
      GapBefore(none ? LastComment(open, end) : BeginOf(children.back()));
  const bool line = IsLineEnd(gap[0]);
  if (end != last) {
    if (!line) gap = GapBefore(close) + "    ";
    const std::size_t behind = Offset(text, last);
    text.insert(Offset(text, LineEnd(end)), gap + child);
    if (!none) text.insert(behind, ",");
  } else if (none) {
    text.replace(Offset(text, open), Offset(text, close) - Offset(text, open),
                 child);
  } else {
    if (children.size() == 1 && !line) gap = " ";
    text.insert(Offset(text, last), "," + gap + child);
  }
}

// Sets the value at the path in the text, which is the document's.
void SetValue(SafeString& text, const Document& document, const Path& path,
              const SafeString& value) {
  const auto replace = [&](std::string_view old) {
    text.replace(Offset(text, old.data()), old.size(), value);
  };
  if (path.steps.empty()) return replace(FindValue(document, path));
  const Step& step = path.steps.back();
  const auto container = FindValue(document, path, path.steps.size() - 1);
  const std::vector<Child> children = ChildrenOf(container);
  const std::size_t count = children.size();
  for (std::size_t i = count; i > 0; --i) {
    if (!LeadsTo(step, children[i - 1].key, i - 1)) continue;
    return replace(children[i - 1].value);
  }
  if (container[0] == '{' && !step.key.empty()) {
    Add(text, children, container, step.key + ColonOf(children) + value);
  } else if (container[0] == '[' &&
             (step.index == count || step.index == Step::kBehind)) {
    Add(text, children, container, value);
  } else {
    FindValue(document, path);  // prints why it cannot
  }
}

// Removing --------------------------------------------------------------------

// Removes the child, its comma and the comment behind it, and its lines if they
// are empty then. No child stays behind the last one.
void RemoveChild(SafeString& text, const Child& child, bool last) {
  const char* begin = BeginOf(child);
  const char* const blanks = BeforeBlanks(begin);
  const char* end =
      child.comma == nullptr ? EndOf(child.value) : child.comma + 1;
  while (IsBlank(*end)) ++end;
  if (*end == '/') end = LineEnd(end);
  const bool lines = IsLineEnd(blanks[-1]) && IsLineEnd(*end);
  if (last || IsLineEnd(*end)) begin = blanks;
  if (lines) end += end[0] == '\r' && end[1] == '\n' ? 2 : 1;
  text.erase(Offset(text, begin), static_cast<std::size_t>(end - begin));
}

// Removes the value at the path from the text, which is the document's, and all
// others of its key. The last child that stays loses its comma.
void RemoveValue(SafeString& text, const Document& document, const Path& path) {
  FindValue(document, path);
  const std::vector<Child> children =
      ChildrenOf(FindValue(document, path, path.steps.size() - 1));
  bool last = true;
  for (std::size_t i = children.size(); i-- > 0;) {
    const Child& child = children[i];
    if (LeadsTo(path.steps.back(), child.key, i)) {
      RemoveChild(text, child, last);
    } else {
      if (last && child.comma) text.erase(Offset(text, child.comma), 1);
      last = false;
    }
  }
}

// The commands ----------------------------------------------------------------

// The operand VALUE as a JSON text.
SafeString ValueOf(const char* operand, bool string) {
  if (string) return Quote(operand);
  Input input("VALUE", operand);
  return SafeString(FindValue(LoadDocument(input, kTrouble), Path()));
}

// Changes the text of the file, and writes the text or replaces the file. A
// value may nest too deep for its place.
template <class Change>
void ChangeFile(const Arguments& arguments, Output& output, Change change) {
  const char* const file = arguments.operands[0];
  const bool in_place = arguments.Has("--in-place");
  if (in_place && file == std::string_view("-")) {
    Fail(file, "--in-place needs a file");
  }
  Input input(file);
  Document document = LoadDocument(input);
  SafeString text(document.text);
  document.text = text;
  change(text, document);
  Input changed(file, text);
  LoadDocument(changed);
  if (in_place) {
    Do(file, [&] { return files::Save(files::Follow(file), text, ""), 0; });
  } else {
    output.Write(text);
  }
}

}  // namespace

void vjson::Set(const Arguments& arguments, Output& output) {
  const Path path = ParsePathOrFail(arguments.operands[1]);
  const auto value = ValueOf(arguments.operands[2], arguments.Has("--string"));
  ChangeFile(arguments, output,
             [&](SafeString& text, const Document& document) {
               SetValue(text, document, path, value);
             });
}

void vjson::Remove(const Arguments& arguments, Output& output) {
  const Path path = ParsePathOrFail(arguments.operands[1]);
  if (path.steps.empty()) Fail("remove", "the outermost value has to stay");
  ChangeFile(arguments, output,
             [&](SafeString& text, const Document& document) {
               RemoveValue(text, document, path);
             });
}

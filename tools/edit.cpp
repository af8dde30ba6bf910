// set and remove: only the value, its comma and its comment change.

#include <algorithm>

#include "command.h"
#include "path.h"

using namespace vjson;

namespace {

// Offsets in a text, inside a container.

constexpr std::string_view kBlanks = " \t\v\f";
constexpr std::string_view kLineEnds = "\r\n";

bool IsLineEnd(char c) { return kLineEnds.find(c) != kLineEnds.npos; }

std::size_t BeginOf(const SafeString& text, std::string_view part) {
  return static_cast<std::size_t>(part.data() - text.data());
}
std::size_t EndOf(const SafeString& text, std::string_view part) {
  return BeginOf(text, part) + part.size();
}
std::size_t BeforeBlanks(const SafeString& text, std::size_t at) {
  return text.find_last_not_of(kBlanks, at - 1) + 1;
}
std::size_t LineEnd(const SafeString& text, std::size_t at) {
  return std::min(text.find_first_of(kLineEnds, at), text.size());
}

// Adding ----------------------------------------------------------------------

// The blanks in front of a child, comment or bracket, and the line break that
// precedes them.
SafeString GapBefore(const SafeString& text, std::size_t end) {
  std::size_t begin = BeforeBlanks(text, end);
  if (text[begin - 1] == '\n') --begin;
  if (text[begin - 1] == '\r') --begin;
  return text.substr(begin, end - begin);
}

// Adds the child behind the last one, indented as the last child or comment. If
// comments precede the bracket, the child goes on a line behind them.
void Add(SafeString& text, const std::vector<Child>& children,
         std::string_view container, const SafeString& child) {
  const std::size_t open = BeginOf(text, container) + 1;
  const std::size_t close = EndOf(text, container) - 1;
  const std::size_t end = text.find_last_not_of(" \t\v\f\r\n", close - 1) + 1;
  if (end == open) return text.replace(open, close - open, child), void();
  const bool none = children.empty();
  const std::size_t line = text.find_last_of(kLineEnds, end - 1) + 1;
  SafeString gap = GapBefore(
      text, none ? text.find_first_not_of(kBlanks, std::max(open, line))
                 : BeginOf(text, children.back().item));
  const std::size_t last = none ? open : EndOf(text, children.back().item);
  if (end != last) {
    if (!IsLineEnd(gap[0])) gap = GapBefore(text, close) + "    ";
    text.insert(LineEnd(text, end), gap + child);
    if (!none) text.insert(last, ",");
  } else {
    if (children.size() == 1 && !IsLineEnd(gap[0])) gap = " ";
    text.insert(last, "," + gap + child);
  }
}

// Sets the value at the path in the text, which is the document's.
void SetValue(SafeString& text, const Document& document, const Path& path,
              const SafeString& value) {
  const auto replace = [&](std::string_view old) {
    text.replace(BeginOf(text, old), old.size(), value);
  };
  if (path.steps.empty()) return replace(FindValue(document, path));
  const Step& step = path.steps.back();
  const auto container = FindValue(document, path, path.steps.size() - 1);
  const std::vector<Child> children = ChildrenOf(container);
  const std::size_t count = children.size();
  for (std::size_t i = count; i > 0; --i) {
    if (!step.LeadsTo(children[i - 1].key, i - 1)) continue;
    return replace(children[i - 1].value);
  }
  if (container[0] == '{' && !step.key.empty()) {
    const bool dense =
        count > 0 && text[BeginOf(text, children.back().value) - 1] == ':';
    Add(text, children, container, step.key + (dense ? ":" : ": ") + value);
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
  std::size_t begin = BeginOf(text, child.item);
  const std::size_t blanks = BeforeBlanks(text, begin);
  std::size_t end = text.find_first_not_of(kBlanks, EndOf(text, child.item));
  if (text[end] == '/') end = LineEnd(text, end);
  const bool lines = IsLineEnd(text[blanks - 1]) && IsLineEnd(text[end]);
  if (last || IsLineEnd(text[end])) begin = blanks;
  if (lines) end += text.compare(end, 2, "\r\n") == 0 ? 2 : 1;
  text.erase(begin, end - begin);
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
    if (path.steps.back().LeadsTo(child.key, i)) {
      RemoveChild(text, child, last);
    } else {
      if (last && child.item.back() == ',') {
        text.erase(EndOf(text, child.item) - 1, 1);
      }
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
  ChangeFile(arguments, output, [&](auto& text, const auto& document) {
    SetValue(text, document, path, value);
  });
}

void vjson::Remove(const Arguments& arguments, Output& output) {
  const Path path = ParsePathOrFail(arguments.operands[1]);
  if (path.steps.empty())
    Fail("remove", "the outermost value cannot be removed");
  ChangeFile(arguments, output, [&](auto& text, const auto& document) {
    RemoveValue(text, document, path);
  });
}

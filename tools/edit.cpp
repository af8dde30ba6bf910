// set and remove: all but the value, its comma and its comment stays as it is.

#include <algorithm>

#include "command.h"
#include "path.h"

namespace vjson {

namespace {

// A part of a text, and what replaces it. Several are in their order.
struct Edit {
  std::string_view part;
  SafeString text;
};
using Edits = std::vector<Edit>;

const char* EndOf(std::string_view part) { return part.data() + part.size(); }
std::string_view Part(const char* begin, const char* end) {
  return {begin, static_cast<std::size_t>(end - begin)};
}

SafeString Apply(std::string_view text, const Edits& edits) {
  SafeString result;
  const char* at = text.data();
  for (const Edit& edit : edits) {
    result.append(at, edit.part.data()) += edit.text;
    at = EndOf(edit.part);
  }
  return result.append(at, EndOf(text));
}

// Positions in a text. Some container is around them.

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

const char* BeginOf(const Child& child) {
  return child.key.empty() ? child.value.data() : child.key.data();
}
const char* BeforeBlanks(const char* at) {
  while (IsBlank(at[-1])) --at;
  return at;
}
const char* LineEnd(const char* at) {
  while (!IsLineEnd(*at) && *at != '\0') ++at;
  return at;
}

// Adding ----------------------------------------------------------------------

// What stands in front of a child or comment: its line break and indentation,
// or the blanks behind the comma. A single one may stand on the bracket's line.
SafeString GapBefore(const char* end, bool single) {
  const char* begin = BeforeBlanks(end);
  if (begin[-1] == '\n') --begin;
  if (begin[-1] == '\r') --begin;
  single = single && !IsLineEnd(*begin);
  return single ? SafeString(" ") : SafeString(begin, end);
}

// The comment that ends there, in a container with nothing but comments.
const char* LastComment(const char* open, const char* end) {
  while (end != open && !IsLineEnd(end[-1])) --end;
  while (IsBlank(*end)) ++end;
  return end;
}

// What stands between a key and its value.
SafeString ColonOf(const std::vector<Child>& children) {
  if (children.empty()) return ": ";
  const Child& child = children.back();
  const SafeString colon(EndOf(child.key), child.value.data());
  return colon.find_first_of("/\r\n") == colon.npos ? colon : ": ";
}

// Adds the child behind the last one. Comments between the last one and the
// bracket stay in front of the new child, which is indented as they are where
// there is no other.
Edits Add(const std::vector<Child>& children, std::string_view container,
          const SafeString& child) {
  const char* const close = EndOf(container) - 1;
  const char* end = close;
  while (IsBlank(end[-1]) || IsLineEnd(end[-1])) --end;
  const char* const open = container.data() + 1;
  if (end == open) return {{Part(open, close), child}};
  const bool none = children.empty();
  const SafeString gap =
      GapBefore(none ? LastComment(open, end) : BeginOf(children.back()),
                children.size() < 2);
  const char* const last = none ? open : EndOf(children.back().value);
  if (end == last) return {{Part(last, last), "," + gap + child}};
  const bool line = IsLineEnd(gap[0]);
  end = line ? LineEnd(end) : close;
  return {{Part(last, last), none ? "" : ","},
          {Part(end, end), line ? gap + child : child}};
}

// Removing --------------------------------------------------------------------

// What goes with the child: its comma, and the comment behind it; its lines,
// where nothing else stands on them. What is in front and goes, too, begins at
// the position.
std::string_view Extent(const char* begin, const Child& child, bool last) {
  const char* const blanks = BeforeBlanks(begin);
  const char* end =
      child.comma == nullptr ? EndOf(child.value) : child.comma + 1;
  while (IsBlank(*end)) ++end;
  if (*end == '/') end = LineEnd(end);
  const bool lines = IsLineEnd(blanks[-1]) && IsLineEnd(*end);
  if (last || IsLineEnd(*end)) begin = blanks;
  if (lines) end += end[0] == '\r' && end[1] == '\n' ? 2 : 1;
  return Part(begin, end);
}

// Removes the children that go. The last of those that stay loses its comma if
// none is left behind it.
template <class Goes>
Edits Cut(const std::vector<Child>& children, Goes goes) {
  Edits edits;
  const auto staying =
      std::find_if_not(children.rbegin(), children.rend(), goes);
  const Child* const rest =
      children.data() + (staying.base() - children.begin());
  for (const Child& child : children) {
    const bool last = &child + 1 == rest;
    if (last && child.comma != nullptr) edits.push_back({{child.comma, 1}, ""});
    if (last || !goes(child)) continue;
    const char* begin = BeginOf(child);
    const bool first = edits.empty() || &child == rest;
    if (!first && EndOf(edits.back().part) == begin) {
      begin = edits.back().part.data();
      edits.pop_back();
    }
    edits.push_back({Extent(begin, child, &child >= rest), ""});
  }
  return edits;
}

// The commands ----------------------------------------------------------------

// The text with the value at the path.
SafeString Replace(const Document& document, const Path& path,
                   const SafeString& value) {
  if (path.steps.empty()) {
    return Apply(document.text, {{RootOf(document), value}});
  }
  const Step& step = path.steps.back();
  const auto container = FindValue(document, path, path.steps.size() - 1);
  const std::vector<Child> children = ChildrenOf(container);
  Edits edits;
  if (const Child* const child = FindChild(children, step)) {
    edits = {{child->value, value}};
  } else if (container[0] == '{' && !step.key.empty()) {
    edits = Add(children, container, step.key + ColonOf(children) + value);
  } else if (container[0] == '[' &&
             (step.index == children.size() || step.index == Step::kBehind)) {
    edits = Add(children, container, value);
  } else {
    FindValue(document, path);  // says what is in the way
  }
  return Apply(document.text, edits);
}

// The text without the value at the path, and without any of its key.
SafeString RemoveAll(const Document& document, const Path& path) {
  FindValue(document, path);
  const auto container = FindValue(document, path, path.steps.size() - 1);
  const std::vector<Child> children = ChildrenOf(container);
  const Child* const found = FindChild(children, path.steps.back());
  const bool array = container[0] == '[';
  const SafeString key = array ? SafeString() : Unquote(found->key);
  return Apply(document.text, Cut(children, [&](const Child& child) {
                 return array ? &child == found : Unquote(child.key) == key;
               }));
}

// The value that the operand is, as a JSON text.
SafeString ValueOf(const char* operand, bool string) {
  if (string) return Quote(operand);
  Input input("VALUE", operand);
  try {
    return SafeString(RootOf(LoadDocument(input)));
  } catch (const Failure&) {
    throw Failure{kTrouble};
  }
}

// Changes the text of the file, which is written, or replaces the file. A value
// may nest too deep.
template <class Change>
void ChangeFile(const Arguments& arguments, Output& output, Change change) {
  const char* const file = arguments.operands[0];
  const bool in_place = arguments.Has("--in-place");
  if (in_place && file == std::string_view("-")) {
    Fail(file, "--in-place needs a file");
  }
  Input input(file);
  const SafeString text = change(LoadDocument(input));
  Input changed(file, text);
  CheckText(changed);
  if (in_place) {
    UseFile(file, [&] { files::Save(files::Follow(file), text, ""); });
  } else {
    output.Write(text);
  }
}

}  // namespace

void Set(const Arguments& arguments, Output& output) {
  const Path path = ParsePathOrFail(arguments.operands[1]);
  const auto value = ValueOf(arguments.operands[2], arguments.Has("--string"));
  ChangeFile(arguments, output, [&](const Document& document) {
    return Replace(document, path, value);
  });
}

void Remove(const Arguments& arguments, Output& output) {
  const Path path = ParsePathOrFail(arguments.operands[1]);
  if (path.steps.empty()) Fail("remove", "the outermost value has to stay");
  ChangeFile(arguments, output, [&](const Document& document) {
    return RemoveAll(document, path);
  });
}

}  // namespace vjson

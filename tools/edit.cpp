// set and remove: all but the value, its comma and its comment stays as it is.

#include <algorithm>
#include <cstring>

#include <foundation/json/files.h>

#include "command.h"
#include "document.h"
#include "scanner.h"

namespace vjson {

using namespace vorn::foundation::json;

namespace {

// Parts of a text that are replaced, in their order.
struct Edit {
  const char* begin;
  const char* end;
  SafeString text;
};
using Edits = std::vector<Edit>;

SafeString Apply(const SafeString& text, const Edits& edits) {
  SafeString result;
  const char* at = text.data();
  for (const Edit& edit : edits) {
    result.append(at, edit.begin) += edit.text;
    at = edit.end;
  }
  return result.append(at, text.data() + text.size());
}

// Positions in a text. Some container is around them.

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\v' || c == '\f'; }
bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

const char* EndOf(std::string_view part) { return part.data() + part.size(); }
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

// What stands in front of the last child: its line break and indentation, or
// the blanks behind the comma.
SafeString GapBefore(const std::vector<Child>& children) {
  const char* const end = BeginOf(children.back());
  const char* begin = BeforeBlanks(end);
  if (begin[-1] == '\n') --begin;
  if (begin[-1] == '\r') --begin;
  const bool single = children.size() == 1 && !IsLineEnd(*begin);
  return single ? SafeString(" ") : SafeString(begin, end);
}

// What stands between a key and its value.
SafeString ColonOf(const std::vector<Child>& children) {
  if (children.empty()) return ": ";
  const Child& child = children.back();
  const SafeString colon(EndOf(child.key), child.value.data());
  return colon.find_first_of("/\r\n") == colon.npos ? colon : ": ";
}

// Adds the child behind the last one. Comments between the last one and the
// bracket stay in front of the new child.
Edits Add(const std::vector<Child>& children, std::string_view container,
          const SafeString& child) {
  const char* const close = EndOf(container) - 1;
  const char* end = close;
  while (IsBlank(end[-1]) || IsLineEnd(end[-1])) --end;
  if (children.empty()) {
    const bool blank = end == container.data() + 1;
    return {{blank ? end : close, close, child}};
  }
  const SafeString gap = GapBefore(children);
  const char* const last = EndOf(children.back().value);
  if (end == last) return {{last, last, "," + gap + child}};
  const bool line = !gap.empty() && IsLineEnd(gap[0]);
  if (!line) return {{last, last, ","}, {close, close, child}};
  end = LineEnd(end);
  return {{last, last, ","}, {end, end, gap + child}};
}

// Removing --------------------------------------------------------------------

// Removes the child with its comma, and the comment behind it; its lines, where
// nothing else stands on them. The last child takes the comma before it along.
Edits Cut(const std::vector<Child>& children, const Child& child) {
  Edits edits;
  const bool last = child.comma == nullptr;
  const char* begin = BeginOf(child);
  const char* blanks = BeforeBlanks(begin);
  if (last && &child != &children.front()) {
    const char* const comma = (&child)[-1].comma;
    edits.push_back({comma, comma + 1, ""});
  }
  const char* end = last ? EndOf(child.value) : child.comma + 1;
  while (IsBlank(*end)) ++end;
  if (*end == '/') end = LineEnd(end);
  const bool lines = IsLineEnd(blanks[-1]) && IsLineEnd(*end);
  if (last || IsLineEnd(*end)) begin = blanks;
  if (lines) end += end[0] == '\r' && end[1] == '\n' ? 2 : 1;
  edits.push_back({begin, end, ""});
  return edits;
}

// The commands ----------------------------------------------------------------

// The parent of the value at the path, with its children.
struct Parent {
  std::string_view value;
  std::vector<Child> children;
  const Child* child = nullptr;
};

// The value has no data, after a message, where there is no parent.
Parent ParentOf(const Document& document, const Path& path) {
  Parent parent;
  parent.value = FindValue(document, path, path.steps.size() - 1);
  if (parent.value.data() == nullptr) return parent;
  parent.children = ChildrenOf(document, parent.value);
  parent.child = FindChild(parent.children, parent.value, path.steps.back());
  return parent;
}

bool Replace(Document& document, const Path& path, const SafeString& value) {
  if (path.steps.empty()) {
    const std::string_view root = RootOf(document);
    document.text = Apply(document.text, {{root.data(), EndOf(root), value}});
    return true;
  }
  const Parent parent = ParentOf(document, path);
  const Step& step = path.steps.back();
  if (parent.value.data() == nullptr) return false;
  Edits edits;
  if (parent.child != nullptr) {
    const std::string_view old = parent.child->value;
    edits = {{old.data(), EndOf(old), value}};
  } else if (parent.value[0] == '{' && step.by_key) {
    edits = Add(parent.children, parent.value,
                step.quoted + ColonOf(parent.children) + value);
  } else if (parent.value[0] == '[' && (step.index == parent.children.size() ||
                                        step.index == Step::kBehind)) {
    edits = Add(parent.children, parent.value, value);
  } else {
    FindValue(document, path, path.steps.size());
    return false;
  }
  document.text = Apply(document.text, edits);
  return true;
}

// Removes all members of a key that stands there several times.
bool RemoveAll(Document& document, const Path& path) {
  if (FindValue(document, path, path.steps.size()).data() == nullptr) {
    return false;
  }
  Parent parent = ParentOf(document, path);
  do {
    document.text = Apply(document.text, Cut(parent.children, *parent.child));
    parent = ParentOf(document, path);
  } while (parent.value[0] == '{' && parent.child != nullptr);
  return true;
}

// The value that the operand is, as a JSON text.
SafeString ValueOf(const char* operand, bool string) {
  if (string) return Quote(operand);
  const Document document{"VALUE", operand};
  Input input("VALUE", document.text);
  if (!CheckText(input)) throw Failure{kTrouble};
  return SafeString(RootOf(document));
}

// Writes the text, or replaces the file by it. The value may nest too deep.
Status Save(const char* file, const SafeString& text, bool in_place,
            Output& output) {
  Input input(file, text);
  if (!CheckText(input)) return kNo;
  if (!in_place) {
    output.Write(text);
    return kYes;
  }
  FileFault fault;
  const bool saved = files::Try(fault, "write", [&] {
    files::Save(files::Follow(file), text, "");
    return true;
  });
  if (!saved) Fail(file, std::strerror(fault.error));
  return kYes;
}

// Changes the document of the file as the function says.
Status ChangeFile(const char* file, bool in_place, Output& output,
                  const std::function<bool(Document&)>& change) {
  if (in_place && IsStandardInput(file)) Fail(file, "--in-place needs a file");
  Document document = LoadDocumentOrFail(file);
  if (!change(document)) return kNo;
  return Save(file, document.text, in_place, output);
}

}  // namespace

Status Set(const Arguments& arguments, Output& output) {
  const auto operand = arguments.operands.end() - 2;
  const Path path = ParsePathOrFail(operand[0]);
  const SafeString value = ValueOf(operand[1], arguments.Has(kAsString));
  return ChangeFile(arguments.operands.size() > 2 ? arguments.operands[0] : "-",
                    arguments.Has(kInPlace), output, [&](Document& document) {
                      return Replace(document, path, value);
                    });
}

Status Remove(const Arguments& arguments, Output& output) {
  const Path path = ParsePathOrFail(arguments.operands.back());
  if (path.steps.empty()) Fail("remove", "the outermost value has to stay");
  return ChangeFile(arguments.operands.size() > 1 ? arguments.operands[0] : "-",
                    arguments.Has(kInPlace), output, [&](Document& document) {
                      return RemoveAll(document, path);
                    });
}

}  // namespace vjson

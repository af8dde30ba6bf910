#pragma once

#include <cstddef>
#include <functional>
#include <string_view>
#include <vector>

#include <foundation/json/jbase.h>

#include "input.h"
#include "path.h"

namespace vjson {

using vorn::foundation::json::JBase;

// A well-formed text, and how errors name it.
struct Document {
  SafeString subject;
  SafeString text;
};

// Reads the input. Prints the fault of malformed text, and returns false.
bool LoadDocument(Input& input, Document& document);

// Calls the work with the document of the file, or of each of its lines, as
// ForEachText() does. The status of malformed text is kNo.
Status ForEachDocument(const char* file, bool lines,
                       const std::function<Status(const Document&)>& work);

// Reads the file. Malformed text ends the command.
Document LoadDocumentOrFail(const char* file);

// The tree of the document. The caller owns it.
JBase* LoadTree(const Document& document);

// Values in a text are views of it.

// A child of an array, which has no key, or of an object.
struct Child {
  std::string_view key;  // as it stands in the text
  std::string_view value;
  const char* comma;  // the one behind it; null if there is none
};

std::string_view RootOf(const Document& document);

std::vector<Child> ChildrenOf(const Document& document,
                              std::string_view container);

// The child of the container, one of these, that the step leads to, the last
// one of its key; null if there is none.
const Child* FindChild(const std::vector<Child>& children,
                       std::string_view container, const Step& step);

// The value that the first steps of the path lead to, so many. Where there is
// none, prints why and returns a view without data.
std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps);

// Prints what is in the way at the path.
void PrintMissing(const Document& document, std::string_view path,
                  const SafeString& message);

// The name of the value's kind.
const char* KindOf(std::string_view value);

}  // namespace vjson

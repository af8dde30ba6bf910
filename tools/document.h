#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include <foundation/json/jbase.h>

#include "input.h"
#include "path.h"

namespace vjson {

// A well-formed text, which is lent, and how errors name it.
struct Document {
  SafeString subject;
  std::string_view text;
};

// Reads the input, which lends the text. Malformed text ends the command.
Document LoadDocument(Input& input);

// The tree of the document. The caller owns it.
vorn::foundation::json::JBase* LoadTree(const Document& document);

// Values in a text are views of it.

// A child of an array, which has no key, or of an object.
struct Child {
  std::string_view key;  // as it stands in the text
  std::string_view value;
  const char* comma;  // the one behind it; null if there is none
};

std::string_view RootOf(const Document& document);

// None of a value that is no container.
std::vector<Child> ChildrenOf(std::string_view value);

// The child of the container, one of these, that the step leads to, the last
// one of its key; null if there is none.
const Child* FindChild(const std::vector<Child>& children, const Step& step);

// The value that the first steps of the path lead to, so many. If there is
// none, prints why and ends the command.
std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps);
std::string_view FindValue(const Document& document, const Path& path);

// Prints what is in the way at the path, and ends the command.
[[noreturn]] void FailAt(const Document& document, std::string_view path,
                         const SafeString& message);

// The name of the value's kind.
const char* KindOf(std::string_view value);

}  // namespace vjson

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "scanner.h"

namespace vjson {

// Paths: the names of the values of a text. The outermost value has the empty
// path. A path that begins with "/" is a JSON Pointer (RFC 6901), any other is
//
//   path = [ ( name / index / key ) *( "." name / index / key ) ]
//   name = 1*( any character but "." "[" "]" )
//   index = "[" integer "]"
//   key = "[" string "]"

// A step of a path: to a key, to an index, or, in a JSON Pointer, to either.
struct Step {
  static constexpr std::size_t kNoIndex = static_cast<std::size_t>(-1);
  static constexpr std::size_t kBehind = kNoIndex - 1;  // the end of an array

  SafeString key;  // as a string in quotes; empty for none
  std::size_t index = kNoIndex;
  SafeString name{};    // the text of the key
  std::size_t end = 0;  // of the step in the path

  // Whether the step leads to the child with this key, if it has one, or
  // number.
  bool LeadsTo(std::string_view child, std::size_t number) const {
    if (child.empty()) return index == number;
    return !key.empty() && Unquote(child) == name;
  }
};

struct Path {
  std::string_view text;
  std::vector<Step> steps;
};

// Throws the JsonFault of a text that is no path. REQUIRES: nothing is read
// yet.
Path ParsePath(Input& input);

// The same; prints the fault and ends the command.
Path ParsePathOrFail(const char* text);

// The step to a child in a JSON Pointer, by its key or index.
SafeString PointerText(std::string_view key);

// Values in a text are views of the text. A child of an array has no key.
struct Child {
  std::string_view key;  // as it stands in the text
  std::string_view value;
  std::string_view item;  // from the key or value to the comma, if there is one
};

// The children of a container; none of another value.
std::vector<Child> ChildrenOf(std::string_view value);

// The value that the path, or its first steps, lead to; of a repeated key the
// last one. If there is none, prints why and ends the command.
std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps = Step::kNoIndex);

// Prints the error for the path, and ends the command.
[[noreturn]] void FailAt(const Document& document, std::string_view path,
                         const SafeString& message);

// The width of a value in a message.
inline constexpr std::size_t kBrief = 30;

}  // namespace vjson

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "scanner.h"

namespace vjson {

// Paths: the names of the values of a text. The outermost value has the empty
// one. A path that begins with "/" is a JSON Pointer (RFC 6901), any other is
//
//   path = [ ( name / index / key ) *( "." name / index / key ) ]
//   name = 1*( any character but "." "[" "]" )
//   index = "[" 1*DIGIT "]"
//   key = "[" string "]"

// A step of a path, to a key or an index, or to either where only the value
// tells.
struct Step {
  static constexpr std::size_t kNoIndex = static_cast<std::size_t>(-1);
  static constexpr std::size_t kBehind = kNoIndex - 1;  // the end of an array

  SafeString key;  // as a string in quotes; empty for none
  std::size_t index;
  std::size_t end = 0;  // in the path
};

// Where and why a text is no path.
struct PathFault {
  std::size_t at;
  const char* message;
};

struct Path {
  std::string_view text;
  std::vector<Step> steps;
};

// Throws PathFault.
Path ParsePath(std::string_view text);

// The same; prints the fault and ends the command.
Path ParsePathOrFail(const char* text);

// What leads from a value to its child in a JSON Pointer.
SafeString PointerText(std::string_view key);
SafeString PointerText(std::size_t index);

// Values in a text are views of it. A child of an array has no key.
struct Child {
  std::string_view key;  // as it stands in the text
  std::string_view value;
  const char* comma;  // the one behind it; null if there is none
};

// The outermost value.
std::string_view RootOf(const Document& document);

// None of a value that is no container.
std::vector<Child> ChildrenOf(std::string_view value);

// The child that the step leads to, the last one of its key; null if there is
// none.
const Child* FindChild(const std::vector<Child>& children, const Step& step);

// The value that the path leads to, or its first steps, so many. If there is
// none, prints why and ends the command.
std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps = Step::kNoIndex);

// Prints what is in the way at the path, and ends the command.
[[noreturn]] void FailAt(const Document& document, std::string_view path,
                         const SafeString& message);

// The value as messages show it.
SafeString Brief(std::string_view value);

}  // namespace vjson

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "report.h"
#include "text.h"

namespace vjson {

// Paths: the names of the values of a text. The outermost value has the empty
// one. A path that begins with "/" is a JSON Pointer (RFC 6901), any other is
//
//   path = [ ( name / index / key ) *( "." name / index / key ) ]
//   name = 1*( any character but "." "[" "]" )
//   index = "[" 1*DIGIT "]"
//   key = "[" string "]"

// A step of a path: by key or by index, or by either where only the value
// tells, and where it ends in the path.
struct Step {
  static constexpr std::size_t kNoIndex = static_cast<std::size_t>(-1);
  static constexpr std::size_t kBehind = kNoIndex - 1;  // the end of an array

  bool by_key;
  SafeString key;
  SafeString quoted;  // the key as a string
  std::size_t index;
  std::size_t end;
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

}  // namespace vjson

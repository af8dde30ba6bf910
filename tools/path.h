#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vjson {

// Paths: the names of the values of a tree, such as a.b[2]["odd key"]; the root
// has the empty one.
//
//   path = [ ( name / index / key ) *( "." name / index / key ) ]
//   name = 1*( any character but "." "[" "]" )
//   index = "[" 1*DIGIT "]"
//   key = "[" string "]"

using vorn::foundation::SafeString;
using vorn::foundation::json::JBase;

// A place in a tree: a step, by key or by index, from the place above. The root
// has none above.
struct Place {
  const Place* above = nullptr;
  const SafeString* key = nullptr;
  unsigned int index = 0;
};

SafeString PathOf(const Place& place);

// The text as a string in the dialect, and what such a string stands for.
SafeString Quoted(const SafeString& text);
SafeString Unquoted(std::string_view quoted);

// A key as it stands in a path: as it is where it looks like a name in a
// program, else quoted.
SafeString KeyText(const SafeString& key);

// A step of a path, by key or by index, and where it ends in the path.
struct Step {
  bool by_key;
  SafeString key;
  unsigned int index;
  std::size_t end;
};

// Where and why a text is no path.
struct PathFault {
  std::size_t at;
  const char* message;
};

// The steps of a path. Throws PathFault.
std::vector<Step> StepsOf(std::string_view path);

// The value that the step leads to, which the tree keeps; null if there is
// none.
const JBase* Follow(const JBase& value, const Step& step);

// Why there is none.
SafeString WhyNot(const JBase& value, const Step& step);

// The name of the value's kind.
const char* KindOf(const JBase& value);

}  // namespace vjson

#pragma once

#include <sstream>
#include <string>

#include <foundation/debug/allocator.h>
#include <foundation/json/jtype.h>

namespace vorn::foundation::json {

// Where a value tree writes its text, and in which layout. Every value writes
// itself with toString(Context&) into the stream; containers raise depth while
// their children write themselves, and leave it as they found it.
//
// A value class of your own finds there all that was written so far, and may do
// whatever a string stream allows.
//
// The stream throws when it cannot take a text, so that exhausted memory is
// never passed over.
class __attribute__((visibility("default"))) Context {
 public:
  explicit Context(bool compressed = false) : compress(compressed) {
    stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  }

  // Collects the text.
  std::basic_ostringstream<char, std::char_traits<char>, debug::Allocator<char>>
      stream;

  // What indentation is made of, four for each level.
  char indentChar = ' ';

  // How many containers are open around the value that is being written.
  int depth = 0;

  // Whether the text is a single line without blanks.
  bool compress;
};

}  // namespace vorn::foundation::json

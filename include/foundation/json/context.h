#pragma once

#include <sstream>
#include <string>

#include <foundation/debug/allocator.h>
#include <foundation/json/jtype.h>

namespace vorn::foundation::json {

/// The stream that a tree writes its text to, and the layout of the text. Every
/// value writes itself with toString(Context&). A container raises depth while
/// its children write themselves, and restores it.
///
/// A value class of your own may use the stream like any string stream. The
/// stream has all text written so far.
///
/// The stream throws if a write fails, so exhausted memory is not missed.
class __attribute__((visibility("default"))) Context {
 public:
  explicit Context(bool compressed = false) : compress(compressed) {
    stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  }

  /// Collects the text.
  std::basic_ostringstream<char, std::char_traits<char>, debug::Allocator<char>>
      stream;

  /// The character of the indentation, four for each level.
  char indentChar = ' ';

  /// The number of containers around the value that is being written.
  int depth = 0;

  /// Whether the text is a single line without blanks.
  bool compress;
};

}  // namespace vorn::foundation::json

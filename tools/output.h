#pragma once

#include <string_view>

#include "text.h"

namespace vjson {

// Writes to a file through a buffer. A file or pipe takes the exact bytes; a
// terminal, and whoever asked for colours, takes the text as it is shown, with
// its line ends. Errors end the command.
class Output {
 public:
  Output(int file, bool colors);
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // The colour is one of a terminal's codes. REQUIRES: the text has whole
  // characters, or what follows does not continue its last one.
  void Write(std::string_view text, const char* color = "");
  void WriteLine(std::string_view text);

  // Writes what is in the buffer.
  void Flush();

 private:
  const int file_;
  const bool colors_;
  const bool terminal_;
  SafeString buffer_, written_;
};

}  // namespace vjson

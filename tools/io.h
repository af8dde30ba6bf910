#pragma once

#include <unistd.h>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "report.h"
#include "text.h"

namespace vjson {

// Reads a file, "-" for standard input, or a text in memory. A file is read
// through a window, which grows for a token that does not fit. The byte at the
// cursor is a NUL at the end of the input. Errors end the command.
class Input {
 public:
  static constexpr std::size_t kWindow = 65'536;

  // REQUIRES: the name outlives the input; the window has 256 bytes or more.
  explicit Input(const char* name, std::size_t window = kWindow);

  // A text in memory; if line is not 0, that line of the file. REQUIRES: a NUL
  // follows the text, unless its end is not read; the text outlives the input.
  Input(const char* name, std::string_view text, std::uint64_t line = 0);

  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;
  ~Input();

  std::uint64_t line() const { return line_; }

  // The subject of errors: the file, and the line if the text is one.
  SafeString Subject() const {
    return SafeString(name_).append(line_ == 0 ? ""
                                               : ":" + std::to_string(line_));
  }

  char Peek() {
    if (data_[at_] == '\0' && at_ == end_) Fill();
    return data_[at_];
  }
  bool AtEnd() { return Peek() == '\0' && at_ == end_; }

  // REQUIRES: the next count bytes have been looked at.
  void Skip(std::size_t count = 1) { at_ += count; }

  // Skips the bytes that the predicate holds for. REQUIRES: not for a NUL.
  template <class Predicate>
  void SkipWhile(Predicate holds) {
    do {
      std::size_t at = at_;
      while (holds(data_[at])) ++at;
      at_ = at;
    } while (at_ == end_ && Fill());
  }

  // The token reaches from here to the cursor, and stays in the window until
  // the next call. DropToken() keeps none; Unread() returns to its beginning.
  void BeginToken() { token_ = at_; }
  void DropToken() { token_ = kNone; }
  void Unread() { at_ = token_; }
  std::string_view Token() const { return {data_ + token_, at_ - token_}; }

  // Begins a token. Returns the next bytes, at most count, and skips nothing.
  std::string_view Ahead(std::size_t count) {
    BeginToken();
    Need(count);
    return std::string_view(data_, end_).substr(at_, count);
  }
  bool StartsWith(std::string_view word) { return Ahead(word.size()) == word; }

  // Whether the text can be read twice: the input can seek, or the text fits
  // into the window. REQUIRES: nothing is skipped yet.
  bool CanReadTwice();

  // Returns to the beginning of the text; false if that is gone.
  bool Rewind();

  // The next line, without its line feed; false at the end. A NUL follows the
  // line, which is valid until the next call.
  bool ReadLine(std::string_view& line);

  // The whole text, or its part in front of the first NUL, and skips nothing.
  // Valid as long as the input. REQUIRES: nothing is read yet.
  std::string_view ReadAll();

  // The offset of the cursor, and the place of an offset. REQUIRES: the offset
  // is in the token or at the cursor, and not below the one of the last call.
  std::uint64_t Offset() const { return base_ + at_; }
  Position PositionOf(std::uint64_t offset);
  Place PlaceOf(std::uint64_t offset);

 private:
  bool Fill();
  void MoveWindow();
  void Need(std::size_t count) {
    while (end_ - at_ < count && Fill()) {
    }
  }

  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  const char* const name_;
  const std::uint64_t line_;
  int file_ = -1;         // none for a text in memory
  off_t start_ = -1;      // of the text in a file that can seek
  std::size_t size_ = 0;  // of a regular file
  bool ended_ = true;     // the window ends where the input does
  SafeString buffer_;
  const char* data_;                              // of the window
  std::uint64_t base_ = 0;                        // the offset of the window
  std::size_t at_ = 0, end_ = 0, token_ = kNone;  // in the window
  std::uint64_t known_ = 0;  // the offset of the last position
  Position position_{1, 1};  // the last position
};

// Calls the work with the input of a file; with lines, instead with each line
// that is not blank, and goes on behind an error.
void ForEachText(const char* file, bool lines,
                 const std::function<void(Input&)>& work);

// Writes to a file through a buffer. A file or pipe takes the exact bytes; a
// terminal, and any file with colours, takes the text as it is shown, with its
// line ends. Errors end the command.
class Output {
 public:
  Output(int file, bool colors)
      : file_(file), colors_(colors), terminal_(colors || isatty(file) != 0) {}
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  // The colour is one of a terminal's codes. REQUIRES: the text has whole
  // characters, or the next text does not continue its last one.
  void Write(std::string_view text, const char* color = "");
  void WriteLine(std::string_view text);

  // Writes the buffer.
  void Flush();

 private:
  const int file_;
  const bool colors_;
  const bool terminal_;
  SafeString buffer_, written_;
};

}  // namespace vjson

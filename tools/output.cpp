#include "output.h"

#include <unistd.h>

#include "report.h"

namespace vjson {

namespace {

constexpr std::size_t kBlock = 65'536;

}  // namespace

Output::Output(int file, bool colors)
    : file_(file), colors_(colors), terminal_(colors || isatty(file) != 0) {
  buffer_.reserve(kBlock);
}

void Output::Write(std::string_view text, const char* color) {
  const bool colored = colors_ && *color != '\0';
  if (colored) (buffer_.append("\033[") += color) += 'm';
  if (terminal_) {
    buffer_ += Mask(text, true);
  } else {
    buffer_ += text;
  }
  if (colored) buffer_ += "\033[0m";
  if (buffer_.size() >= kBlock) Flush();
}

void Output::WriteLine(std::string_view text) {
  Write(text);
  Write("\n");
  if (terminal_) Flush();
}

void Output::Flush() {
  if (terminal_ && !buffer_.empty()) EndProgress();
  written_.clear();
  written_.swap(buffer_);
  UseFile("standard output", [this] { files::Write(file_, written_); });
}

}  // namespace vjson

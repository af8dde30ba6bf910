#include "output.h"

#include <unistd.h>
#include <cerrno>
#include <cstdarg>
#include <cstring>

#include "report.h"

namespace vjson {

namespace {

constexpr std::size_t kBlock = 65'536;
constexpr const char* kStart[] = {"", "\033[1;34m", "\033[32m", "\033[36m",
                                  "\033[90m"};

}  // namespace

Output::Output(int file, bool colors)
    : file_(file), colors_(colors), terminal_(colors || isatty(file) != 0) {
  buffer_.reserve(kBlock);
}

void Output::Write(std::string_view text, Color color) {
  const bool colored = colors_ && color != kPlain;
  if (colored) buffer_ += kStart[color];
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

void Output::Print(const char* format, ...) {
  char text[512];
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  Write(text);
}

void Output::Flush() {
  std::string_view left = buffer_;
  if (terminal_ && !left.empty()) EndProgress();
  while (!left.empty()) {
    const ssize_t count = write(file_, left.data(), left.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) {
      const int error = errno;
      buffer_.clear();
      Fail("standard output", std::strerror(error));
    }
    left.remove_prefix(static_cast<std::size_t>(count));
  }
  buffer_.clear();
}

}  // namespace vjson

#include "io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <algorithm>

using namespace vjson;

namespace {

constexpr std::size_t kAround = 128;  // bytes kept on both sides of a place
constexpr std::size_t kBlock = 65'536;
constexpr std::size_t kLongestLine = 100'000'000;

}  // namespace

// The window ------------------------------------------------------------------

Input::Input(const char* name, std::size_t window)
    : name_(name), line_(0), ended_(false), buffer_(window, '\0') {
  struct stat status;
  const bool standard = name == std::string_view("-");
  file_ = standard ? STDIN_FILENO
                   : Do(name, [&] { return open(name, O_RDONLY | O_CLOEXEC); });
  Do(name, [&] { return fstat(file_, &status); });
  start_ = lseek(file_, 0, SEEK_CUR);
  if (S_ISREG(status.st_mode)) size_ = static_cast<std::size_t>(status.st_size);
  data_ = buffer_.data();
}

Input::Input(const char* name, std::string_view text, std::uint64_t line)
    : name_(name), line_(line), data_(text.data()), end_(text.size()) {
  Rewind();
}

Input::~Input() {
  if (size_ > 0) ClearProgress();
  if (file_ > STDIN_FILENO) close(file_);
}

// Makes room in a full window: removes the bytes in front of the token, except
// for those that an excerpt needs, and doubles a window that stays half full.
void Input::MoveWindow() {
  const std::size_t keep = std::min(token_, at_);
  const std::size_t gone = keep - std::min(kAround, keep);
  if (base_ + gone > known_) PositionOf(base_ + gone);
  std::copy(data_ + gone, data_ + end_, buffer_.data());
  if (gone < buffer_.size() / 2) buffer_.resize(buffer_.size() * 2);
  data_ = buffer_.data();
  base_ += gone;
  at_ -= gone;
  end_ -= gone;
  if (token_ != kNone) token_ -= gone;
}

// Reads more; false at the end of the input.
bool Input::Fill() {
  constexpr std::size_t kLarge = 10'000'000;
  if (ended_) return false;
  if (end_ == buffer_.size()) MoveWindow();
  const auto count = Do(name_, [this] {
    return read(file_, &buffer_[end_], buffer_.size() - end_);
  });
  const std::uint64_t before = base_ + end_;
  ended_ = count == 0;
  end_ += static_cast<std::size_t>(count);
  buffer_[end_] = '\0';
  if (size_ > kLarge && (base_ + end_) >> 20 != before >> 20) {
    ShowProgress(base_ + end_, size_);
  }
  return !ended_;
}

bool Input::CanReadTwice() {
  if (start_ >= 0) return true;
  Ahead(buffer_.size());
  return ended_;
}

bool Input::Rewind() {
  if (base_ != 0) {
    if (start_ < 0 || lseek(file_, start_, SEEK_SET) < 0) return false;
    ended_ = false;
    base_ = end_ = 0;
    buffer_[0] = '\0';
  }
  at_ = 0;
  token_ = kNone;
  known_ = 0;
  position_ = {std::max<std::uint64_t>(line_, 1), 1};
  return true;
}

// Whole texts and lines -------------------------------------------------------

bool Input::ReadLine(std::string_view& line) {
  if (AtEnd()) return false;
  BeginToken();
  do {
    at_ = std::min(std::string_view(data_, end_).find('\n', at_), end_);
    line = Token();
    if (line.size() > kLongestLine) {
      Fail(name_, "a line is longer than 100 MB");
    }
  } while (at_ == end_ && Fill());
  buffer_[at_] = '\0';
  if (at_ != end_) ++at_;
  return true;
}

std::string_view Input::ReadAll() {
  if (file_ >= 0) {
    buffer_.resize(size_ + kWindow);
    data_ = buffer_.data();
  }
  BeginToken();
  SkipWhile([](char byte) { return byte != '\0'; });
  const std::string_view text = Token();
  Unread();
  return text;
}

void vjson::ForEachText(const char* file, bool lines,
                        const std::function<void(Input&)>& work) {
  Input input(file);
  if (!lines) return work(input);
  std::string_view line;
  for (std::uint64_t number = 1; input.ReadLine(line); ++number) {
    if (line.find_first_not_of(" \t\v\f\r") == line.npos) continue;
    Input text(file, line, number);
    Try([&] { work(text); });
  }
}

// Places ----------------------------------------------------------------------

// A carriage return ends its line unless a line feed follows. Text without
// carriage returns is counted by std::count(), which the compiler vectorizes.
Position Input::PositionOf(std::uint64_t offset) {
  const char* const begin = data_ + (known_ - base_);
  const char* const end = data_ + (offset - base_);
  const auto ends_line = [](const char& c) {
    return c == '\n' || (c == '\r' && (&c)[1] != '\n');
  };
  const char* line = end;
  while (line != begin && !ends_line(line[-1])) --line;
  if (line != begin) position_.column = 1;
  position_.column += static_cast<std::uint64_t>(end - line);
  const auto lines = std::find(begin, end, '\r') == end
                         ? std::count(begin, end, '\n')
                         : std::count_if(begin, end, ends_line);
  position_.line += static_cast<std::uint64_t>(lines);
  known_ = offset;
  return position_;
}

Place Input::PlaceOf(std::uint64_t offset) {
  Need(kAround);
  offset = std::min(offset, base_ + end_);  // of a file that has shrunk
  const Position position = PositionOf(offset);
  const auto at = static_cast<std::size_t>(offset - base_);
  const auto before = static_cast<std::size_t>(
      std::min<std::uint64_t>({kAround, at, position.column - 1}));
  const std::string_view window(data_, std::min(end_, at + kAround));
  const std::size_t end =
      std::min(window.find_first_of("\r\n", at), window.size());
  return {name_, position, window.substr(at - before, end - at + before),
          before};
}

// Output ----------------------------------------------------------------------

void Output::Write(std::string_view text, const char* color) {
  const bool colored = colors_ && *color != '\0';
  if (colored) (buffer_.append("\033[") += color) += 'm';
  if (terminal_) {
    buffer_ += Mask(text, Mark::kQuestionInLines);
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
  if (terminal_ && !buffer_.empty()) ClearProgress(true);
  written_.clear();
  written_.swap(buffer_);
  Do("standard output", [&] { return files::Write(file_, written_), 0; });
}

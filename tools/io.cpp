#include "io.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <algorithm>
#include <cinttypes>

namespace vjson {

using vorn::foundation::text::StringUtils;

namespace {

constexpr std::size_t kAround = 128;  // bytes kept on both sides of a place
constexpr std::size_t kBlock = 65'536;

}  // namespace

// The window ------------------------------------------------------------------

Input::Input(const char* name, std::size_t window)
    : name_(name), line_(0), ended_(false), buffer_(window, '\0') {
  begin_ = end_ = at_ = buffer_.data();
  struct stat status;
  UseFile(name, [&] {
    file_ = name == std::string_view("-")
                ? STDIN_FILENO
                : files::Do("open", [name] {
                    return open(name, O_RDONLY | O_CLOEXEC);
                  });
    files::Do("open", [&] { return fstat(file_, &status); });
  });
  start_ = lseek(file_, 0, SEEK_CUR);
  if (!S_ISREG(status.st_mode) || start_ < 0) return;
  constexpr std::size_t kLarge = 10'000'000;
  regular_ = true;
  size_ = static_cast<std::size_t>(status.st_size);
  progress_ = size_ > kLarge && isatty(STDERR_FILENO) != 0;
}

Input::Input(const char* name, std::string_view text, std::uint64_t line)
    : name_(name),
      line_(line),
      begin_(text.data()),
      end_(begin_ + text.size()),
      at_(begin_) {
  Rewind();
}

Input::~Input() {
  if (progress_) ClearProgress();
  if (file_ > STDIN_FILENO) close(file_);
}

SafeString Input::Subject() const {
  if (line_ == 0) return name_;
  return StringUtils::_InternalFormat("%s:%" PRIu64, name_, line_);
}

// Makes room in a full window: gives up what is in front of the token, except
// for what an excerpt needs, and doubles the window where that is little.
void Input::MoveWindow() {
  const char* const keep = token_ != nullptr ? token_ : at_;
  const char* const from =
      keep - std::min<std::ptrdiff_t>(kAround, keep - begin_);
  if (OffsetOf(from) > known_) PositionOf(OffsetOf(from));
  base_ = OffsetOf(from);
  const auto gone = static_cast<std::size_t>(from - begin_);
  const auto size = end_ - from, cursor = at_ - from, token = keep - from;
  std::copy(from, end_, buffer_.data());
  if (gone < buffer_.size() / 2) buffer_.resize(buffer_.size() * 2);
  begin_ = buffer_.data();
  end_ = begin_ + size;
  at_ = begin_ + cursor;
  if (token_ != nullptr) token_ = begin_ + token;
}

// Reads more; false at the end of the input.
bool Input::Fill() {
  if (ended_) return false;
  if (end_ == buffer_.data() + buffer_.size()) MoveWindow();
  const auto used = static_cast<std::size_t>(end_ - begin_);
  const auto count = UseFile(name_, [&] {
    return files::Do("read", [&] {
      return read(file_, buffer_.data() + used, buffer_.size() - used);
    });
  });
  ended_ = count == 0;
  end_ += count;
  buffer_[static_cast<std::size_t>(end_ - begin_)] = '\0';
  const std::uint64_t done = OffsetOf(end_);
  if (progress_ && done >> 20 != (base_ + used) >> 20) {
    ShowProgress(name_, done, size_);
  }
  return !ended_;
}

void Input::Need(std::size_t count) {
  while (static_cast<std::size_t>(end_ - at_) < count && Fill()) {
  }
}

bool Input::StartsWith(std::string_view word) {
  Need(word.size());
  const std::string_view rest(at_, static_cast<std::size_t>(end_ - at_));
  return rest.substr(0, word.size()) == word;
}

bool Input::CanRewind() {
  if (regular_) return true;
  Need(buffer_.size());
  return ended_;
}

void Input::Rewind() {
  if (base_ != 0) {
    UseFile(name_, [this] {
      files::Do("read", [this] { return lseek(file_, start_, SEEK_SET); });
    });
    ended_ = false;
    base_ = 0;
    end_ = begin_;
    buffer_[0] = '\0';
  }
  at_ = begin_;
  known_ = 0;
  position_ = {std::max<std::uint64_t>(line_, 1), 1};
}

// Whole texts and lines -------------------------------------------------------

bool Input::ReadLine(std::string_view& line) {
  const auto goes_on = [](char byte) { return byte != '\n' && byte != '\0'; };
  DropToken();
  while (nul_) {
    SkipWhile(goes_on);
    nul_ = *at_ == '\0' && at_ != end_;
    if (at_ != end_) ++at_;
  }
  if (AtEnd()) return false;
  BeginToken();
  SkipWhile(goes_on);
  line = Token();
  if (at_ == end_) return true;
  nul_ = *at_ == '\0';
  if (nul_) line = {token_, line.size() + 1};
  buffer_[static_cast<std::size_t>(at_ - begin_)] = '\0';
  ++at_;
  return true;
}

std::string_view Input::ReadAll() {
  if (file_ >= 0) {
    buffer_.resize(size_ + kWindow);
    begin_ = end_ = at_ = buffer_.data();
  }
  BeginToken();
  SkipWhile([](char byte) { return byte != '\0'; });
  const std::string_view text = Token();
  Unread();
  return text;
}

bool Input::ReadAgain(SafeString& text) {
  constexpr std::uint64_t kMost = 16'000'000;
  constexpr std::size_t kBehind = 16;
  Need(kBehind);
  const std::uint64_t end = std::min(Offset() + kBehind, OffsetOf(end_));
  if (end > kMost || (base_ != 0 && !regular_)) return false;
  const auto size = static_cast<std::size_t>(end);
  text.assign(begin_, base_ == 0 ? size : 0);
  text.resize(size);
  return base_ == 0 ||
         pread(file_, text.data(), size, start_) == static_cast<ssize_t>(size);
}

void ForEachText(const char* file, bool lines,
                 const std::function<void(Input&)>& work) {
  Input input(file);
  if (!lines) return work(input);
  Status status = kYes;
  std::string_view line;
  for (std::uint64_t number = 1; input.ReadLine(line); ++number) {
    if (line.find_first_not_of(" \t\v\f\r") == line.npos) continue;
    Input text(file, line, number);
    status = std::max(status, StatusOf([&] { work(text); }));
  }
  if (status != kYes) throw Failure{status};
}

// Places ----------------------------------------------------------------------

// Behind a carriage return, the byte at the offset decides whether the line has
// ended. Every byte of the input comes by here: line feeds alone are counted
// several at a time.
Position Input::PositionOf(std::uint64_t offset) {
  const char* const begin = begin_ + (known_ - base_);
  const char* const end = begin_ + (offset - base_);
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
  const Position position = PositionOf(offset);
  const char* const at = begin_ + (offset - base_);
  const auto size = static_cast<std::size_t>(
      std::min<std::uint64_t>({kAround, offset - base_, position.column - 1}));
  const std::string_view behind(
      at, std::min(kAround, static_cast<std::size_t>(end_ - at)));
  const std::size_t after =
      std::min(behind.find_first_of("\r\n"), behind.size());
  return {name_, position, {at - size, size + after}, size};
}

// Output ----------------------------------------------------------------------

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

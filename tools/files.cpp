// Reading, parsing, writing; and what is told meanwhile of a large text.

#include "files.h"

#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <memory>
#include <mutex>
#include <streambuf>
#include <system_error>
#include <thread>

#include <foundation/debug/memorymonitor.h>
#include <foundation/json/json.h>
#include <foundation/lang/exception.h>
#include <foundation/text/stringutils.h>

#include "checked.h"
#include "compile.h"
#include "excerpt.h"
#include "failure.h"

namespace vjson {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

// Progress --------------------------------------------------------------------

namespace {

// As long as it is there, and where standard error is a terminal, a line shows
// what is done to a large text, and how much memory is in use. Neither reading
// nor parsing is asked: the memory monitor knows.
class Progress {
 public:
  Progress(const char* work, const char* name, std::size_t size)
      : work_(work), name_(name) {
    constexpr std::size_t kLarge = 10'000'000;
    if (size <= kLarge || isatty(STDERR_FILENO) == 0) return;
    try {
      thread_ = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
      // There is nothing to see then.
    }
  }
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  ~Progress() {
    if (!thread_.joinable()) return;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      done_ = true;
    }
    wake_.notify_one();
    thread_.join();
    std::fprintf(stderr, "\r\033[K");
  }

 private:
  void Run() {
    constexpr std::chrono::milliseconds kPause(200);
    std::unique_lock<std::mutex> lock(mutex_);
    do {
      std::fprintf(stderr, "\rvjson: %s: %s, %zu MB\033[K", name_, work_,
                   debug::MemoryMonitor::LiveBytes() / 1'000'000);
    } while (!wake_.wait_for(lock, kPause, [this] { return done_; }));
  }

  const char* const work_;
  const char* const name_;
  bool done_ = false;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace

// Reading ---------------------------------------------------------------------

bool IsStandardInput(const char* name) { return std::strcmp(name, "-") == 0; }

namespace {

struct CloseFile {
  void operator()(std::FILE* file) const {
    if (file != stdin) std::fclose(file);
  }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

// The size of a regular file; 0 where it cannot be known beforehand.
std::size_t ExpectedSize(std::FILE* file) {
  struct stat status;
  if (fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
  return static_cast<std::size_t>(status.st_size);
}

SafeString ReadBytes(const char* name) {
  const File file(IsStandardInput(name) ? stdin : std::fopen(name, "rb"));
  if (!file) Fail(name, std::strerror(errno));
  const std::size_t expected = ExpectedSize(file.get());
  const Progress progress("reading", name, expected);
  SafeString text;
  text.reserve(expected);
  char block[4096];
  std::size_t size = 0;
  do {
    size = std::fread(block, 1, sizeof block, file.get());
    if (std::ferror(file.get())) Fail(name, std::strerror(errno));
    text.append(block, size);
  } while (size == sizeof block);
  return text;
}

}  // namespace

SafeString ReadText(const char* name) {
  SafeString text = ReadBytes(name);
  const std::size_t at = text.find('\0');
  if (at == SafeString::npos) return text;
  const SafeString message =
      text::StringUtils::_InternalFormat("NUL byte at offset %zu", at);
  TellPlace(name, text, at, "Read", message.c_str());
  throw Failed{kNo};
}

namespace {

JBase* Compile(const char* name, const SafeString& text, const char*& cursor) {
  const Progress progress("parsing", name, text.size());
  return Checked(json::Compile(cursor));
}

}  // namespace

JBase* Parse(const char* name, const SafeString& text) {
  const char* cursor = text.c_str();
  try {
    return Compile(name, text, cursor);
  } catch (const lang::Exception& fault) {
    const auto at = static_cast<std::size_t>(cursor - text.c_str());
    TellPlace(name, text, at, fault.where(), fault.what());
    throw Failed{kNo};
  }
}

JBase* Load(const char* name) { return Parse(name, ReadText(name)); }

// Writing ---------------------------------------------------------------------

namespace {

[[noreturn]] void FailWrite() { Fail("standard output", std::strerror(errno)); }

// Passes on to standard output what a tree writes, so that its text is never in
// memory as a whole.
class OutputBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type character) override {
    if (std::putchar(character) == EOF) FailWrite();
    return character;
  }

  std::streamsize xsputn(const char* text, std::streamsize size) override {
    const auto count = static_cast<std::size_t>(size);
    if (std::fwrite(text, 1, count, stdout) != count) FailWrite();
    return size;
  }
};

}  // namespace

void Write(const JBase& value, bool compress) {
  OutputBuffer buffer;
  Context context(compress);
  context.stream.std::ios::rdbuf(&buffer);
  value.toString(context);
  context.stream.put('\n');
}

void FinishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) FailWrite();
}

}  // namespace vjson

// Reading, parsing, writing.

#include "files.h"

#include <sys/stat.h>
#include <unistd.h>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <streambuf>

#include <foundation/json/json.h>
#include <foundation/lang/exception.h>
#include <foundation/text/stringutils.h>

#include "checked.h"
#include "compile.h"
#include "excerpt.h"
#include "failure.h"
#include "progress.h"

namespace vjson {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

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

// Appends all of the file to the text, up to the block with its first NUL, if
// there is one. Returns the error in its way, or 0.
int Append(const char* name, std::FILE* file, SafeString& text) {
  const std::size_t expected = ExpectedSize(file);
  std::atomic<std::size_t> done{0};
  const Progress progress("reading", name, expected, &done);
  text.reserve(expected);
  char block[4096];
  std::size_t size = 0;
  do {
    size = std::fread(block, 1, sizeof block, file);
    if (std::ferror(file)) return errno;
    text.append(block, size);
    done = text.size();
  } while (size == sizeof block && std::memchr(block, '\0', size) == nullptr);
  return 0;
}

SafeString ReadBytes(const char* name) {
  const File file(IsStandardInput(name) ? stdin : std::fopen(name, "rb"));
  if (!file) Fail(name, std::strerror(errno));
  SafeString text;
  const int error = Append(name, file.get(), text);
  if (error != 0) Fail(name, std::strerror(error));
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
  const Progress progress("parsing", name, text.size(), nullptr);
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

void WriteBytes(std::string_view text) {
  if (std::fwrite(text.data(), 1, text.size(), stdout) != text.size()) {
    FailWrite();
  }
}

// Passes on to standard output what a tree writes, so that its text is never in
// memory as a whole. For a terminal it keeps the line that is being written.
class OutputBuffer : public std::streambuf {
 protected:
  int_type overflow(int_type character) override {
    const char byte = traits_type::to_char_type(character);
    xsputn(&byte, 1);
    return character;
  }

  std::streamsize xsputn(const char* text, std::streamsize size) override {
    const std::string_view added(text, static_cast<std::size_t>(size));
    terminal_ ? AddToLine(added) : WriteBytes(added);
    return size;
  }

 private:
  // The line feeds are the layout's: in a string they are escaped.
  void AddToLine(std::string_view text) {
    line_ += text;
    for (;;) {
      const std::size_t end = line_.find('\n');
      if (end == SafeString::npos) return;
      WriteBytes(Show({line_.data(), end}).text + "\n");
      line_.erase(0, end + 1);
    }
  }

  const bool terminal_ = isatty(STDOUT_FILENO) != 0;
  SafeString line_;
};

}  // namespace

void Write(const JBase& value, bool compress) {
  OutputBuffer buffer;
  Context context(compress);
  context.stream.std::ios::rdbuf(&buffer);
  value.toString(context);
  context.stream.put('\n');
}

void WriteLine(std::string_view line) {
  OutputBuffer buffer;
  buffer.sputn(line.data(), static_cast<std::streamsize>(line.size()));
  buffer.sputc('\n');
}

void FinishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) FailWrite();
}

}  // namespace vjson

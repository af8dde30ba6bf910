// vjson: checks, lays out and compares JSON texts.
//
// From top to bottom: failures, reading, faults in a text, writing, comparing,
// the commands, the command line. What goes wrong is told on standard error
// where it is found, and then thrown as Failed: all that is left to pass on is
// the exit status. What a command made is released when it returns, so that the
// report, which comes last, shows what was left behind.

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string_view>
#include <sys/stat.h>
#include <vector>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>
#include <foundation/debug/tracked.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/lang/exception.h>
#include <foundation/text/stringutils.h>

#include "checked.h"
#include "compile.h"

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;
using text::StringUtils;

// Failures --------------------------------------------------------------------

// The exit status of a command. Of several, the greatest counts.
enum Status { kYes = 0, kNo = 1, kTrouble = 2 };

// Ends a command that has told what went wrong.
struct Failed {
  Status status;
};

void Tell(const char* subject, const char* message) {
  std::fprintf(stderr, "vjson: %s: %s\n", subject, message);
}

[[noreturn]] void Fail(const char* subject, const char* message) {
  Tell(subject, message);
  throw Failed{kTrouble};
}

// Runs the work to its end and returns its status, whatever it throws.
template <class Work>
Status Attempt(const char* subject, Work work) {
  static constexpr char kNoMemory[] = "not enough memory";
  try {
    return work();
  } catch (const Failed& failed) {
    return failed.status;
  } catch (const std::bad_alloc&) {
    Tell(subject, kNoMemory);
  } catch (const std::length_error&) {
    Tell(subject, kNoMemory);
  }
  return kTrouble;
}

// Reading ---------------------------------------------------------------------

bool IsStandardInput(const char* name) { return std::strcmp(name, "-") == 0; }

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

SafeString ReadText(const char* name) {
  const File file(IsStandardInput(name) ? stdin : std::fopen(name, "rb"));
  if (!file) Fail(name, std::strerror(errno));
  SafeString text;
  text.reserve(ExpectedSize(file.get()));
  char block[4096];
  std::size_t size = 0;
  do {
    size = std::fread(block, 1, sizeof block, file.get());
    if (std::ferror(file.get())) Fail(name, std::strerror(errno));
    text.append(block, size);
  } while (size == sizeof block);
  return text;
}

// Faults in a text ------------------------------------------------------------
//
// A line is shown as a terminal takes it that reads UTF-8: bytes that it would
// obey, or could not read, become question marks.

bool IsContinuation(char byte) { return (byte & 0xC0) == 0x80; }

// Whether the first two bytes stand for what has a shorter form, for a
// surrogate, or for more than U+10FFFF.
bool IsOutOfRange(std::string_view text) {
  const auto second = static_cast<unsigned char>(text[1]);
  switch (static_cast<unsigned char>(text[0])) {
    case 0xE0:
      return second < 0xA0;
    case 0xED:
      return second >= 0xA0;
    case 0xF0:
      return second < 0x90;
    case 0xF4:
      return second >= 0x90;
    default:
      return false;
  }
}

// The number of bytes of the character that the text begins with; 0 when it
// begins with none.
std::size_t CharacterSize(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < size || IsOutOfRange(text)) return 0;
  for (const char byte : text.substr(1, size - 1)) {
    if (!IsContinuation(byte)) return 0;
  }
  return size;
}

// Whether the character is a control character, but for the tab. Those from
// U+0080 to U+009F have two bytes.
bool IsControl(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return (lead < ' ' && lead != '\t') || lead == 127;
  return lead == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0;
}

// Whether the character takes two columns: nearly all from U+3000 to U+9FFF,
// the Hangul syllables, and the pictures among those of four bytes.
bool IsWide(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  return (lead >= 0xE3 && lead <= 0xED && lead != 0xEA) || lead == 0xF0;
}

// A text as it is shown, and the blanks that are as wide.
struct Shown {
  SafeString text;
  SafeString blanks;
};

Shown Show(std::string_view text) {
  Shown shown;
  while (!text.empty()) {
    const std::size_t size = CharacterSize(text);
    const std::string_view character =
        text.substr(0, std::max<std::size_t>(size, 1));
    const bool legible = size != 0 && !IsControl(character);
    shown.text += legible ? character : "?";
    if (character == "\t") {
      shown.blanks += '\t';
    } else {
      shown.blanks.append(legible && IsWide(character) ? 2 : 1, ' ');
    }
    text.remove_prefix(character.size());
  }
  return shown;
}

constexpr char kCut[] = "...";

// The part of a line around a position, about as many bytes as the width tells,
// and the blanks that are as wide as what stands before the position.
Shown Excerpt(std::string_view line, std::size_t at, std::size_t width) {
  std::size_t begin = 0;
  std::size_t end = line.size();
  if (line.size() > width) {
    begin = std::min(at - std::min(at, width * 2 / 3), line.size() - width);
    end = begin + width;
    while (begin < at && IsContinuation(line[begin])) ++begin;
    while (end > at && end < line.size() && IsContinuation(line[end])) --end;
  }
  Shown excerpt = Show(line.substr(begin, at - begin));
  excerpt.text += Show(line.substr(at, end - at)).text;
  if (begin > 0) {
    excerpt.text.insert(0, kCut);
    excerpt.blanks.insert(0, std::strlen(kCut), ' ');
  }
  if (end < line.size()) excerpt.text += kCut;
  return excerpt;
}

// Where the line of a position begins, and its number.
struct Line {
  std::size_t number = 1;
  std::size_t begin = 0;
};

// A line ends at a line feed, a carriage return, or both together.
Line LineOf(std::string_view text, std::size_t at) {
  Line line;
  for (std::size_t i = 0; i < at; ++i) {
    const bool pair = text.substr(i, 2) == "\r\n";
    if (text[i] != '\n' && (text[i] != '\r' || pair)) continue;
    ++line.number;
    line.begin = i + 1;
  }
  return line;
}

// Tells of a fault at the position and ends the command.
[[noreturn]] void Refuse(const char* name, std::string_view text,
                         std::size_t at, const char* rule,
                         const char* message) {
  constexpr std::size_t kWidth = 70;  // 76 columns with the marks of both cuts
  const Line line = LineOf(text, at);
  const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
  const std::size_t before = at - line.begin;
  const Shown excerpt =
      Excerpt(text.substr(line.begin, end - line.begin), before, kWidth);
  std::fprintf(stderr, "%s:%zu:%zu: %s: %s\n%s\n%s^\n", name, line.number,
               before + 1, rule, message, excerpt.text.c_str(),
               excerpt.blanks.c_str());
  throw Failed{kNo};
}

// A text ends for the parser at its first NUL, which must not pass for the end
// of the file.
void RefuseNul(const char* name, const SafeString& text) {
  const std::size_t at = text.find('\0');
  if (at == SafeString::npos) return;
  const SafeString message =
      StringUtils::_InternalFormat("NUL byte at offset %zu", at);
  Refuse(name, text, at, "Read", message.c_str());
}

// The tree of a file's text. The caller owns it.
JBase* Load(const char* name) {
  const SafeString text = ReadText(name);
  RefuseNul(name, text);
  const char* cursor = text.c_str();
  try {
    return Checked(Compile(cursor));
  } catch (const lang::Exception& fault) {
    const auto at = static_cast<std::size_t>(cursor - text.c_str());
    Refuse(name, text, at, fault.where(), fault.what());
  }
}

// Writing ---------------------------------------------------------------------

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

void Write(const JBase* value, bool compress) {
  OutputBuffer buffer;
  Context context(compress);
  context.stream.std::ios::rdbuf(&buffer);
  value->toString(context);
  context.stream.put('\n');
}

// The last word on whether standard output took everything.
void FinishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) FailWrite();
}

// Comparing -------------------------------------------------------------------
//
// Depth first, arrays in the order of their elements, objects in the order of
// the first one's keys. The first difference is printed and ends the
// comparison; every Compare function returns whether there was none. What needs
// room is kept out of the frames of the functions that recurse.

// A place in both trees: a step, by key or by index, from the place above. The
// root has none above.
struct Place {
  const Place* above = nullptr;
  const SafeString* key = nullptr;
  unsigned int index = 0;
};

// Whether a path shows the key without quotes.
bool IsName(const SafeString& key) {
  static constexpr char kLetters[] =
      "_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  const bool begins = !key.empty() && (key[0] < '0' || key[0] > '9');
  return begins && key.find_first_not_of(kLetters) == SafeString::npos;
}

SafeString Quoted(const SafeString& text) {
  constexpr debug::Tag kTag{"tools/vjson", 1, "Quoted"};
  const ScopedPointer<JString> value(
      Checked(debug::Create<JString>(kTag, text)));
  return Show(JsonReader::Compress(value.get())).text;
}

[[gnu::noinline]] void PrintStep(const Place& place) {
  if (place.key == nullptr) {
    std::printf("[%u]", place.index);
  } else if (IsName(*place.key)) {
    const bool first = place.above->above == nullptr;
    std::printf("%s%s", first ? "" : ".", place.key->c_str());
  } else {
    std::printf("[%s]", Quoted(*place.key).c_str());
  }
}

void PrintPath(const Place& place) {
  if (place.above == nullptr) return;
  PrintPath(*place.above);
  PrintStep(place);
}

// Prints the difference at a place, formatted as by printf, and returns false.
[[gnu::format(printf, 2, 3)]] bool Differ(const Place& place,
                                          const char* format, ...) {
  if (place.above == nullptr) std::printf("(root)");
  PrintPath(place);
  std::printf(": ");
  std::va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::printf("\n");
  return false;
}

template <class Value>
const Value& As(const JBase& value) {
  return static_cast<const Value&>(value);
}

[[gnu::noinline]] bool CompareScalars(const Place& place, const JBase& first,
                                      const JBase& second) {
  if (JsonReader::IsEqual(&first, &second)) return true;
  constexpr std::size_t kWidth = 30;  // two values and a path fit on a line
  const SafeString a = JsonReader::Compress(&first);
  const SafeString b = JsonReader::Compress(&second);
  const auto apart = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto at = static_cast<std::size_t>(apart.first - a.begin());
  return Differ(place, "value: %s and %s", Excerpt(a, at, kWidth).text.c_str(),
                Excerpt(b, at, kWidth).text.c_str());
}

bool Compare(const Place& place, const JBase& first, const JBase& second);

bool CompareArrays(const Place& place, const JArray& first,
                   const JArray& second) {
  if (first.length() != second.length()) {
    return Differ(place, "length: %u and %u", first.length(), second.length());
  }
  for (unsigned int i = 0; i < first.length(); ++i) {
    const Place element{&place, nullptr, i};
    if (!Compare(element, *first.at(i), *second.at(i))) return false;
  }
  return true;
}

bool CompareObjects(const Place& place, const JObject& first,
                    const JObject& second) {
  for (const SafeString& key : first.keys()) {
    const Place member{&place, &key};
    const JBase* const other = second.at(key);
    if (other == nullptr) return Differ(member, "key: only in the first");
    if (!Compare(member, *first.at(key), *other)) return false;
  }
  for (const SafeString& key : second.keys()) {
    const Place member{&place, &key};
    if (!first.existed(key)) return Differ(member, "key: only in the second");
  }
  return true;
}

const char* KindOf(const JBase& value) {
  static constexpr const char* kKinds[] = {"null",   "bool",  "number",
                                           "string", "array", "object"};
  return kKinds[static_cast<int>(value.type())];
}

bool Compare(const Place& place, const JBase& first, const JBase& second) {
  if (first.type() != second.type()) {
    return Differ(place, "kind: %s and %s", KindOf(first), KindOf(second));
  }
  switch (first.type()) {
    case JType::Array:
      return CompareArrays(place, As<JArray>(first), As<JArray>(second));
    case JType::Object:
      return CompareObjects(place, As<JObject>(first), As<JObject>(second));
    default:
      return CompareScalars(place, first, second);
  }
}

// The commands ----------------------------------------------------------------

using Files = std::vector<const char*>;
using Tree = const ScopedPointer<JBase>;

Status Check(const Files& files) {
  Status status = kYes;
  for (const char* file : files) {
    status = std::max(status, Attempt(file, [file] {
                        Tree tree(Load(file));
                        return kYes;
                      }));
  }
  return status;
}

Status Format(const Files& files) {
  Write(Tree(Load(files[0])).get(), false);
  return kYes;
}

Status Compress(const Files& files) {
  Write(Tree(Load(files[0])).get(), true);
  return kYes;
}

Status Equal(const Files& files) {
  Tree first(Load(files[0]));
  Tree second(Load(files[1]));
  return Compare(Place(), *first.get(), *second.get()) ? kYes : kNo;
}

Status Help(const Files&) {
  std::printf("%s",
              "Usage: vjson [--report] COMMAND FILE...\n"
              "\n"
              "  check FILE...  tell of every malformed text\n"
              "  format FILE    write the text on indented lines\n"
              "  compress FILE  write the text on a single line\n"
              "  equal A B      compare two texts, print the first difference\n"
              "\n"
              "  --report       tell what the monitors know to be left behind\n"
              "  --help         print this text\n"
              "  --version      print the version\n"
              "\n"
              "The file - is standard input; after -- no options follow.\n"
              "\n"
              "Exit status: 0 for yes; 1 for malformed or different texts;\n"
              "2 for anything that cannot be read, written or understood.\n");
  return kYes;
}

Status Version(const Files&) {
  std::printf("vjson %s\n", VJSON_VERSION);
  return kYes;
}

// The command line ------------------------------------------------------------

struct Command {
  const char* name;
  std::size_t fewest;  // files
  std::size_t most;
  Status (*run)(const Files& files);
};

constexpr Command kCommands[] = {
    {"check", 1, SIZE_MAX, Check}, {"format", 1, 1, Format},
    {"compress", 1, 1, Compress},  {"equal", 2, 2, Equal},
    {"--help", 0, 0, Help},        {"--version", 0, 0, Version}};

struct Arguments {
  const char* command = nullptr;
  Files files;
  bool report = false;
};

bool Is(const char* argument, const char* option) {
  return std::strcmp(argument, option) == 0;
}

Arguments Parse(int argc, char** argv) {
  Arguments arguments;
  bool options = true;
  for (int i = 1; i < argc; ++i) {
    const char* const word = argv[i];
    const bool option = options && word[0] == '-' && word[1] != '\0';
    if (option && Is(word, "--")) {
      options = false;
    } else if (option && Is(word, "--report")) {
      arguments.report = true;
    } else if (option && (Is(word, "--help") || Is(word, "--version"))) {
      return {word, {}, false};
    } else if (option) {
      Fail(word, "unknown option; see vjson --help");
    } else if (arguments.command == nullptr) {
      arguments.command = word;
    } else {
      arguments.files.push_back(word);
    }
  }
  return arguments;
}

const Command& CommandOf(const Arguments& arguments) {
  if (arguments.command == nullptr) {
    Fail("usage", "vjson [--report] COMMAND FILE...; see vjson --help");
  }
  for (const Command& command : kCommands) {
    if (Is(arguments.command, command.name)) return command;
  }
  Fail(arguments.command, "unknown command; see vjson --help");
}

Status Run(const Arguments& arguments) {
  const Files& files = arguments.files;
  const Command& command = CommandOf(arguments);
  if (files.size() < command.fewest || files.size() > command.most) {
    Fail(command.name, "wrong number of files; see vjson --help");
  }
  if (std::count_if(files.begin(), files.end(), IsStandardInput) > 1) {
    Fail(command.name, "standard input can be read only once");
  }
  const Status status = command.run(files);
  FinishOutput();
  return status;
}

// Tells of what is still alive.
Status Report() {
  std::ostringstream objects;
  objects.exceptions(std::ios::badbit);
  debug::ObjectMonitor::Report(objects);
  std::fprintf(stderr, "%smemory: %zu bytes\n", objects.str().c_str(),
               debug::MemoryMonitor::LiveBytes());
  return kYes;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);  // a closed pipe is told of like a full disk
  Arguments arguments;
  Status status = Attempt("arguments", [&] {
    arguments = Parse(argc, argv);
    return kYes;
  });
  if (status == kYes) {
    const char* const subject = arguments.command;
    status = Attempt(subject, [&] { return Run(arguments); });
  }
  if (arguments.report) status = std::max(status, Attempt("report", Report));
  return status;
}

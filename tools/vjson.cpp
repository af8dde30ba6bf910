// vjson: checks, lays out, changes, compares and looks into JSON texts.
//
// The command line. What a command made is released when it returns, so that
// the report, which comes last, shows what was left behind.

#include <unistd.h>
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include "command.h"
#include "input.h"

namespace vjson {

namespace {

using namespace vorn::foundation;

constexpr char kHelp[] =
    "Usage: vjson [OPTION] COMMAND [FILE]...\n"
    "\n"
    "  check [FILE]...          report malformed texts\n"
    "    --strict               and what RFC 8259 or other readers take for\n"
    "                           something else, and keys that stand twice\n"
    "  format [FILE]            write the text on indented lines\n"
    "  compress [FILE]          write the text on a single line\n"
    "    --comments             with its comments, which end lines\n"
    "    --tree                 both: as the library writes it, with "
    "members\n"
    "                           in its order, a key once, and no comments\n"
    "  equal A [B]              print the first difference of two texts\n"
    "    --all                  print all, with both values\n"
    "  get [FILE] PATH          write the value at the path\n"
    "  get FILE PATH...         write the values at the paths\n"
    "    --raw                  a string without quotes and escapes\n"
    "  keys [FILE [PATH]]       print the keys of an object\n"
    "  set [FILE] PATH VALUE    write the text with this value there\n"
    "    --string               the value is a string as it is\n"
    "  remove [FILE] PATH       write the text without this value\n"
    "    --in-place             both: replace the file\n"
    "  cost [FILE]              print what the text costs in memory\n"
    "\n"
    "  --lines                  each line is a text: check, compress, get,\n"
    "                           keys\n"
    "  --color=WHEN             always, never, auto: on terminals\n"
    "  --report                 print what the monitors know to be left\n"
    "  -h, --help               print this text\n"
    "  --version                print the version\n"
    "\n"
    "A path is a.b[2][\"odd key\"], or a JSON Pointer: /a/b/2/odd key.\n"
    "Where no file is named, or -, it is standard input; after -- no "
    "options\n"
    "follow.\n"
    "\n"
    "Exit status: 0 for yes; 1 for malformed or different texts, findings,\n"
    "and what is not there; 2 for anything that cannot be read, written or\n"
    "understood.\n";

Status Help(const Arguments&, Output& output) {
  output.Write(kHelp);
  return kYes;
}

Status Version(const Arguments&, Output& output) {
  output.Print("vjson %s\n", VJSON_VERSION);
  return kYes;
}

// The command line ------------------------------------------------------------

struct Command {
  const char* name;
  std::size_t fewest;  // operands
  std::size_t most;
  unsigned int options;
  Status (*run)(const Arguments& arguments, Output& output);
};

constexpr Command kCommands[] = {
    {"check", 0, SIZE_MAX, kStrict | kLines, Check},
    {"format", 0, 1, kTree, Format},
    {"compress", 0, 1, kTree | kComments | kLines, Compress},
    {"equal", 1, 2, kAll, Equal},
    {"get", 1, SIZE_MAX, kRaw | kLines, Get},
    {"keys", 0, 2, kLines, Keys},
    {"set", 2, 3, kAsString | kInPlace, Set},
    {"remove", 1, 2, kInPlace, Remove},
    {"cost", 0, 1, 0, Cost},
    {"--help", 0, 0, 0, Help},
    {"--version", 0, 0, 0, Version}};

struct OptionName {
  const char* name;
  unsigned int option;
};

constexpr OptionName kOptions[] = {
    {"--report", kReport},   {"--strict", kStrict}, {"--lines", kLines},
    {"--tree", kTree},       {"--raw", kRaw},       {"--comments", kComments},
    {"--string", kAsString}, {"--all", kAll},       {"--in-place", kInPlace}};

constexpr OptionName kColors[] = {
    {"--color=auto", static_cast<unsigned int>(Color::kAuto)},
    {"--color=always", static_cast<unsigned int>(Color::kAlways)},
    {"--color=never", static_cast<unsigned int>(Color::kNever)}};

bool Is(const char* argument, const char* option) {
  return std::strcmp(argument, option) == 0;
}

// A negative number is an operand.
bool IsOption(const char* word) {
  return word[0] == '-' && word[1] != '\0' &&
         std::strchr("0123456789", word[1]) == nullptr;
}

template <class Names>
const OptionName* Find(const Names& names, const char* word) {
  const auto found = std::find_if(
      std::begin(names), std::end(names),
      [word](const auto& option) { return Is(word, option.name); });
  return found == std::end(names) ? nullptr : found;
}

void TakeOption(const char* word, Arguments& arguments) {
  if (const OptionName* const option = Find(kOptions, word)) {
    arguments.options |= option->option;
  } else if (const OptionName* const color = Find(kColors, word)) {
    arguments.color = static_cast<Color>(color->option);
  } else {
    Fail(word, "unknown option; see vjson --help");
  }
}

Arguments ArgumentsOf(int argc, char** argv) {
  Arguments arguments;
  bool options = true;
  for (int i = 1; i < argc; ++i) {
    const char* const word = argv[i];
    const bool option = options && IsOption(word);
    if (option && Is(word, "--")) {
      options = false;
    } else if (option && (Is(word, "-h") || Is(word, "--help") ||
                          Is(word, "--version"))) {
      arguments = Arguments();
      arguments.command = Is(word, "-h") ? "--help" : word;
      return arguments;
    } else if (option) {
      TakeOption(word, arguments);
    } else if (arguments.command == nullptr) {
      arguments.command = word;
    } else {
      arguments.operands.push_back(word);
    }
  }
  return arguments;
}

const Command& CommandOf(const Arguments& arguments) {
  if (arguments.command == nullptr) {
    Fail("usage", "vjson [OPTION] COMMAND [FILE]...; see vjson --help");
  }
  for (const Command& command : kCommands) {
    if (Is(arguments.command, command.name)) return command;
  }
  Fail(arguments.command, "unknown command; see vjson --help");
}

Status Run(const Arguments& arguments) {
  const std::size_t operands = arguments.operands.size();
  const Command& command = CommandOf(arguments);
  if (operands < command.fewest || operands > command.most) {
    Fail(command.name, "wrong number of arguments; see vjson --help");
  }
  for (const OptionName& option : kOptions) {
    if ((arguments.options & option.option & ~(command.options | kReport)) !=
        0) {
      Fail(option.name, "not for this command; see vjson --help");
    }
  }
  SetErrorColors(UsesColors(arguments.color, STDERR_FILENO));
  Output output(STDOUT_FILENO, UsesColors(arguments.color, STDOUT_FILENO));
  const Status status =
      StatusOf([&] { return command.run(arguments, output); });
  output.Flush();
  return status;
}

// Prints what is still alive.
Status Report() {
  std::ostringstream objects;
  objects.exceptions(std::ios::badbit);
  debug::ObjectMonitor::Report(objects);
  std::fprintf(stderr, "%smemory: %zu bytes\n", objects.str().c_str(),
               debug::MemoryMonitor::LiveBytes());
  return kYes;
}

Status Main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_DFL);  // a closed pipe ends the tool without a word
  Arguments arguments;
  Status status = StatusOf([&] {
    arguments = ArgumentsOf(argc, argv);
    return kYes;
  });
  if (status == kYes) {
    status = StatusOf([&] { return Run(arguments); });
  }
  if (arguments.Has(kReport)) {
    status = std::max(status, StatusOf(Report));
  }
  return status;
}

}  // namespace

}  // namespace vjson

int main(int argc, char** argv) { return vjson::Main(argc, argv); }

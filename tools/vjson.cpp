// vjson: checks, lays out, changes, compares and looks into JSON texts.
//
// The command line. What a command made is released when it returns, so that
// the report, which comes last, shows what was left behind.

#include <getopt.h>
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

namespace vjson {

namespace {

using namespace vorn::foundation;

constexpr char kHelp[] =
#include "help.inc"
    ;

// A command finds a file in front of its other operands.
struct Entry {
  const char* name;
  std::size_t fewest;  // operands, without a file
  std::size_t most;    // with all
  unsigned int options;
  Command& run;
};

constexpr Entry kCommands[] = {
    {"check", 0, SIZE_MAX, kStrict | kLines, Check},
    {"format", 0, 1, kTree, Format},
    {"compress", 0, 1, kTree | kComments | kLines, Compress},
    {"equal", 1, 2, kAll, Equal},
    {"get", 1, SIZE_MAX, kRaw | kLines, Get},
    {"keys", 0, 2, kLines, Keys},
    {"set", 2, 3, kAsString | kInPlace, Set},
    {"remove", 1, 2, kInPlace, Remove},
    {"cost", 0, 1, 0, Cost}};

constexpr option kOptions[] = {{"report", no_argument, nullptr, kReport},
                               {"strict", no_argument, nullptr, kStrict},
                               {"lines", no_argument, nullptr, kLines},
                               {"tree", no_argument, nullptr, kTree},
                               {"comments", no_argument, nullptr, kComments},
                               {"raw", no_argument, nullptr, kRaw},
                               {"string", no_argument, nullptr, kAsString},
                               {"in-place", no_argument, nullptr, kInPlace},
                               {"all", no_argument, nullptr, kAll},
                               {"color", required_argument, nullptr, 'c'},
                               {"help", no_argument, nullptr, 'h'},
                               {"version", no_argument, nullptr, 'v'},
                               {}};

struct CommandLine {
  Arguments arguments;  // the command is the first operand
  const char* when = "auto";
  const char* text = nullptr;  // what is printed instead
};

// A negative number is an operand.
bool IsOption(const char* word) {
  return word[0] == '-' && std::strchr("0123456789", word[1]) == nullptr;
}

void TakeOption(const char* word, int option, CommandLine& line) {
  switch (option) {
    case 'c':
      line.when = optarg;
      break;
    case 'h':
      line.text = kHelp;
      break;
    case 'v':
      line.text = "vjson " VJSON_VERSION "\n";
      break;
    case '?':
      Fail(word, "unknown option; see vjson --help");
    default:
      line.arguments.options |= static_cast<unsigned int>(option);
  }
}

// Takes what precedes --help and --version for nothing.
void Parse(int argc, char** argv, CommandLine& line) {
  opterr = 0;
  bool options = true;
  while (optind < argc && line.text == nullptr) {
    const char* const word = argv[optind];
    const bool is_option = options && IsOption(word);
    const int option =
        is_option ? getopt_long(argc, argv, "+h", kOptions, nullptr) : 0;
    if (option > 0) {
      TakeOption(word, option, line);
    } else if (is_option) {
      options = false;  // behind --
    } else {
      line.arguments.operands.push_back(word);
      ++optind;
    }
  }
}

// The command, whose name is taken from the operands. A file that is not named
// is added to them.
const Entry& TakeCommand(Arguments& arguments) {
  auto& operands = arguments.operands;
  if (operands.empty()) {
    Fail("usage", "vjson [OPTION] COMMAND [FILE]...; see vjson --help");
  }
  const std::string_view name = operands[0];
  const auto entry =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [&](const Entry& row) { return row.name == name; });
  if (entry == std::end(kCommands)) {
    Fail(name, "unknown command; see vjson --help");
  }
  operands.erase(operands.begin());
  if (operands.size() < entry->fewest || operands.size() > entry->most) {
    Fail(name, "wrong number of arguments; see vjson --help");
  }
  if (operands.size() == entry->fewest) {
    operands.insert(&entry->run == &Equal ? operands.end() : operands.begin(),
                    "-");
  }
  return *entry;
}

void CheckOptions(unsigned int options, const Entry& command) {
  const unsigned int wrong = options & ~(command.options | kReport);
  for (const option& row : kOptions) {
    if ((static_cast<unsigned int>(row.val) & wrong) == 0) continue;
    Fail(SafeString("--") + row.name, "not for this command; see vjson --help");
  }
}

Status Run(CommandLine& line) {
  const Color color = ColorOf(line.when);
  SetErrorColors(UsesColors(color, STDERR_FILENO));
  Output output(STDOUT_FILENO, UsesColors(color, STDOUT_FILENO));
  Status status = kYes;
  if (line.text != nullptr) {
    output.Write(line.text);
  } else {
    const Entry& command = TakeCommand(line.arguments);
    CheckOptions(line.arguments.options, command);
    status = StatusOf([&] { return command.run(line.arguments, output); });
  }
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
  bool report = false;
  const Status status = StatusOf([&] {
    CommandLine line;
    Parse(argc, argv, line);
    report = line.arguments.Has(kReport);
    return Run(line);
  });
  return report ? std::max(status, StatusOf(Report)) : status;
}

}  // namespace

}  // namespace vjson

int main(int argc, char** argv) { return vjson::Main(argc, argv); }

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

namespace vjson {

namespace {

using namespace vorn::foundation;

constexpr std::string_view kHelp =
#include "help.inc"
    ;

// A command finds a file in front of its other operands.
struct Entry {
  std::string_view name;
  std::size_t fewest;  // operands, without a file
  std::size_t most;    // with all
  Command& run;
};

constexpr Entry kCommands[] = {{"check", 0, SIZE_MAX, Check},
                               {"format", 0, 1, Format},
                               {"compress", 0, 1, Compress},
                               {"equal", 1, 2, Equal},
                               {"get", 1, SIZE_MAX, Get},
                               {"keys", 0, 2, Keys},
                               {"set", 2, 3, Set},
                               {"remove", 1, 2, Remove},
                               {"cost", 0, 1, Cost}};

struct CommandLine {
  Arguments arguments;  // the command is the first operand
  std::string_view colors = "auto";
  bool report = false;
  std::string_view text = {};  // what is printed instead
};

// Whether the usage of commands has the option.
bool Has(std::string_view usage, std::string_view option) {
  return option.find(']') == option.npos &&
         usage.find(SafeString("[").append(option) + "]") != usage.npos;
}

// A negative number is an operand.
bool IsOption(const char* word) {
  return word[0] == '-' && std::strchr("0123456789", word[1]) == nullptr;
}

void TakeOption(std::string_view word, CommandLine& line) {
  constexpr std::string_view kColor = "--color=";
  if (word == "-h" || word == "--help") {
    line.text = kHelp;
  } else if (word == "--version") {
    line.text = "vjson " VJSON_VERSION "\n";
  } else if (word == "--report") {
    line.report = true;
  } else if (word.substr(0, kColor.size()) == kColor) {
    line.colors = word.substr(kColor.size());
  } else if (Has(kHelp, word)) {
    line.arguments.options.push_back(word);
  } else {
    Fail(word, "unknown option; see vjson --help");
  }
}

// Takes nothing behind --help and --version.
void Parse(int argc, char** argv, CommandLine& line) {
  bool options = true;
  for (int i = 1; i < argc && line.text.empty(); ++i) {
    const char* const word = argv[i];
    if (!options || !IsOption(word)) {
      line.arguments.operands.push_back(word);
    } else if (word == std::string_view("--")) {
      options = false;
    } else {
      TakeOption(word, line);
    }
  }
}

void CheckOptions(std::string_view command, const Arguments& arguments) {
  const std::size_t begin = kHelp.find(SafeString(" vjson ").append(command));
  const auto usage = kHelp.substr(begin, kHelp.find('\n', begin) - begin);
  for (const std::string_view option : arguments.options) {
    if (Has(usage, option)) continue;
    Fail(option, "not for this command; see vjson --help");
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
  const Entry* const entry =
      std::find_if(std::begin(kCommands), std::end(kCommands),
                   [&](const Entry& row) { return row.name == name; });
  if (entry == std::end(kCommands)) {
    Fail(name, "unknown command; see vjson --help");
  }
  CheckOptions(name, arguments);
  operands.erase(operands.begin());
  if (operands.size() < entry->fewest || operands.size() > entry->most) {
    Fail(name, "wrong number of arguments; see vjson --help");
  }
  if (operands.size() == entry->fewest) {
    operands.insert(name == "equal" ? operands.end() : operands.begin(), "-");
  }
  return *entry;
}

void Run(CommandLine& line) {
  SetErrorColors(UsesColors(line.colors, STDERR_FILENO));
  Output output(STDOUT_FILENO, UsesColors(line.colors, STDOUT_FILENO));
  const Status status = StatusOf([&] {
    if (!line.text.empty()) return output.Write(line.text);
    TakeCommand(line.arguments).run(line.arguments, output);
  });
  output.Flush();
  if (status != kYes) throw Failure{status};
}

// Prints what is still alive.
void Report() {
  std::ostringstream objects;
  objects.exceptions(std::ios::badbit);
  debug::ObjectMonitor::Report(objects);
  std::fprintf(stderr, "%smemory: %zu bytes\n", objects.str().c_str(),
               debug::MemoryMonitor::LiveBytes());
}

}  // namespace

}  // namespace vjson

int main(int argc, char** argv) {
  using namespace vjson;
  std::signal(SIGPIPE, SIG_DFL);  // a closed pipe ends the tool without a word
  bool report = false;
  const Status status = StatusOf([&] {
    CommandLine line;
    Parse(argc, argv, line);
    report = line.report;
    Run(line);
  });
  return report ? std::max(status, StatusOf(Report)) : status;
}

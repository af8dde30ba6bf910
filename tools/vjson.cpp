// vjson: checks, lays out, changes, compares and looks into JSON texts.
//
// The command line. A command releases what it made before it returns, so that
// the report, which comes last, shows what was left behind.

#include <unistd.h>
#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <sstream>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include "command.h"

using namespace vjson;

namespace {

using namespace vorn::foundation;

constexpr std::string_view kHelp =
#include "help.inc"
    ;

struct Entry {
  std::string_view name;
  std::size_t fewest;  // operands, without a file
  std::size_t most;    // with all files
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

// All of the command line, with the command as the first operand. A negative
// number is an operand.
Arguments Parse(int argc, char** argv) {
  constexpr std::string_view kColor = "--color=";
  Arguments arguments;
  bool options = true;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (!options || word.substr(0, 1) != "-" || word == "-" ||
        word.find_first_of("0123456789") == 1) {
      arguments.operands.push_back(argv[i]);
    } else if (word == "--") {
      options = false;
    } else if (word.substr(0, kColor.size()) == kColor) {
      arguments.colors = word.substr(kColor.size());
    } else {
      arguments.options.push_back(word);
    }
  }
  return arguments;
}

// Refuses the options that the usage of the command does not have.
void CheckOptions(std::string_view command, const Arguments& arguments) {
  const std::size_t begin = kHelp.find(SafeString(" vjson ").append(command));
  const auto usage = kHelp.substr(begin, kHelp.find('\n', begin) - begin);
  for (const std::string_view option : arguments.options) {
    if (option == "--report") continue;
    const auto shown = SafeString("[").append(option) + ']';
    if (usage.find(shown) == usage.npos) {
      Fail(option, "no option of this command; see vjson --help");
    }
  }
}

const Entry& FindCommand(std::string_view name) {
  for (const Entry& entry : kCommands) {
    if (entry.name == name) return entry;
  }
  Fail(name, "unknown command; see vjson --help");
}

// Runs the command that is the first operand. If no file is named, adds one.
void Run(Arguments& arguments, Output& output) {
  auto& operands = arguments.operands;
  if (arguments.Has("-h") || arguments.Has("--help")) {
    return output.Write(kHelp);
  }
  if (arguments.Has("--version")) {
    return output.WriteLine("vjson " VJSON_VERSION);
  }
  if (operands.empty()) {
    Fail("usage", "vjson [OPTION] COMMAND [FILE]...; see vjson --help");
  }
  const auto& [name, fewest, most, run] = FindCommand(operands[0]);
  CheckOptions(name, arguments);
  operands.erase(operands.begin());
  if (operands.size() < fewest || operands.size() > most) {
    Fail(name, "wrong number of arguments; see vjson --help");
  }
  if (operands.size() == fewest) {
    operands.insert(name == "equal" ? operands.end() : operands.begin(), "-");
  }
  run(arguments, output);
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

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_DFL);  // a closed pipe ends the tool without a word
  bool report = false;
  Try([&] {
    Arguments arguments = Parse(argc, argv);
    report = arguments.Has("--report");
    error_colors = UsesColors(arguments.colors, STDERR_FILENO);
    Output output(STDOUT_FILENO, UsesColors(arguments.colors, STDOUT_FILENO));
    Try([&] { Run(arguments, output); });
    output.Flush();
  });
  if (report) Try(Report);
  return exit_status;
}

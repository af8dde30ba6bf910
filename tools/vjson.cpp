// vjson: checks, lays out, compares and looks into JSON texts.
//
// First the commands, then the command line. What a command made is released
// when it returns, so that the report, which comes last, shows what was left
// behind.

#include <algorithm>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <sstream>
#include <string_view>
#include <vector>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include "check.h"
#include "compare.h"
#include "cost.h"
#include "excerpt.h"
#include "failure.h"
#include "files.h"
#include "path.h"

namespace vjson {

namespace {

using namespace vorn::foundation;
using namespace vorn::foundation::json;

// The commands ----------------------------------------------------------------

struct Arguments {
  const char* command = nullptr;
  std::vector<const char*> operands;
  bool report = false;
  bool strict = false;
};

using Tree = const generic::ScopedPointer<JBase>;

Status CheckAll(const Arguments& arguments) {
  Status status = kYes;
  for (const char* file : arguments.operands) {
    status = std::max(status, Attempt(file, [&] {
                        (arguments.strict ? CheckStrictly : Check)(file);
                        return kYes;
                      }));
  }
  return status;
}

Status Format(const Arguments& arguments) {
  Write(*Tree(Load(arguments.operands[0])).get(), false);
  return kYes;
}

Status Compress(const Arguments& arguments) {
  Write(*Tree(Load(arguments.operands[0])).get(), true);
  return kYes;
}

Status Equal(const Arguments& arguments) {
  Tree first(Load(arguments.operands[0]));
  Tree second(Load(arguments.operands[1]));
  return Compare(*first.get(), *second.get()) ? kYes : kNo;
}

std::vector<Step> StepsOrFail(const char* path) {
  try {
    return StepsOf(path);
  } catch (const PathFault& fault) {
    TellPlace("path", path, fault.at, "Path", fault.message);
    throw Failed{kTrouble};
  }
}

// Tells what is in the way at the path, and ends the command.
[[noreturn]] void Miss(const char* file, std::string_view path,
                       const SafeString& message) {
  constexpr std::size_t kWidth = 60;
  const SafeString shown = Excerpt(path, path.size(), kWidth).text;
  const SafeString place = path.empty() ? SafeString("(root)") : shown;
  Tell(file, (place + ": " + message).c_str());
  throw Failed{kNo};
}

// The value that the path, of these steps, leads to.
const JBase& Find(const char* file, const JBase& root, std::string_view path,
                  const std::vector<Step>& steps) {
  const JBase* value = &root;
  for (const Step& step : steps) {
    const JBase* const next = Follow(*value, step);
    if (next == nullptr) {
      Miss(file, path.substr(0, step.end), WhyNot(*value, step));
    }
    value = next;
  }
  return *value;
}

Status Get(const Arguments& arguments) {
  const char* const file = arguments.operands[0];
  const char* const path = arguments.operands[1];
  const std::vector<Step> steps = StepsOrFail(path);
  Tree tree(Load(file));
  Write(Find(file, *tree.get(), path, steps), false);
  return kYes;
}

Status Keys(const Arguments& arguments) {
  const auto& operands = arguments.operands;
  const char* const path = operands.size() == 1 ? "" : operands[1];
  const std::vector<Step> steps = StepsOrFail(path);
  Tree tree(Load(operands[0]));
  const JBase& value = Find(operands[0], *tree.get(), path, steps);
  if (value.type() != JType::Object) {
    Miss(operands[0], path,
         SafeString("no object but a value of the kind ") + KindOf(value));
  }
  for (const SafeString& key : static_cast<const JObject&>(value).keys()) {
    WriteLine(KeyText(key));
  }
  return kYes;
}

Status Cost(const Arguments& arguments) {
  PrintCost(arguments.operands[0]);
  return kYes;
}

Status Help(const Arguments&) {
  std::printf(
      "%s",
      "Usage: vjson [--report] COMMAND FILE...\n"
      "\n"
      "  check FILE...     tell of every malformed text\n"
      "  check --strict FILE...\n"
      "                    tell also where a text is not what RFC 8259 says,\n"
      "                    and of the keys that an object has twice\n"
      "  format FILE       write the text on indented lines\n"
      "  compress FILE     write the text on a single line\n"
      "  equal A B         compare two texts, print the first difference\n"
      "  get FILE PATH     write the value at the path: a.b[2][\"odd key\"]\n"
      "  keys FILE [PATH]  print the keys of an object, in the order that "
      "they\n"
      "                    have in this program\n"
      "  cost FILE         print what the text costs in memory\n"
      "\n"
      "  --report          tell what the monitors know to be left behind\n"
      "  --help            print this text\n"
      "  --version         print the version\n"
      "\n"
      "The file - is standard input; after -- no options follow.\n"
      "\n"
      "Exit status: 0 for yes; 1 for malformed or different texts, findings,\n"
      "and what is not there; 2 for anything that cannot be read, written or\n"
      "understood.\n");
  return kYes;
}

Status Version(const Arguments&) {
  std::printf("vjson %s\n", VJSON_VERSION);
  return kYes;
}

// The command line ------------------------------------------------------------

struct Command {
  const char* name;
  std::size_t files;   // operands that name one, the first ones
  std::size_t fewest;  // operands
  std::size_t most;
  Status (*run)(const Arguments& arguments);
};

constexpr Command kCommands[] = {{"check", SIZE_MAX, 1, SIZE_MAX, CheckAll},
                                 {"format", 1, 1, 1, Format},
                                 {"compress", 1, 1, 1, Compress},
                                 {"equal", 2, 2, 2, Equal},
                                 {"get", 1, 2, 2, Get},
                                 {"keys", 1, 1, 2, Keys},
                                 {"cost", 1, 1, 1, Cost},
                                 {"--help", 0, 0, 0, Help},
                                 {"--version", 0, 0, 0, Version}};

bool Is(const char* argument, const char* option) {
  return std::strcmp(argument, option) == 0;
}

Arguments ArgumentsOf(int argc, char** argv) {
  Arguments arguments;
  bool options = true;
  for (int i = 1; i < argc; ++i) {
    const char* const word = argv[i];
    const bool option = options && word[0] == '-' && word[1] != '\0';
    if (option && Is(word, "--")) {
      options = false;
    } else if (option && Is(word, "--report")) {
      arguments.report = true;
    } else if (option && Is(word, "--strict")) {
      arguments.strict = true;
    } else if (option && (Is(word, "--help") || Is(word, "--version"))) {
      arguments = Arguments();
      arguments.command = word;
      return arguments;
    } else if (option) {
      Fail(word, "unknown option; see vjson --help");
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
    Fail("usage", "vjson [--report] COMMAND FILE...; see vjson --help");
  }
  for (const Command& command : kCommands) {
    if (Is(arguments.command, command.name)) return command;
  }
  Fail(arguments.command, "unknown command; see vjson --help");
}

Status Run(const Arguments& arguments) {
  const auto& operands = arguments.operands;
  const Command& command = CommandOf(arguments);
  if (operands.size() < command.fewest || operands.size() > command.most) {
    Fail(command.name, "wrong number of arguments; see vjson --help");
  }
  if (arguments.strict && command.run != CheckAll) {
    Fail(command.name, "--strict is for check alone; see vjson --help");
  }
  const auto files = std::min(command.files, operands.size());
  if (std::count_if(operands.begin(),
                    operands.begin() + static_cast<std::ptrdiff_t>(files),
                    IsStandardInput) > 1) {
    Fail(command.name, "standard input can be read only once");
  }
  const Status status = command.run(arguments);
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

Status Main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_DFL);  // a closed pipe ends the tool without a word
  Arguments arguments;
  Status status = Attempt("arguments", [&] {
    arguments = ArgumentsOf(argc, argv);
    return kYes;
  });
  if (status == kYes) {
    const char* const subject = arguments.command;
    status = Attempt(subject, [&] { return Run(arguments); });
  }
  if (arguments.report) status = std::max(status, Attempt("report", Report));
  return status;
}

}  // namespace

}  // namespace vjson

int main(int argc, char** argv) { return vjson::Main(argc, argv); }

// Takes the place of a program's main() and runs that again and again, each
// time with another request for memory failing: whatever fails, the program
// leaves nothing behind.

#include "support/monitor.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

extern "C" int __real_main(int count, char** arguments);

// Files need not outlive the many runs.
extern "C" int fsync(int) { return 0; }

namespace {

using namespace support;

// Runs the program, which may let exceptions out, and returns whether a request
// failed in it.
bool Run(int count, char** arguments) {
  // A file is replaced, never changed, so each run finds the same settings.
  unlink("settings.json");
  const bool restored = link("kept.json", "settings.json") == 0;
  Require(restored || access("kept.json", F_OK) != 0, "the settings are back");
  Account before = Monitor::Now();
  try {
    __real_main(count, arguments);
  } catch (...) {
  }
  const bool failed = Monitor::StopFailing() != 0;
  Account after = Monitor::Now();
  before.sum = after.sum = 0;  // its marks stay, at an address of their own
  Require(after == before, "nothing is left behind");
  Monitor::TakeLog();
  return failed;
}

}  // namespace

extern "C" int __wrap_main(int count, char** arguments) {
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  link("settings.json", "kept.json");
  // A program that takes long under an emulator fails some requests only.
  const char* const step = std::getenv("VORN_SWEEP_STEP");
  const std::size_t next =
      step != nullptr ? std::strtoul(step, nullptr, 10) : 1;
  std::size_t failed = 0;
  for (const bool traced : {false, true}) {
    Monitor::Reset(traced);
    __real_main(count, arguments);  // for what is made once
    for (const Source source : {Source::OperatorNew, Source::ObjectMonitor,
                                Source::MemoryMonitor, Source::List}) {
      for (const bool forever : {false, true}) {
        for (std::size_t number = 0;; number += next, ++failed) {
          Monitor::FailRequest(source, number, forever);
          if (!Run(count, arguments)) break;
        }
      }
    }
  }
  std::fprintf(stderr, "%zu runs with a failing request\n", failed);
  return failed != 0 ? 0 : 1;
}

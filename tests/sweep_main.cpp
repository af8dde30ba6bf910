// Takes the place of a program's main() and runs that again and again, each
// time with another request for memory failing: whatever fails, the program
// leaves nothing behind.

#include "support/monitor.h"

#include <cstdio>
#include <cstdlib>

extern "C" int __real_main(int count, char** arguments);

namespace support {

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "This does not hold: %s\n", what);
  std::abort();
}

namespace {

// The program itself may let exceptions out.
void Run(int count, char** arguments) try {
  __real_main(count, arguments);
} catch (...) {
}

// Its marks stay, at an address of their own each time.
bool IsSame(Account now, Account before) {
  now.sum = before.sum = 0;
  return now == before;
}

// Lets requests fail, of the higher numbers only some, and returns how many
// did.
std::size_t Sweep(Source source, bool forever, int count, char** arguments) {
  std::size_t runs = 0;
  for (std::size_t number = 0;; number += 1 + number / 16, ++runs) {
    const Account before = Monitor::Now();
    Monitor::FailRequest(source, number, forever);
    Run(count, arguments);
    const bool failed = Monitor::StopFailing() != 0;
    Require(IsSame(Monitor::Now(), before), "nothing is left behind");
    Monitor::TakeLog();
    if (!failed) return runs;
  }
}

}  // namespace
}  // namespace support

extern "C" int __wrap_main(int count, char** arguments) {
  using namespace support;
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  std::size_t failed = 0;
  for (const bool traced : {false, true}) {
    Monitor::Reset(traced);
    Run(count, arguments);  // for what is made once
    for (const Source source : {Source::OperatorNew, Source::ObjectMonitor,
                                Source::MemoryMonitor, Source::List}) {
      for (const bool forever : {false, true}) {
        failed += Sweep(source, forever, count, arguments);
      }
    }
  }
  std::fprintf(stderr, "%zu runs with a failing request\n", failed);
  return failed != 0 ? 0 : 1;
}

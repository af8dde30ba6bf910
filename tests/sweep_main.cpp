// Replaces a program's main() by one that runs the former again and again, each
// time with another request for memory failing. Fails if a run leaves anything
// behind.

#include "support/property.h"

#include <cstdio>

extern "C" int __real_main(int count, char** arguments);

// Files need not outlive the many runs.
extern "C" int fsync(int) { return 0; }

extern "C" int __wrap_main(int count, char** arguments) {
  using namespace support;
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  const auto run = [&] { return __real_main(count, arguments) == 0; };
  for (const bool traced : {false, true}) {
    Monitor::Reset(traced);
    run();  // for what is made once
    const std::size_t before = Monitor::Blocks();
    for (const Failing& failing : kFailing) {
      Sweep(failing, run, [&](End, std::size_t, bool) {
        Require(Monitor::Blocks() == before, "nothing is left behind");
        Monitor::TakeLog();
        return false;
      });
    }
  }
  std::fprintf(stderr, "%zu failing requests\n", injected);
  return injected != 0 ? 0 : 1;
}

// Usage: bench_trace ROUNDS FILE
//
// Parses the file with tracing off, with tracing on and by cJSON, once each in
// every round. Prints the median processor time of each, in nanoseconds.

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <vector>

#include <foundation/debug/objectmonitor.h>

#include "work.h"

namespace {

using vorn::foundation::debug::ObjectMonitor;

long Now() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return now.tv_sec * 1'000'000'000 + now.tv_nsec;
}

// Measures the times of one kind of parse.
class Timed {
 public:
  Timed(const char* library, bool traces, const std::string& text)
      : work_(bench::FindLibrary(library), bench::Operation::Parse, text),
        traces_(traces) {}

  void Run() {
    ObjectMonitor::SetTrace(traces_);
    const long start = Now();
    work_.Run();
    times_.push_back(Now() - start);
  }

  long Median() {
    const auto middle = times_.begin() + static_cast<long>(times_.size() / 2);
    std::nth_element(times_.begin(), middle, times_.end());
    return *middle;
  }

 private:
  bench::Work work_;
  bool traces_;
  std::vector<long> times_;
};

}  // namespace

int main(int argc, char** argv) {
  const int rounds = argc == 3 ? std::atoi(argv[1]) : 0;
  if (rounds <= 0) {
    std::fprintf(stderr, "Usage: %s ROUNDS FILE\n", argv[0]);
    return 2;
  }
  try {
    const std::string text = bench::ReadFile(argv[2]);
    Timed kinds[] = {
        {"vorn", false, text}, {"vorn", true, text}, {"cjson", false, text}};
    for (int i = 0; i < rounds; ++i) {
      for (Timed& kind : kinds) kind.Run();
    }
    std::printf("%ld %ld %ld\n", kinds[0].Median(), kinds[1].Median(),
                kinds[2].Median());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}

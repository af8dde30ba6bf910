// Usage: bench_trace ROUNDS FILE KIND...
//
// Parses the file once in each kind in every round: "off" and "on" with tracing
// off and on, or "cjson". Prints the median processor time of each kind, in
// nanoseconds.

#include <time.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
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
  Timed(std::string_view kind, const std::string& text)
      : work_(bench::FindLibrary(kind == "cjson" ? kind : "vorn"),
              bench::Operation::Parse, text),
        traces_(kind == "on") {}

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
  const int rounds = argc > 3 ? std::atoi(argv[1]) : 0;
  if (rounds <= 0) {
    std::fprintf(stderr, "Usage: %s ROUNDS FILE KIND...\n", argv[0]);
    return 2;
  }
  try {
    const std::string text = bench::ReadFile(argv[2]);
    std::vector<std::unique_ptr<Timed>> kinds;
    for (int i = 3; i < argc; ++i) {
      kinds.push_back(std::make_unique<Timed>(argv[i], text));
    }
    for (int i = 0; i < rounds; ++i) {
      for (const auto& kind : kinds) kind->Run();
    }
    for (const auto& kind : kinds) std::printf("%ld\n", kind->Median());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}

// Usage: bench_realtime FILE SECONDS
//
// A real-time thread parses the file for SECONDS seconds, first alone, then
// beside two ordinary threads that also parse, all on one processor. Prints for
// each case the number of its parses and the milliseconds of the longest.
// Fails
// - if a parse beside the others takes more than 100 milliseconds;
// - if it gets through less than two thirds of its parses alone;
// - if the process may not have real-time threads (SCHED_FIFO).

#include <pthread.h>
#include <sched.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "work.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Parses {
  long count = 0;
  double longest = 0;  // milliseconds
};

void Check(int error, const char* work) {
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), work);
  }
}

// Of the calling thread, and of those that it starts.
void StayOnOneProcessor() {
  cpu_set_t processors;
  CPU_ZERO(&processors);
  CPU_SET(static_cast<unsigned int>(sched_getcpu()), &processors);
  Check(pthread_setaffinity_np(pthread_self(), sizeof processors, &processors),
        "one processor");
}

void BecomeRealTime() {
  const sched_param priority{10};
  Check(pthread_setschedparam(pthread_self(), SCHED_FIFO, &priority),
        "SCHED_FIFO");
}

// Parses until the end, in a real-time thread.
Parses ParseInTime(const bench::Work& work, Clock::duration time) {
  Parses parses;
  std::exception_ptr failure;
  std::thread thread([&] {
    try {
      BecomeRealTime();
      const Clock::time_point end = Clock::now() + time;
      for (Clock::time_point start = Clock::now(), now; start < end;
           start = now, ++parses.count) {
        work.Run();
        now = Clock::now();
        const std::chrono::duration<double, std::milli> spent = now - start;
        parses.longest = std::max(parses.longest, spent.count());
      }
    } catch (...) {
      failure = std::current_exception();
    }
  });
  thread.join();
  if (failure) std::rethrow_exception(failure);
  return parses;
}

// The same while two ordinary threads parse.
Parses ParseBesideOthers(const bench::Work& work, Clock::duration time) {
  std::atomic<bool> is_over{false};
  std::vector<std::thread> others;
  for (int i = 0; i < 2; ++i) {
    others.emplace_back([&] {
      while (!is_over) work.Run();
    });
  }
  const Parses parses = ParseInTime(work, time);
  is_over = true;
  for (std::thread& other : others) other.join();
  return parses;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "Usage: %s FILE SECONDS\n", argv[0]);
    return 2;
  }
  try {
    const std::string text = bench::ReadFile(argv[1]);
    const bench::Work work(bench::FindLibrary("vorn"), bench::Operation::Parse,
                           text);
    const std::chrono::seconds time(std::atoi(argv[2]));
    StayOnOneProcessor();
    const Parses alone = ParseInTime(work, time);
    const Parses beside = ParseBesideOthers(work, time);
    std::printf("%ld %.3f %ld %.3f\n", alone.count, alone.longest, beside.count,
                beside.longest);
    return beside.longest > 100 || beside.count * 3 < alone.count * 2 ? 1 : 0;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
}

#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

// Counters and mutexes that threads share. Nothing here spins or yields.
namespace vorn::foundation::debug::internal {

// Whether the calling thread is the only one of the process. If so, it sees all
// that former threads did, and a thread that it starts sees all that it did.
inline bool IsOnlyThread() {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

// A sum that several threads may add to. It uses plain arithmetic while there
// is one thread, and atomic operations otherwise.
template <class T>
class Counter {
 public:
  // Adds the number and returns the sum. REQUIRES: is_alone is what
  // IsOnlyThread() returns.
  T Add(T number, bool is_alone = IsOnlyThread()) {
    if (!is_alone) return sum_.fetch_add(number, kRelaxed) + number;
    const T sum = sum_.load(kRelaxed) + number;
    sum_.store(sum, kRelaxed);
    return sum;
  }
  void Subtract(T number) { Add(T{0} - number); }
  T Get() const { return sum_.load(kRelaxed); }

 private:
  static constexpr auto kRelaxed = std::memory_order_relaxed;
  std::atomic<T> sum_{0};
};

// The mutexes of the monitors. A thread holds one at a time, and none while it
// runs a caller's code. fork() holds all mutexes, so the child finds them free,
// and finds the data that they guard complete.
struct Mutexes {
  std::mutex origins;
  std::mutex strays;
  std::mutex marks;
};
extern Mutexes mutexes;

}  // namespace vorn::foundation::debug::internal

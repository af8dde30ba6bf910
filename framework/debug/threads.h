#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#endif

// What the monitors share among threads. Nothing here spins or yields.
namespace vorn::foundation::debug::internal {

// Whether the calling thread is the only one. All that other threads did before
// is visible then; one that starts sees all that was done.
inline bool IsOnlyThread() {
#if __has_include(<sys/single_threaded.h>)
  return __libc_single_threaded != 0;
#else
  return false;
#endif
}

// A sum that loses nothing, whoever adds to it: plain arithmetic while there is
// one thread, atomic otherwise.
template <class T>
class Counter {
 public:
  // Returns the sum. REQUIRES: is_alone is what IsOnlyThread() returns.
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

// The mutexes of the monitor. None is taken while another is held, and none
// while a caller's code runs. fork() takes all of them, so that in the child
// none is held, and what they guard is whole.
struct Mutexes {
  std::mutex origins;
  std::mutex strays;
  std::mutex marks;
};
extern Mutexes mutexes;

}  // namespace vorn::foundation::debug::internal

#include "threads.h"

#include <pthread.h>

#include <cstdlib>

namespace vorn::foundation::debug::internal {

Mutexes mutexes;

namespace {

void LockAll() {
  mutexes.origins.lock();
  mutexes.strays.lock();
  mutexes.marks.lock();
}

void UnlockAll() {
  mutexes.marks.unlock();
  mutexes.strays.unlock();
  mutexes.origins.unlock();
}

// Runs when the library is loaded. The program registers its handlers later, so
// they run before LockAll() and after UnlockAll() and may use the monitors.
[[gnu::constructor]] void HandleForks() {
  if (pthread_atfork(LockAll, UnlockAll, UnlockAll) != 0) std::abort();
}

}  // namespace

}  // namespace vorn::foundation::debug::internal

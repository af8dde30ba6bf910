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

// When the library is loaded. Handlers of the program are registered later:
// before fork() they run earlier and after it later, and so may use the
// monitor.
[[gnu::constructor]] void HandleForks() {
  if (pthread_atfork(LockAll, UnlockAll, UnlockAll) != 0) std::abort();
}

}  // namespace

}  // namespace vorn::foundation::debug::internal

#include "progress.h"

#include <unistd.h>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <system_error>

#include <foundation/debug/objectmonitor.h>

#include "excerpt.h"

namespace vjson {

using vorn::foundation::debug::ObjectMonitor;

Progress::Progress(const char* work, const char* name, std::size_t size,
                   const std::atomic<std::size_t>* done)
    : work_(work), size_(size), done_(done) {
  constexpr std::size_t kLarge = 10'000'000;
  constexpr std::size_t kWidth = 40;  // all fits on a line of 80 columns
  if (size <= kLarge || isatty(STDERR_FILENO) == 0) return;
  name_ = Excerpt(name, std::strlen(name), kWidth).text;
  values_before_ = ObjectMonitor::LiveCount();
  try {
    thread_ = std::thread([this] { Run(); });
  } catch (const std::system_error&) {
    // There is nothing to see then.
  }
}

Progress::~Progress() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    over_ = true;
  }
  wake_.notify_one();
  thread_.join();
  std::fprintf(stderr, "\r\033[K");
}

void Progress::Run() {
  constexpr std::chrono::milliseconds kPause(200);
  std::unique_lock<std::mutex> lock(mutex_);
  do {
    PrintLine();
  } while (!wake_.wait_for(lock, kPause, [this] { return over_; }));
}

// Makes no strings, which would show in the peak of the memory monitor.
void Progress::PrintLine() const {
  constexpr std::size_t kMega = 1'000'000;
  std::fprintf(stderr, "\rvjson: %s: %s, ", name_.c_str(), work_);
  if (done_ != nullptr) {
    std::fprintf(stderr, "%zu of %zu MB\033[K", *done_ / kMega, size_ / kMega);
  } else {
    std::fprintf(stderr, "%zu values\033[K",
                 ObjectMonitor::LiveCount() - values_before_);
  }
}

}  // namespace vjson

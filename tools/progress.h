#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>

namespace vjson {

// As long as it is there, and where standard error is a terminal, a line shows
// what is done to a large text, and how far that has come. Nothing else is told
// meanwhile.
class Progress {
 public:
  // The work counts up to the size what it has done. Without a count, what has
  // been done is the number of the values that have been made.
  Progress(const char* work, const char* name, std::size_t size,
           const std::atomic<std::size_t>* done);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

 private:
  void Run();
  void PrintLine() const;

  const char* const work_;
  const std::size_t size_;
  const std::atomic<std::size_t>* const done_;
  std::string name_;  // as it is shown
  std::size_t values_before_ = 0;
  bool over_ = false;
  std::mutex mutex_;
  std::condition_variable wake_;
  std::thread thread_;
};

}  // namespace vjson

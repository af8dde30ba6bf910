#pragma once

#include "build.h"

#include <sys/mman.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace support {

inline std::string Repeat(int count, const std::string& text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

// The texts of a table's row, which have bars, or another character, between
// them.
inline std::vector<std::string> Split(const std::string& row, char bar = '|') {
  std::vector<std::string> texts;
  std::istringstream in(row);
  for (std::string text; std::getline(in, text, bar);) texts.push_back(text);
  return texts;
}

// A copy of a text that ends, with its NUL, where memory does: in a block of
// exactly its size for the sanitizers, else in front of a page that must not be
// touched. One at a time.
class ExactText {
 public:
  explicit ExactText(const std::string& text) {
    const std::size_t size = text.size() + 1;
    start_ = kSanitized ? static_cast<char*>(std::malloc(size)) : End() - size;
    std::memcpy(start_, text.c_str(), size);
  }
  ExactText(const ExactText&) = delete;
  ExactText& operator=(const ExactText&) = delete;
  ~ExactText() {
    if (kSanitized) std::free(start_);
  }

  const char* start() const { return start_; }

 private:
  static char* End() {
    constexpr std::size_t kRoom = 1 << 20;  // in front of the page
    static void* const room = mmap(nullptr, 2 * kRoom, PROT_READ | PROT_WRITE,
                                   MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    char* const end = static_cast<char*>(room) + kRoom;
    static const int guarded = mprotect(end, kRoom, PROT_NONE);
    return guarded == 0 ? end : nullptr;
  }

  char* start_;
};

}  // namespace support

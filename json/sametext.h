#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

namespace vorn::foundation::json {

// Whether both texts have the same bytes. Most texts are too short for a call
// of memcmp(), so this compares words. The last word overlaps the one before
// it.
inline bool SameText(std::string_view first, std::string_view second) {
  using Word = std::size_t;
  const std::size_t size = first.size();
  if (size != second.size()) return false;
  const auto same = [&](std::size_t at, auto word) {
    auto other = word;
    std::memcpy(&word, first.data() + at, sizeof word);
    std::memcpy(&other, second.data() + at, sizeof word);
    return word == other;
  };
  if (size >= sizeof(Word)) {
    for (std::size_t at = 0; at < size - sizeof(Word); at += sizeof(Word)) {
      if (!same(at, Word())) return false;
    }
    return same(size - sizeof(Word), Word());
  }
  for (std::size_t at = 0; at < size; ++at) {
    if (first[at] != second[at]) return false;
  }
  return true;
}

}  // namespace vorn::foundation::json

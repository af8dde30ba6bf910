#pragma once

#include <sstream>
#include <string>
#include <vector>

namespace support {

inline std::string Repeat(int count, const std::string& text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

inline std::string Replace(std::string text, const std::string& part,
                           const std::string& by) {
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos;) {
    text.replace(at, part.size(), by);
    at += by.size();
  }
  return text;
}

// The texts of a table's row, which have bars between them.
inline std::vector<std::string> Split(const std::string& row) {
  std::vector<std::string> texts;
  std::istringstream in(row);
  for (std::string text; std::getline(in, text, '|');) texts.push_back(text);
  return texts;
}

}  // namespace support

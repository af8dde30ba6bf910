#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "library.h"

namespace bench {

// Each of the libraries reads a text, in a source file of its own.
std::unique_ptr<Tree> ParseVorn(const std::string& text);
std::unique_ptr<Tree> ParseRapidJson(const std::string& text);
std::unique_ptr<Tree> ParseCJson(const std::string& text);
std::unique_ptr<Tree> ParseJsonC(const std::string& text);
std::unique_ptr<Tree> ParseJansson(const std::string& text);
std::unique_ptr<Tree> ParseNlohmann(const std::string& text);
std::unique_ptr<Tree> ParseJsonCpp(const std::string& text);

// Returns the result of a library. Throws std::runtime_error if it is null or
// false.
template <class Result>
Result Checked(Result result) {
  if (!result) throw std::runtime_error("the library failed");
  return result;
}

}  // namespace bench

#pragma once

#include <foundation/lang/exception.h>

#include <algorithm>
#include <iterator>
#include <string_view>

namespace support {

// The failures of the parser, and the characters on which the cursor stands
// then, or else on which it does not.
constexpr struct {
  const char *where, *what;
  bool on;
  std::string_view characters;
} kFailures[] = {
    {"ParseKey", "object '}' mismatching", true, {"", 1}},
    {"ParseKey", "spare ','", true, "}"},
    {"ParseKey", "key is not begin with '\"'", false, {"\"}", 3}},
    {"GetString", "string is not end with '\"'", true, {"", 1}},
    {"ParseObject", "field not combined with ':'", false, ":"},
    {"ParseObject", "missing '}' or have some extra data characters", false,
     ",}"},
    {"ArraySkip", "array ']' mismatching", true, {"", 1}},
    {"ArraySkip", "spare ','", true, "]"},
    {"ParseArray", "missing ']'", false, ",]"},
    {"ParseBool", "true error", true, "tf"},
    {"ParseNull", "data error", true, "n"},
    {"ParseNumber", "number is incorrect", false, "{[\"tfn"},
    {"Parse", "extra data characters", false, {"", 1}},
    {"Parse", "nesting is too deep", true, "[{"},
};

// Whether the exception is one of these, with the cursor on that character.
inline bool IsFailure(const vorn::foundation::lang::Exception& e, char at) {
  return std::any_of(
      std::begin(kFailures), std::end(kFailures), [&](const auto& failure) {
        const bool on = failure.characters.find(at) != std::string_view::npos;
        return e.where() == std::string_view(failure.where) &&
               e.what() == std::string_view(failure.what) && on == failure.on;
      });
}

}  // namespace support

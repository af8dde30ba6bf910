#pragma once

#include <cstddef>
#include <cstdio>
#include <string_view>

#include <foundation/text/safestring.h>

namespace vjson {

// How a place in a text is shown, on a terminal that reads UTF-8. Question
// marks replace invalid bytes, control characters except the tab, and invisible
// characters that reorder the text around them.

using vorn::foundation::SafeString;

// The number of bytes of the UTF-8 character that the text begins with; 0 when
// it begins with none. REQUIRES: the text is not empty.
std::size_t CharacterSize(std::string_view text);

// A text as it is shown, and the blanks that are as wide.
struct Shown {
  SafeString text;
  SafeString blanks;
};

Shown Show(std::string_view text);

// Prints the text as it is shown, without a request for memory.
void PrintShown(std::FILE* file, std::string_view text);

// The part of a line around a position, about as many bytes as the width tells,
// and the blanks that are as wide as what stands before the position.
Shown Excerpt(std::string_view line, std::size_t at, std::size_t width);

// The line of a position in a text and its column, both from 1. A line ends at
// a line feed, a carriage return, or both together; a column is a byte.
struct Position {
  std::size_t line;
  std::size_t column;
};

Position PositionOf(std::string_view text, std::size_t at);

// Tells of the place on standard error, with the line as an excerpt.
void TellPlace(const char* name, std::string_view text, std::size_t at,
               const char* rule, const char* message);

}  // namespace vjson

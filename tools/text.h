#pragma once

#include <cstddef>
#include <string_view>

#include <foundation/text/safestring.h>

namespace vjson {

// Text: UTF-8, JSON strings, and what a terminal is shown. A terminal that
// reads UTF-8 is assumed. Question marks replace invalid bytes, control
// characters, and invisible characters that reorder the text around them.

using vorn::foundation::SafeString;

struct Character {
  unsigned int code;  // kNone for a byte that is in no valid character
  std::size_t size;   // in bytes

  static constexpr unsigned int kNone = 0x110000;
};

// Whether the byte is in a character and does not begin it.
inline bool IsContinuation(char byte) { return (byte & 0xC0) == 0x80; }

// The first character of the text. REQUIRES: the text is not empty.
Character CharacterOf(std::string_view text);

// What replaces the characters that are not shown: a question mark, except in
// line ends if these stay, or \xNN for each byte. kBlanks: each character is
// replaced by blanks of its width.
enum class Mark { kQuestion, kQuestionInLines, kBytes, kBlanks };

// The text as it is shown.
SafeString Mask(std::string_view text, Mark mark = Mark::kQuestion);

// The part of a line around a position, about as many bytes as the width, as it
// is shown, and the blanks that are as wide as the part before the position.
struct Shown {
  SafeString text;
  SafeString blanks;
};
Shown Excerpt(std::string_view line, std::size_t at, std::size_t width);

// The text as a JSON string in the library's dialect.
SafeString Quote(std::string_view text);

// The text of a JSON string: in the library's dialect, or by RFC 8259 as UTF-8.
// There, half a surrogate pair becomes U+FFFD; a backslash that begins no
// escape stands for itself.
enum class Escapes { kDialect, kStandard };
SafeString Unquote(std::string_view quoted,
                   Escapes escapes = Escapes::kDialect);

// The code unit of the \u escape that the text begins with; -1 if there is
// none.
int CodeUnitOf(std::string_view text);

}  // namespace vjson

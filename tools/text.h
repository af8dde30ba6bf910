#pragma once

#include <cstddef>
#include <string_view>

#include <foundation/text/safestring.h>

namespace vjson {

// Text: UTF-8, JSON strings, and what a terminal is shown. A terminal that
// reads UTF-8 is assumed. Question marks replace invalid bytes, control
// characters, and invisible characters that reorder the text around them.

using vorn::foundation::SafeString;

// A character, or, with the size 0, a byte that begins none.
struct Character {
  unsigned int code;
  std::size_t size;
};

// Whether the byte is in a character and does not begin it.
bool IsContinuation(char byte);

// The first character of the text. REQUIRES: the text is not empty.
Character CharacterOf(std::string_view text);

// The text as it is shown. Line feeds, and carriage returns in front of them,
// stay if they are to be kept.
SafeString Mask(std::string_view text, bool keep_line_ends = false);

// The text with \xNN for each byte that would be shown as a question mark.
SafeString Spell(std::string_view text);

// The part of a line around a position, about as many bytes as the width, as it
// is shown, and the blanks that are as wide as what stands before the position.
struct Shown {
  SafeString text;
  SafeString blanks;
};
Shown Excerpt(std::string_view line, std::size_t at, std::size_t width);

// The text as a JSON string in the library's dialect, and the text of such a
// string.
SafeString Quote(std::string_view text);
SafeString Unquote(std::string_view quoted);

// The text of a JSON string by RFC 8259, as UTF-8. Half a surrogate pair
// becomes U+FFFD; a backslash that begins no escape stands for itself.
SafeString Decode(std::string_view quoted);

// The code unit of the \u escape that the text begins with; -1 if there is
// none.
int CodeUnitOf(std::string_view text);

}  // namespace vjson

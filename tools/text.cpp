#include "text.h"

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <iterator>
#include <locale>

#include <foundation/text/stringutils.h>

namespace vjson {

using vorn::foundation::text::StringUtils;

// UTF-8 -----------------------------------------------------------------------

namespace {

const auto& Utf8() {
  using Facet = std::codecvt<char32_t, char, std::mbstate_t>;
  static const auto& facet = std::use_facet<Facet>(std::locale::classic());
  return facet;
}

bool IsSurrogate(unsigned int code) { return code >> 11 == 0x1B; }

}  // namespace

bool IsContinuation(char byte) { return (byte & 0xC0) == 0x80; }

// The facet takes surrogates for characters.
Character CharacterOf(std::string_view text) {
  const char* const begin = text.data();
  const char* end = begin;
  char32_t code = 0;
  char32_t* next = nullptr;
  std::mbstate_t state{};
  Utf8().in(state, begin, begin + text.size(), end, &code, &code + 1, next);
  return {code, IsSurrogate(code) ? 0 : static_cast<std::size_t>(end - begin)};
}

namespace {

void AppendCodePoint(char32_t code, SafeString& text) {
  char bytes[4];
  char* end = bytes;
  const char32_t* next = nullptr;
  std::mbstate_t state{};
  Utf8().out(state, &code, &code + 1, next, bytes, std::end(bytes), end);
  text.append(bytes, end);
}

// What is shown ---------------------------------------------------------------

struct Range {
  unsigned int first, last;
};

// Control characters except the tab, and what is invisible and changes the
// order or the lines of the text around: U+202E shows it from right to left.
constexpr Range kHidden[] = {
    {0x00, 0x08},     {0x0A, 0x1F},      {0x7F, 0x9F},     {0x061C, 0x061C},
    {0x200B, 0x200B}, {0x200E, 0x200F},  {0x2028, 0x202E}, {0x2060, 0x206F},
    {0xFEFF, 0xFEFF}, {0xE0000, 0xE007F}};

bool IsHidden(unsigned int code) {
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [code](const Range& range) {
                       return range.first <= code && code <= range.last;
                     });
}

bool StartsWithLineEnd(std::string_view text) {
  return text[0] == '\n' || text.substr(0, 2) == "\r\n";
}

// Whether the character takes two columns: nearly all from U+3000 to U+9FFF,
// the Hangul syllables, and the pictures among those of four bytes.
bool IsWide(unsigned int code) {
  return (code >= 0x3000 && code < 0xE000 && code / 0x1000 != 0xA) ||
         (code >= 0x10000 && code < 0x40000);
}

// The blanks that are as wide as a text that is shown.
SafeString BlanksFor(std::string_view text) {
  SafeString blanks;
  while (!text.empty()) {
    const auto [code, size] = CharacterOf(text);
    blanks.append(IsWide(code) ? 2 : 1, code == '\t' ? '\t' : ' ');
    text.remove_prefix(size);
  }
  return blanks;
}

}  // namespace

SafeString Mask(std::string_view text, bool keep_line_ends) {
  SafeString shown;
  while (!text.empty()) {
    const auto [code, size] = CharacterOf(text);
    const bool legible = (size != 0 && !IsHidden(code)) ||
                         (keep_line_ends && StartsWithLineEnd(text));
    shown += legible ? text.substr(0, size) : "?";
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
  return shown;
}

SafeString Spell(std::string_view text) {
  SafeString spelled;
  while (!text.empty()) {
    const std::size_t size = CharacterOf(text).size;
    const auto character = text.substr(0, std::max<std::size_t>(size, 1));
    if (Mask(character) == character) {
      spelled += character;
    } else {
      for (const char byte : character) {
        spelled += StringUtils::_InternalFormat(
            "\\x%02x", static_cast<unsigned int>(byte) & 0xFF);
      }
    }
    text.remove_prefix(character.size());
  }
  return spelled;
}

Shown Excerpt(std::string_view line, std::size_t at, std::size_t width) {
  const SafeString cut = "...";
  std::size_t begin = 0;
  std::size_t end = line.size();
  if (line.size() > width) {
    begin = std::min(at - std::min(at, width * 2 / 3), line.size() - width);
    end = begin + width;
    while (begin < at && IsContinuation(line[begin])) ++begin;
    while (end > at && end < line.size() && IsContinuation(line[end])) --end;
  }
  const SafeString before =
      (begin > 0 ? cut : "") + Mask(line.substr(begin, at - begin));
  const SafeString behind = Mask(line.substr(at, end - at));
  return {before + behind + (end < line.size() ? cut : ""), BlanksFor(before)};
}

// Strings ---------------------------------------------------------------------

namespace {

// The escapes of RFC 8259 but \u: each character with its letter. The dialect
// has the first five.
constexpr std::string_view kCharacters = "\"\\\r\n\t/\b\f";
constexpr std::string_view kLetters = "\"\\rnt/bf";
constexpr std::size_t kDialect = 5;

// Appends what the \u escape that the text begins with stands for, together
// with the one behind it where both are a pair. Returns how many bytes that
// takes.
std::size_t AppendCodeUnit(std::string_view text, SafeString& decoded) {
  const auto unit = static_cast<unsigned int>(CodeUnitOf(text));
  const auto next = static_cast<unsigned int>(CodeUnitOf(text.substr(6)));
  if (unit >> 10 == 0x36 && next >> 10 == 0x37) {
    AppendCodePoint(0x10000 + ((unit & 0x3FF) << 10 | (next & 0x3FF)), decoded);
    return 12;
  }
  AppendCodePoint(IsSurrogate(unit) ? 0xFFFD : unit, decoded);
  return 6;
}

// Takes so many of the escapes, and \u if they are all.
SafeString DecodeEscapes(std::string_view quoted, std::size_t escapes) {
  SafeString decoded;
  std::size_t size = 1;
  for (auto rest = quoted.substr(1); rest.size() > 1;
       rest.remove_prefix(size)) {
    const std::size_t escape = kLetters.substr(0, escapes).find(rest[1]);
    size = 1;
    if (rest[0] == '\\' && escape != kLetters.npos) {
      decoded += kCharacters[escape];
      size = 2;
    } else if (escapes > kDialect && CodeUnitOf(rest) >= 0) {
      size = AppendCodeUnit(rest, decoded);
    } else {
      decoded += rest[0];
    }
  }
  return decoded;
}

}  // namespace

int CodeUnitOf(std::string_view text) {
  constexpr std::size_t kSize = 6;
  unsigned int unit = 0;
  if (text.size() < kSize || text.substr(0, 2) != "\\u") return -1;
  const char* const end = text.data() + kSize;
  if (std::from_chars(text.data() + 2, end, unit, 16).ptr != end) return -1;
  return static_cast<int>(unit);
}

SafeString Quote(std::string_view text) {
  SafeString quoted = "\"";
  for (const char character : text) {
    const std::size_t escape = kCharacters.substr(0, kDialect).find(character);
    if (escape != kCharacters.npos) quoted += '\\';
    quoted += escape == kCharacters.npos ? character : kLetters[escape];
  }
  return quoted + '"';
}

SafeString Unquote(std::string_view quoted) {
  return DecodeEscapes(quoted, kDialect);
}

SafeString Decode(std::string_view quoted) {
  return DecodeEscapes(quoted, kLetters.size());
}

}  // namespace vjson

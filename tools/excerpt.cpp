#include "excerpt.h"

#include <algorithm>
#include <iterator>

namespace vjson {

namespace {

bool IsContinuation(char byte) { return (byte & 0xC0) == 0x80; }

// Whether the first two bytes stand for what has a shorter form, for a
// surrogate, or for more than U+10FFFF.
bool IsOutOfRange(std::string_view text) {
  const auto second = static_cast<unsigned char>(text[1]);
  switch (static_cast<unsigned char>(text[0])) {
    case 0xE0:
      return second < 0xA0;
    case 0xED:
      return second >= 0xA0;
    case 0xF0:
      return second < 0x90;
    case 0xF4:
      return second >= 0x90;
    default:
      return false;
  }
}

}  // namespace

std::size_t CharacterSize(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return 1;
  if (lead < 0xC2 || lead > 0xF4) return 0;
  const std::size_t size = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
  if (text.size() < size || IsOutOfRange(text)) return 0;
  for (const char byte : text.substr(1, size - 1)) {
    if (!IsContinuation(byte)) return 0;
  }
  return size;
}

namespace {

struct Range {
  unsigned int first;
  unsigned int last;
};

// Control characters except the tab, and what is invisible and changes the
// order or the lines of the text around: U+202E shows it from right to left.
constexpr Range kHidden[] = {
    {0x00, 0x08},     {0x0A, 0x1F},      {0x7F, 0x9F},     {0x061C, 0x061C},
    {0x200B, 0x200B}, {0x200E, 0x200F},  {0x2028, 0x202E}, {0x2060, 0x206F},
    {0xFEFF, 0xFEFF}, {0xE0000, 0xE007F}};

// The code point of a whole character.
unsigned int CodePoint(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  if (character.size() == 1) return lead;
  unsigned int code = lead & (0x7Fu >> character.size());
  for (const char byte : character.substr(1)) {
    code = code << 6 | (static_cast<unsigned char>(byte) & 0x3Fu);
  }
  return code;
}

bool IsHidden(std::string_view character) {
  const unsigned int code = CodePoint(character);
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [code](const Range& range) {
                       return range.first <= code && code <= range.last;
                     });
}

// The size of the character that the text begins with, and whether it is shown
// as it is. An invalid byte is a character that is not.
struct Glyph {
  std::size_t size;
  bool legible;
};

Glyph GlyphOf(std::string_view text) {
  const std::size_t size = CharacterSize(text);
  if (size == 0) return {1, false};
  return {size, !IsHidden(text.substr(0, size))};
}

// Whether the character takes two columns: nearly all from U+3000 to U+9FFF,
// the Hangul syllables, and the pictures among those of four bytes.
bool IsWide(std::string_view character) {
  const auto lead = static_cast<unsigned char>(character[0]);
  return (lead >= 0xE3 && lead <= 0xED && lead != 0xEA) || lead == 0xF0;
}

}  // namespace

Shown Show(std::string_view text) {
  Shown shown;
  while (!text.empty()) {
    const auto [size, legible] = GlyphOf(text);
    const std::string_view character = text.substr(0, size);
    shown.text += legible ? character : "?";
    if (character == "\t") {
      shown.blanks += '\t';
    } else {
      shown.blanks.append(legible && IsWide(character) ? 2 : 1, ' ');
    }
    text.remove_prefix(size);
  }
  return shown;
}

void PrintShown(std::FILE* file, std::string_view text) {
  std::size_t end = 0;
  while (end < text.size()) {
    const auto [size, legible] = GlyphOf(text.substr(end));
    if (legible) {
      end += size;
      continue;
    }
    std::fwrite(text.data(), 1, end, file);
    std::fputc('?', file);
    text.remove_prefix(end + size);
    end = 0;
  }
  std::fwrite(text.data(), 1, end, file);
}

Shown Excerpt(std::string_view line, std::size_t at, std::size_t width) {
  constexpr std::string_view kCut = "...";
  std::size_t begin = 0;
  std::size_t end = line.size();
  if (line.size() > width) {
    begin = std::min(at - std::min(at, width * 2 / 3), line.size() - width);
    end = begin + width;
    while (begin < at && IsContinuation(line[begin])) ++begin;
    while (end > at && end < line.size() && IsContinuation(line[end])) --end;
  }
  Shown excerpt = Show(line.substr(begin, at - begin));
  excerpt.text += Show(line.substr(at, end - at)).text;
  if (begin > 0) {
    excerpt.text.insert(0, kCut);
    excerpt.blanks.insert(0, kCut.size(), ' ');
  }
  if (end < line.size()) excerpt.text += kCut;
  return excerpt;
}

Position PositionOf(std::string_view text, std::size_t at) {
  std::size_t number = 1;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < at; ++i) {
    const bool pair = text.substr(i, 2) == "\r\n";
    if (text[i] != '\n' && (text[i] != '\r' || pair)) continue;
    ++number;
    begin = i + 1;
  }
  return {number, at - begin + 1};
}

void TellPlace(const char* name, std::string_view text, std::size_t at,
               const char* rule, const char* message) {
  constexpr std::size_t kWidth = 70;  // 76 columns with the marks of both cuts
  const Position position = PositionOf(text, at);
  const std::size_t before = position.column - 1;
  const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
  const std::string_view line = text.substr(at - before, end - (at - before));
  const Shown excerpt = Excerpt(line, before, kWidth);
  PrintShown(stderr, name);
  std::fprintf(stderr, ":%zu:%zu: %s: %s\n%s\n%s^\n", position.line,
               position.column, rule, message, excerpt.text.c_str(),
               excerpt.blanks.c_str());
}

}  // namespace vjson

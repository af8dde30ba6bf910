#include "text.h"

#include <algorithm>
#include <charconv>
#include <cwchar>
#include <iterator>
#include <locale>
#include <utility>

#include <foundation/json/json.h>
#include <foundation/text/stringutils.h>

using namespace vjson;

namespace json = vorn::foundation::json;
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

// The facet takes surrogates for characters.
Character vjson::CharacterOf(std::string_view text) {
  const char* const begin = text.data();
  const char* end = begin;
  char32_t code = 0;
  char32_t* next = nullptr;
  std::mbstate_t state{};
  Utf8().in(state, begin, begin + text.size(), end, &code, &code + 1, next);
  if (end == begin || IsSurrogate(code)) return {Character::kNone, 1};
  return {code, static_cast<std::size_t>(end - begin)};
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

// Control characters except the tab, and invisible characters that change the
// order or the lines of the text around: U+202E shows it from right to left.
constexpr std::pair<unsigned int, unsigned int> kHidden[] = {
    {0x00, 0x08},     {0x0A, 0x1F},      {0x7F, 0x9F},     {0x061C, 0x061C},
    {0x200B, 0x200B}, {0x200E, 0x200F},  {0x2028, 0x202E}, {0x2060, 0x206F},
    {0xFEFF, 0xFEFF}, {0xE0000, 0xE007F}};

bool IsHidden(unsigned int code) {
  const auto has = [code](const auto& range) {
    return range.first <= code && code <= range.second;
  };
  return code == Character::kNone ||
         std::any_of(std::begin(kHidden), std::end(kHidden), has);
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

}  // namespace

SafeString vjson::Mask(std::string_view text, Mark mark) {
  SafeString shown;
  while (!text.empty()) {
    const auto [code, size] = CharacterOf(text);
    const std::string_view bytes = text.substr(0, size);
    if (mark == Mark::kBlanks) {
      shown.append(IsWide(code) ? 2 : 1, code == '\t' ? '\t' : ' ');
    } else if (!IsHidden(code) ||
               (mark == Mark::kQuestionInLines && StartsWithLineEnd(text))) {
      shown += bytes;
    } else if (mark != Mark::kBytes) {
      shown += '?';
    } else {
      for (const char byte : bytes) {
        shown += StringUtils::_InternalFormat("\\x%02x", byte & 0xFF);
      }
    }
    text.remove_prefix(size);
  }
  return shown;
}

Shown vjson::Excerpt(std::string_view line, std::size_t at, std::size_t width) {
  std::size_t begin = 0;
  std::size_t end = line.size();
  if (line.size() > width) {
    begin = at - std::min(at, width * 2 / 3);
    end = std::min(begin + width, end);
    while (begin < at && IsContinuation(line[begin])) ++begin;
    while (end > at && end < line.size() && IsContinuation(line[end])) --end;
  }
  const std::string_view before = line.substr(begin, at - begin);
  const std::string_view cut = begin > 0 ? "..." : "";
  SafeString shown(cut);
  shown += Mask(before) + Mask(line.substr(at, end - at));
  if (end < line.size()) shown += "...";
  return {shown, SafeString(cut.size(), ' ') + Mask(before, Mark::kBlanks)};
}

// Strings ---------------------------------------------------------------------

namespace {

// The escapes of RFC 8259 except \u: each character with its letter. The
// dialect has the first five.
constexpr std::string_view kCharacters = "\"\\\r\n\t/\b\f";
constexpr std::string_view kLetters = "\"\\rnt/bf";
constexpr std::size_t kDialect = 5;

// Appends the character of the \u escape that the text begins with, and of the
// next one if both are a pair. Returns the size of the escapes.
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

}  // namespace

int vjson::CodeUnitOf(std::string_view text) {
  constexpr std::size_t kSize = 6;
  unsigned int unit = 0;
  if (text.size() < kSize || text.substr(0, 2) != "\\u") return -1;
  const char* const end = text.data() + kSize;
  if (std::from_chars(text.data() + 2, end, unit, 16).ptr != end) return -1;
  return static_cast<int>(unit);
}

SafeString vjson::Quote(std::string_view text) {
  const json::JString string{SafeString(text)};
  return json::JsonReader::Compress(&string);
}

SafeString vjson::Unquote(std::string_view quoted, Escapes escapes) {
  const bool standard = escapes == Escapes::kStandard;
  const auto letters = kLetters.substr(0, standard ? kLetters.npos : kDialect);
  SafeString text;
  std::size_t size = 1;
  for (auto rest = quoted.substr(1); rest.size() > 1;
       rest.remove_prefix(size)) {
    const std::size_t escape = letters.find(rest[1]);
    size = 1;
    if (rest[0] == '\\' && escape != letters.npos) {
      text += kCharacters[escape];
      size = 2;
    } else if (standard && CodeUnitOf(rest) >= 0) {
      size = AppendCodeUnit(rest, text);
    } else {
      text += rest[0];
    }
  }
  return text;
}

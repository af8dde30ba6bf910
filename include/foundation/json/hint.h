#pragma once

#include <string_view>

#include <foundation/json/jsonfault.h>
#include <foundation/text/stringutils.h>

namespace vorn::foundation::json {

namespace json_internal {
/// Returns the start of the unclosed string, or of the innermost unclosed
/// container, or npos. The parser took the text. open: the container around at.
inline std::size_t Unclosed(std::string_view text, std::size_t& at,
                            std::size_t open) {
  while (at < text.size()) {
    const std::size_t token = at++;
    if (text[token] == ']' || text[token] == '}') return text.npos;
    if (text[token] == '[' || text[token] == '{') {
      const std::size_t inner = Unclosed(text, at, token);
      if (inner != text.npos) return inner;
    } else if (text[token] == '"') {
      for (; at < text.size() && text[at] != '"'; ++at) {
        at += text[at] == '\\';  // skips the escaped byte
      }
      if (at++ >= text.size()) return token;
    } else if (text[token] == '/') {
      at = text.find_first_of("\r\n", at);
    }
  }
  return open;
}

/// Fits if the parser's message contains message, one of the bytes ("": any) is
/// at the fault, and text begins there. The hint of the first fit is given.
struct Mistake {
  std::string_view message, bytes, text;
  const char* hint;
};
inline constexpr const char* kQuotes = "keys and texts stand in double quotes";
inline constexpr const char* kNoComma = "a comma is missing here";
inline constexpr const char* kComma =
    "a comma is too many, or what belongs in front of it is missing";
inline constexpr const char* kWords =
    "the only words are true, false, null, nan and inf, in small letters";
inline constexpr std::string_view kLetters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
inline constexpr Mistake kMistakes[] = {
    {"", "", "\xEF\xBB\xBF", "the text begins with a byte order mark"},
    {"", "\xFF\xFE", "", "the text is UTF-16, and should be UTF-8"},
    {"", "/", "", "comments begin with // and end with the line"},
    {"", "'", "", kQuotes},
    {"missing", kLetters, "", kNoComma},
    {"missing", "\"[{-0123456789", "", kNoComma},
    {"not combined", "", "", "a colon, or a quotation mark, is missing here"},
    {"spare ','", "", "", kComma},
    {"", ",", "", kComma},
    {"key is not begin", kLetters, "", kQuotes},
    {"", "", "NaN", "not a number is written nan"},
    {"number is incorrect", kLetters, "", kWords},
    {" error", "", "", kWords},
};

}  // namespace json_internal

/// Returns one sentence of help, without a full stop, for a common mistake, or
/// an empty text. Throws std::bad_alloc when memory is exhausted.
/// REQUIRES: the fault is of this text. A const char* ends at a NUL.
inline SafeString Hint(const JsonFault& fault, std::string_view text) {
  if (fault.kind != JsonFault::Kind::Malformed) return SafeString();
  std::string_view taken = text.substr(0, fault.offset);
  text.remove_prefix(taken.size());
  const char at = text.empty() ? '\0' : text[0];
  // A quotation mark in front of a letter was meant to begin a string.
  const bool string = json_internal::kLetters.find(at) != text.npos &&
                      !taken.empty() && taken.back() == '"';
  if (string) taken.remove_suffix(1);
  std::size_t token = 0;
  const auto open = json_internal::Unclosed(taken, token, taken.npos);
  const char begin = open == taken.npos ? '\0' : taken[open];
  const char* const kind = begin == '"'   ? "string"
                           : begin == '[' ? "array"
                                          : "object";
  const bool other = at == (begin == '{' ? ']' : '}');  // of another kind
  if (begin != '\0' && (at == '\0' || string || other)) {
    JsonFault place;
    SetPlace(place, taken.data(), open);
    return text::StringUtils::_InternalFormat(
        "the %s that begins at line %u, column %u is not closed", kind,
        place.line, place.column);
  }
  if (at == '\0' && fault.message[0] == 'n') return "the text is empty";
  for (const auto& [part, bytes, start, hint] : json_internal::kMistakes) {
    const bool here = bytes.empty() || bytes.find(at) != bytes.npos;
    if (here && std::string_view(fault.message).find(part) != text.npos &&
        text.substr(0, start.size()) == start) {
      return hint;
    }
  }
  return SafeString();
}
inline SafeString Hint(const JsonFault& fault, const char* text) {
  return Hint(fault, std::string_view(text != nullptr ? text : ""));
}

}  // namespace vorn::foundation::json

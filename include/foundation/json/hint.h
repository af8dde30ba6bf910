#pragma once

#include <string_view>

#include <foundation/json/jsonfault.h>
#include <foundation/text/stringutils.h>

namespace vorn::foundation::json {

namespace hint {
using text::StringUtils;

// The end of the string that begins there, or null if it is not closed.
inline const char* EndOfString(const char* at, const char* end) {
  for (++at; at < end && *at != '"'; ++at) {
    if (*at == '\\' && (at[1] == '"' || at[1] == '\\')) ++at;
  }
  return at < end ? at + 1 : nullptr;
}

// What is not closed in a part that the parser took: a string, or the innermost
// container, by its first byte. Null for none. The bracket open is before it.
inline const char* Unclosed(const char* open, const char*& at,
                            const char* end) {
  while (at != end) {
    const char* const token = at++;
    if (*token == ']' || *token == '}') return nullptr;
    if (*token == '[' || *token == '{') {
      if (const char* const inner = Unclosed(token, at, end)) return inner;
    } else if (*token == '"') {
      if ((at = EndOfString(token, end)) == nullptr) return token;
    } else if (*token == '/') {
      while (at != end && *at != '\n' && *at != '\r') ++at;
    }
  }
  return open;
}

// What the parser's message has in it, one of the bytes at the fault ("" for
// any), and what the text has there. The first that fits is meant.
struct Mistake {
  std::string_view message, bytes;
  const char *text, *hint;
};
inline constexpr const char* kQuotes = "keys and texts stand in double quotes";
inline constexpr const char* kUtf16 = "the text is UTF-16, and should be UTF-8";
inline constexpr const char* kComma =
    "a comma is too many, or what belongs in front of it is missing";
inline constexpr const char* kWords =
    "the only words are true, false, null, nan and inf, in small letters";
inline constexpr std::string_view kLetters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";
inline constexpr Mistake kMistakes[] = {
    {"", "", "\xEF\xBB\xBF", "the text begins with a byte order mark"},
    {"", "", "\xFF\xFE", kUtf16},
    {"", "", "\xFE\xFF", kUtf16},
    {"", "/", "", "comments begin with // and end with the line"},
    {"", "'", "", kQuotes},
    {"", "", "NaN", "not a number is written nan"},
    {"spare ','", "", "", kComma},
    {"key is not begin", ",", "", kComma},
    {"number is incorrect", ",", "", kComma},
    {"key is not begin", kLetters, "", kQuotes},
    {"number is incorrect", kLetters, "", kWords},
    {" error", "", "", kWords},
    {"missing ']'", "\"[{-0123456789tfni", "", "a comma is missing here"},
    {"missing '}'", "\"", "", "a comma is missing here"},
    {"not combined", "", "", "a colon, or a quotation mark, is missing here"},
};

}  // namespace hint

// One sentence of help, without a full stop, for the common mistakes; empty
// where there is nothing to say. Throws std::bad_alloc when memory is
// exhausted. REQUIRES: the fault is of this text.
inline SafeString Hint(const JsonFault& fault, const char* text) {
  if (fault.kind != JsonFault::Kind::Malformed) return SafeString();
  const char* const at = text + fault.offset;
  const char* token = text;
  const char* const open = hint::Unclosed(nullptr, token, at);
  const bool other = open != nullptr && ((*at == ']' && *open == '{') ||
                                         (*at == '}' && *open == '['));
  if (open != nullptr && (*at == '\0' || other)) {
    JsonFault begin;
    SetPlace(begin, text, static_cast<std::size_t>(open - text));
    return hint::StringUtils::_InternalFormat(
        "the %s that begins at line %u, column %u is not closed",
        *open == '"'   ? "string"
        : *open == '[' ? "array"
                       : "object",
        begin.line, begin.column);
  }
  if (*at == '\0' && fault.message[0] == 'n') return "the text is empty";
  const std::string_view message = fault.message;
  for (const auto& [part, bytes, begin, hint] : hint::kMistakes) {
    const bool here = bytes.empty() || bytes.find(*at) != bytes.npos;
    if (here && message.find(part) != message.npos &&
        hint::StringUtils::StartWith(at, begin)) {
      return hint;
    }
  }
  return SafeString();
}

}  // namespace vorn::foundation::json

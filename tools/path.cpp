#include "path.h"

#include <algorithm>

#include <foundation/json/jnumber.h>
#include <foundation/text/stringutils.h>

namespace vjson {

using vorn::foundation::json::json_internal::ReadInteger;
using vorn::foundation::text::StringUtils;

// From paths to steps ---------------------------------------------------------
//
// Every Take function is entered with the position on what it takes, and leaves
// the position behind that.

namespace {

bool Is(std::string_view path, std::size_t at, char character) {
  return at < path.size() && path[at] == character;
}

Step TakeName(std::string_view path, std::size_t& at) {
  const std::size_t begin = at;
  at = std::min(path.find_first_of(".[]", at), path.size());
  if (at == begin) throw PathFault{at, "a name is missing"};
  const SafeString key(path.substr(begin, at - begin));
  return {true, key, Quote(key), Step::kNoIndex, at};
}

// A backslash takes the quotation mark, or backslash, behind it along.
Step TakeKey(std::string_view path, std::size_t& at) {
  const std::size_t begin = at++;
  while (at < path.size() && path[at] != '"') {
    const bool pair =
        path[at] == '\\' && (Is(path, at + 1, '"') || Is(path, at + 1, '\\'));
    at += pair ? 2 : 1;
  }
  if (at >= path.size()) throw PathFault{path.size(), "'\"' is missing"};
  ++at;
  const std::string_view quoted = path.substr(begin, at - begin);
  return {true, Unquote(quoted), SafeString(quoted), Step::kNoIndex, at};
}

Step TakeIndex(std::string_view path, std::size_t& at) {
  const std::size_t begin = at;
  at = std::min(path.find_first_not_of("0123456789", at), path.size());
  if (at == begin) throw PathFault{at, "an index or a string is missing"};
  const auto index = ReadInteger<unsigned int>(path.substr(begin, at - begin));
  if (!index) throw PathFault{begin, "the index is too large"};
  return {false, SafeString(), SafeString(), *index, at};
}

Step TakeBracket(std::string_view path, std::size_t& at) {
  ++at;
  Step step = Is(path, at, '"') ? TakeKey(path, at) : TakeIndex(path, at);
  if (!Is(path, at, ']')) throw PathFault{at, "']' is missing"};
  step.end = ++at;
  return step;
}

// The index that a JSON Pointer means in an array: "-" is behind the end.
std::size_t PointerIndex(std::string_view token) {
  const bool plain = token == "0" || token.find_first_of("123456789") == 0;
  if (!plain) return token == "-" ? Step::kBehind : Step::kNoIndex;
  return ReadInteger<std::size_t>(token).value_or(Step::kNoIndex);
}

Step TakePointerToken(std::string_view path, std::size_t& at) {
  SafeString key;
  const std::size_t begin = ++at;
  for (; at < path.size() && path[at] != '/'; ++at) {
    const bool escape = path[at] == '~';
    if (escape && !Is(path, ++at, '0') && !Is(path, at, '1')) {
      throw PathFault{at, "'0' or '1' is missing behind '~'"};
    }
    key += !escape ? path[at] : path[at] == '0' ? '~' : '/';
  }
  const std::string_view token = path.substr(begin, at - begin);
  return {true, key, Quote(key), PointerIndex(token), at};
}

Step TakeStep(std::string_view path, std::size_t& at) {
  if (path[0] == '/') return TakePointerToken(path, at);
  if (path[at] == '[') return TakeBracket(path, at);
  if (at > 0 && path[at++] != '.') {
    throw PathFault{at - 1, "'.' or '[' is missing"};
  }
  return TakeName(path, at);
}

}  // namespace

Path ParsePath(std::string_view text) {
  Path path{text, {}};
  for (std::size_t at = 0; at < text.size();) {
    path.steps.push_back(TakeStep(text, at));
  }
  return path;
}

Path ParsePathOrFail(const char* text) {
  try {
    return ParsePath(text);
  } catch (const PathFault& fault) {
    PrintErrorAt({"path", {1, fault.at + 1}, text, fault.at}, "Path",
                 fault.message);
    throw Failure{kTrouble};
  }
}

// From steps to paths ---------------------------------------------------------

SafeString PointerText(std::string_view key) {
  SafeString text = "/";
  for (const char character : key) {
    const bool escaped = character == '~' || character == '/';
    if (escaped) text += '~';
    text += character == '~' ? '0' : character == '/' ? '1' : character;
  }
  return text;
}

SafeString PointerText(std::size_t index) {
  return StringUtils::_InternalFormat("/%zu", index);
}

}  // namespace vjson

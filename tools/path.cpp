#include "path.h"

#include <algorithm>

#include <foundation/json/jnumber.h>

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
  return {Quote(path.substr(begin, at - begin)), Step::kNoIndex};
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
  return {SafeString(path.substr(begin, at - begin)), Step::kNoIndex};
}

Step TakeIndex(std::string_view path, std::size_t& at) {
  const std::size_t begin = at;
  at = std::min(path.find_first_not_of("0123456789", at), path.size());
  if (at == begin) throw PathFault{at, "an index or a string is missing"};
  const auto index = ReadInteger<unsigned int>(path.substr(begin, at - begin));
  if (!index) throw PathFault{begin, "the index is too large"};
  return {SafeString(), *index};
}

Step TakeBracket(std::string_view path, std::size_t& at) {
  ++at;
  Step step = Is(path, at, '"') ? TakeKey(path, at) : TakeIndex(path, at);
  if (!Is(path, at, ']')) throw PathFault{at, "']' is missing"};
  ++at;
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
  return {Quote(key), PointerIndex(path.substr(begin, at - begin))};
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
    path.steps.back().end = at;
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

// Values in a text ------------------------------------------------------------

namespace {

// The next token that is no comment and no blank.
Token NextOf(Scanner& scanner) {
  Token token = scanner.Next();
  while (token.kind == Token::kComment || token.kind == Token::kOddBlank) {
    token = scanner.Next();
  }
  return token;
}

// The value that the token begins. The scanner goes behind it.
std::string_view PassValue(Scanner& scanner, const Token& first) {
  const std::size_t around =
      scanner.depth() - (first.kind == Token::kBegin ? 1 : 0);
  std::string_view last = first.text;
  while (scanner.depth() > around) last = scanner.Next().text;
  const char* const end = last.data() + last.size();
  return {first.text.data(), static_cast<std::size_t>(end - first.text.data())};
}

// Why the step leads nowhere in the value.
SafeString WhyNot(std::string_view value, const Step& step) {
  if (value[0] == '[' && step.index != Step::kNoIndex) {
    return StringUtils::_InternalFormat("past the end, the length is %zu",
                                        ChildrenOf(value).size());
  }
  if (value[0] == '{' && !step.key.empty()) return "no such key";
  return "not in " + Brief(value);
}

}  // namespace

std::string_view RootOf(const Document& document) {
  Input input("", document.text);
  Scanner scanner(input);
  return PassValue(scanner, NextOf(scanner));
}

std::vector<Child> ChildrenOf(std::string_view value) {
  std::vector<Child> children;
  if (value[0] != '[' && value[0] != '{') return children;
  Input input("", value);
  Scanner scanner(input);
  NextOf(scanner);
  Token token = NextOf(scanner);
  while (token.kind != Token::kEnd) {
    Child child{};
    if (token.kind == Token::kKey) {
      child.key = token.text;
      NextOf(scanner);
      token = NextOf(scanner);
    }
    child.value = PassValue(scanner, token);
    token = NextOf(scanner);
    if (token.kind == Token::kComma) {
      child.comma = token.text.data();
      token = NextOf(scanner);
    }
    children.push_back(child);
  }
  return children;
}

const Child* FindChild(const std::vector<Child>& children, const Step& step) {
  if (children.empty() || children[0].key.empty()) {
    return step.index < children.size() ? &children[step.index] : nullptr;
  }
  if (step.key.empty()) return nullptr;
  const SafeString key = Unquote(step.key);
  const auto found = std::find_if(
      children.rbegin(), children.rend(),
      [&](const Child& child) { return Unquote(child.key) == key; });
  return found == children.rend() ? nullptr : &*found;
}

std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps) {
  std::string_view value = RootOf(document);
  steps = std::min(steps, path.steps.size());
  for (const Step* step = path.steps.data(); steps > 0; --steps, ++step) {
    const std::vector<Child> children = ChildrenOf(value);
    const Child* const child = FindChild(children, *step);
    if (child == nullptr) {
      FailAt(document, path.text.substr(0, step->end), WhyNot(value, *step));
    }
    value = child->value;
  }
  return value;
}

void FailAt(const Document& document, std::string_view path,
            const SafeString& message) {
  constexpr std::size_t kWidth = 60;
  const SafeString shown =
      path.empty() ? "(root)" : Excerpt(path, path.size(), kWidth).text;
  PrintError(document.subject, (shown + ": " + message).c_str());
  throw Failure{kNo};
}

SafeString Brief(std::string_view value) {
  constexpr std::size_t kWidth = 30;
  return Excerpt(value, 0, kWidth).text;
}

}  // namespace vjson

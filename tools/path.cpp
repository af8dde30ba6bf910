#include "path.h"

#include <algorithm>
#include <cstring>

#include <foundation/json/jnumber.h>

using namespace vjson;
using vorn::foundation::json::json_internal::ReadInteger;
using vorn::foundation::text::StringUtils;

// From paths to steps ---------------------------------------------------------
//
// A Take function begins with the cursor on the first byte of its part, and
// ends with the cursor behind the last one.

namespace {

constexpr const char* kRule = "Path";

Step TakeName(Input& input) {
  input.BeginToken();
  input.SkipWhile([](char c) { return std::strchr(".[]", c) == nullptr; });
  if (input.Token().empty()) Refuse(input, kRule, "expected a name");
  return {Quote(input.Token())};
}

Step TakeBracket(Input& input) {
  input.Skip();
  if (std::strchr("\"0123456789", input.Peek()) == nullptr || input.AtEnd()) {
    Refuse(input, kRule, "expected an index or a string");
  }
  Step step;
  const Token token = Scanner(input).Next();
  if (token.kind == Token::kString) {
    step.key = token.text;
  } else if (const auto index = ReadInteger<unsigned int>(token.text)) {
    step.index = *index;
  } else {
    input.Unread();
    Refuse(input, kRule, "no index, or too large");
  }
  if (input.Peek() != ']') Refuse(input, kRule, "expected ']'");
  input.Skip();
  return step;
}

// The index that a JSON Pointer means in an array: "-" is behind the end.
std::size_t PointerIndex(std::string_view token) {
  const bool plain = token == "0" || token.find_first_of("123456789") == 0;
  if (!plain) return token == "-" ? Step::kBehind : Step::kNoIndex;
  return ReadInteger<std::size_t>(token).value_or(Step::kNoIndex);
}

Step TakePointerToken(Input& input) {
  input.Skip();
  input.BeginToken();
  SafeString key;
  for (; input.Peek() != '\0' && input.Peek() != '/'; input.Skip()) {
    const bool escape = input.Peek() == '~';
    if (escape) input.Skip();
    const char byte = input.Peek();
    if (escape && byte != '0' && byte != '1') {
      Refuse(input, kRule, "expected '0' or '1' behind '~'");
    }
    key += !escape ? byte : byte == '0' ? '~' : '/';
  }
  return {Quote(key), PointerIndex(input.Token())};
}

Step TakeStep(Input& input, bool pointer) {
  if (pointer) return TakePointerToken(input);
  if (input.Peek() == '[') return TakeBracket(input);
  if (input.Offset() > 0) {
    if (input.Peek() != '.') Refuse(input, kRule, "expected '.' or '['");
    input.Skip();
  }
  return TakeName(input);
}

}  // namespace

Path vjson::ParsePath(Input& input) {
  Path path{input.ReadAll(), {}};
  const bool pointer = input.Peek() == '/';
  while (input.Peek() != '\0') {
    Step step = TakeStep(input, pointer);
    if (!step.key.empty()) step.name = Unquote(step.key);
    step.end = static_cast<std::size_t>(input.Offset());
    path.steps.push_back(std::move(step));
  }
  return path;
}

Path vjson::ParsePathOrFail(const char* text) {
  Input input("path", text);
  return Read(
      input, [&] { return ParsePath(input); }, kTrouble);
}

// From steps to paths ---------------------------------------------------------

SafeString vjson::PointerText(std::string_view key) {
  SafeString text = "/";
  for (const char character : key) {
    const bool escaped = character == '~' || character == '/';
    if (escaped) text += '~';
    text += character == '~' ? '0' : character == '/' ? '1' : character;
  }
  return text;
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

// The value that the token begins. The scanner passes the value.
std::string_view PassValue(Scanner& scanner, const Token& first) {
  const std::size_t around =
      scanner.depth() - (first.kind == Token::kBegin ? 1 : 0);
  while (scanner.depth() > around) scanner.Next();
  return scanner.From(first);
}

// The children of the container that has begun. The scanner passes the
// container. pass(key, index, token) passes and returns the value of a child,
// which the token begins.
template <class Pass>
std::vector<Child> PassChildren(Scanner& scanner, Pass pass) {
  std::vector<Child> children;
  Token token = NextOf(scanner);
  while (token.kind != Token::kEnd) {
    Child child{};
    const Token first = token;
    if (token.kind == Token::kKey) {
      child.key = token.text;
      NextOf(scanner);
      token = NextOf(scanner);
    }
    child.value = pass(child.key, children.size(), token);
    child.item = scanner.From(first);
    token = NextOf(scanner);
    if (token.kind == Token::kComma) {
      child.item = scanner.From(first);
      token = NextOf(scanner);
    }
    children.push_back(child);
  }
  return children;
}

// The value that the steps lead to, or else the last value on the way, and the
// step that leads nowhere from there.
struct Found {
  std::string_view value;
  const Step* step;
};

// Takes the steps from the value that the token begins, in one pass over it. A
// repeated key counts again.
Found Follow(Scanner& scanner, const Token& first, const Step* step,
             const Step* end) {
  Found found{"", step};
  if (step == end || first.kind != Token::kBegin) {
    return {PassValue(scanner, first), step};
  }
  PassChildren(scanner, [&](auto key, auto index, const Token& token) {
    if (!step->LeadsTo(key, index)) return PassValue(scanner, token);
    found = Follow(scanner, token, step + 1, end);
    return scanner.From(token);
  });
  if (found.value.empty()) found.value = scanner.From(first);
  return found;
}

// Why the step leads nowhere from the value.
SafeString WhyNot(std::string_view value, const Step& step) {
  if (value[0] == '[' && step.index != Step::kNoIndex) {
    return StringUtils::_InternalFormat("past the end, the length is %zu",
                                        ChildrenOf(value).size());
  }
  if (value[0] == '{' && !step.key.empty()) return "no such key";
  return "not in " + Excerpt(value, 0, kBrief).text;
}

}  // namespace

std::vector<Child> vjson::ChildrenOf(std::string_view value) {
  if (value[0] != '[' && value[0] != '{') return {};
  Input input("", value);
  Scanner scanner(input);
  NextOf(scanner);
  const auto pass = [&](auto, auto, const Token& token) {
    return PassValue(scanner, token);
  };
  return PassChildren(scanner, pass);
}

std::string_view vjson::FindValue(const Document& document, const Path& path,
                                  std::size_t steps) {
  Input input("", document.text);
  Scanner scanner(input);
  const Step* const begin = path.steps.data();
  const Step* const end = begin + std::min(steps, path.steps.size());
  const Found found = Follow(scanner, NextOf(scanner), begin, end);
  if (found.step == end) return found.value;
  FailAt(document, path.text.substr(0, found.step->end),
         WhyNot(found.value, *found.step));
}

void vjson::FailAt(const Document& document, std::string_view path,
                   const SafeString& message) {
  constexpr std::size_t kWidth = 60;
  const SafeString shown =
      path.empty() ? "(root)" : Excerpt(path, path.size(), kWidth).text;
  PrintError(document.subject, shown + ": " + message);
  throw Failure{kNo};
}

#include "document.h"

#include <algorithm>

#include <foundation/json/json.h>

#include "scanner.h"

namespace vjson {

using namespace vorn::foundation::json;
using vorn::foundation::text::StringUtils;

// Loading ---------------------------------------------------------------------

Document LoadDocument(Input& input) {
  const Document document{input.Subject(), input.ReadAll()};
  CheckText(input);
  return document;
}

JBase* LoadTree(const Document& document) {
  JsonReader reader;
  JsonFault fault;
  if (!reader.fromString(document.text.data(), fault)) throw std::bad_alloc();
  return reader.transfer();
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
  if (value[0] == '{' && step.by_key) return "no such key";
  return SafeString("not in a value of the kind ") + KindOf(value);
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
  const auto found =
      std::find_if(children.rbegin(), children.rend(), [&](const Child& child) {
        return step.by_key && Unquote(child.key) == step.key;
      });
  return found == children.rend() ? nullptr : &*found;
}

std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps) {
  std::string_view value = RootOf(document);
  for (std::size_t i = 0; i < steps; ++i) {
    const Step& step = path.steps[i];
    const std::vector<Child> children = ChildrenOf(value);
    const Child* const child = FindChild(children, step);
    if (child == nullptr) {
      FailAt(document, path.text.substr(0, step.end), WhyNot(value, step));
    }
    value = child->value;
  }
  return value;
}

std::string_view FindValue(const Document& document, const Path& path) {
  return FindValue(document, path, path.steps.size());
}

void FailAt(const Document& document, std::string_view path,
            const SafeString& message) {
  constexpr std::size_t kWidth = 60;
  const SafeString shown =
      path.empty() ? "(root)" : Excerpt(path, path.size(), kWidth).text;
  PrintError(document.subject, (shown + ": " + message).c_str());
  throw Failure{kNo};
}

const char* KindOf(std::string_view value) {
  switch (value[0]) {
    case '{':
      return "object";
    case '[':
      return "array";
    case '"':
      return "string";
    case 't':
    case 'f':
      return "bool";
    default:
      return value == "null" ? "null" : "number";
  }
}

}  // namespace vjson

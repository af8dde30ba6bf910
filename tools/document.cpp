#include "document.h"

#include <algorithm>

#include <foundation/json/json.h>
#include <foundation/text/stringutils.h>

#include "scanner.h"

namespace vjson {

using namespace vorn::foundation::json;
using vorn::foundation::text::StringUtils;

// Loading ---------------------------------------------------------------------

bool LoadDocument(Input& input, Document& document) {
  document = {input.Subject(), input.ReadAll()};
  Input text(input.name(), document.text, input.line());
  return CheckText(text);
}

Status ForEachDocument(const char* file, bool lines,
                       const std::function<Status(const Document&)>& work) {
  return ForEachText(file, lines, [&](Input& input) {
    Document document;
    return LoadDocument(input, document) ? work(document) : kNo;
  });
}

Document LoadDocumentOrFail(const char* file) {
  Document document;
  Input input(file);
  if (!LoadDocument(input, document)) throw Failure{kNo};
  return document;
}

JBase* LoadTree(const Document& document) {
  JsonReader reader;
  JsonFault fault;
  if (!reader.fromString(document.text, fault)) throw std::bad_alloc();
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

bool IsArray(std::string_view value) { return value[0] == '['; }
bool IsObject(std::string_view value) { return value[0] == '{'; }

// Why the step leads nowhere in the value.
SafeString WhyNot(std::string_view value, std::size_t length,
                  const Step& step) {
  if (IsArray(value) && step.index != Step::kNoIndex) {
    return StringUtils::_InternalFormat("past the end, the length is %zu",
                                        length);
  }
  if (IsObject(value) && step.by_key) return "no such key";
  return SafeString("not in a value of the kind ") + KindOf(value);
}

}  // namespace

std::string_view RootOf(const Document& document) {
  Input input("", document.text);
  Scanner scanner(input);
  return PassValue(scanner, NextOf(scanner));
}

std::vector<Child> ChildrenOf(const Document& document,
                              std::string_view container) {
  const auto begin = container.data() - document.text.data();
  Input input(
      "",
      std::string_view(document.text).substr(static_cast<std::size_t>(begin)));
  Scanner scanner(input);
  std::vector<Child> children;
  if (NextOf(scanner).kind != Token::kBegin) return children;
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

const Child* FindChild(const std::vector<Child>& children,
                       std::string_view container, const Step& step) {
  if (IsArray(container)) {
    return step.index < children.size() ? &children[step.index] : nullptr;
  }
  const auto found =
      std::find_if(children.rbegin(), children.rend(), [&](const Child& child) {
        return step.by_key && !child.key.empty() &&
               Unquote(child.key) == step.key;
      });
  return found == children.rend() ? nullptr : &*found;
}

std::string_view FindValue(const Document& document, const Path& path,
                           std::size_t steps) {
  std::string_view value = RootOf(document);
  for (std::size_t i = 0; i < steps; ++i) {
    const Step& step = path.steps[i];
    const std::vector<Child> children = ChildrenOf(document, value);
    const Child* const child = FindChild(children, value, step);
    if (child == nullptr) {
      PrintMissing(document, path.text.substr(0, step.end),
                   WhyNot(value, children.size(), step));
      return std::string_view();
    }
    value = child->value;
  }
  return value;
}

void PrintMissing(const Document& document, std::string_view path,
                  const SafeString& message) {
  constexpr std::size_t kWidth = 60;
  const SafeString shown =
      path.empty() ? "(root)" : Excerpt(path, path.size(), kWidth).text;
  PrintError(document.subject, (shown + ": " + message).c_str());
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

#include "scanner.h"

#include <foundation/json/hint.h>
#include <foundation/json/json.h>

using namespace vjson;
using namespace vorn::foundation::json;
using vorn::foundation::text::StringUtils;

void vjson::Refuse(Input& input, std::string_view rule,
                   std::string_view message) {
  const Position position = input.PositionOf(input.Offset());
  JsonFault fault{JsonFault::Kind::Malformed,
                  static_cast<std::size_t>(input.Offset()),
                  static_cast<unsigned int>(position.line),
                  static_cast<unsigned int>(position.column),
                  "",
                  ""};
  rule.copy(fault.rule, sizeof fault.rule - 1);
  message.copy(fault.message, sizeof fault.message - 1);
  throw JsonFault(fault);
}

// The scanner -----------------------------------------------------------------
//
// A rule begins with the cursor on the first byte of its text, and ends with
// the cursor behind the last one. The parameter is the byte at the cursor.

Token Scanner::Next() {
  input_.DropToken();
  bool line = input_.Offset() == 0;
  input_.SkipWhile([&line](char c) {
    const bool end = c == '\n' || c == '\r';
    line |= end;
    return end || c == ' ' || c == '\t';
  });
  input_.BeginToken();
  const Token::Kind kind = Take(input_.Peek());
  const std::string_view text = input_.Token();
  return {kind, text, input_.Offset() - text.size(), line};
}

Token::Kind Scanner::Take(char byte) {
  if (byte == '\v' || byte == '\f') return Pass(state_, Token::kOddBlank);
  if (byte == '/' && input_.StartsWith("//")) {
    input_.SkipWhile([](char c) { return c != '\n' && c != '\r' && c != 0; });
    return Token::kComment;
  }
  switch (state_) {
    case State::kValue:
      return TakeValue(byte);
    case State::kColon:
      if (byte == ':') return Pass(State::kValue, Token::kColon);
      Refuse(input_, "ParseObject", "field not combined with ':'");
    case State::kBehind:
      return TakeBehind(byte);
    default:
      return TakeElement(byte);
  }
}

// Behind a bracket or comma: a value or a key, or the end of the container.
Token::Kind Scanner::TakeElement(char byte) {
  const bool object = open_.back() == '}';
  const char* const rule = object ? "ParseKey" : "ArraySkip";
  if (byte == '\0') {
    Refuse(input_, rule,
           object ? "object '}' mismatching" : "array ']' mismatching");
  }
  if (byte == open_.back()) {
    if (state_ == State::kNext) Refuse(input_, rule, "spare ','");
    return Close();
  }
  if (!object) return TakeValue(byte);
  if (byte != '"') Refuse(input_, rule, "key is not begin with '\"'");
  state_ = State::kColon;
  return TakeString(Token::kKey);
}

// Behind a value: a comma, or the end of the container or of the text.
Token::Kind Scanner::TakeBehind(char byte) {
  if (open_.empty()) {
    if (input_.AtEnd()) return Token::kTextEnd;
    Refuse(input_, "Parse", "extra data characters");
  }
  if (byte == open_.back()) return Close();
  if (byte == ',') return Pass(State::kNext, Token::kComma);
  if (open_.back() == ']') Refuse(input_, "ParseArray", "missing ']'");
  Refuse(input_, "ParseObject",
         "missing '}' or have some extra data characters");
}

Token::Kind Scanner::TakeValue(char byte) {
  state_ = State::kBehind;
  switch (byte) {
    case '{':
    case '[':
      if (open_.size() == limit_) {
        Refuse(input_, "Parse", "nesting is too deep");
      }
      open_ += byte == '{' ? '}' : ']';
      return Pass(State::kFirst, Token::kBegin);
    case '"':
      return TakeString(Token::kString);
    case 't':
    case 'f':
      if (TakeWord("true") || TakeWord("false")) return Token::kWord;
      Refuse(input_, "ParseBool", "true error");
    case 'n':
      if (TakeWord("null") || TakeWord("nan")) return Token::kWord;
      Refuse(input_, "ParseNull", "data error");
    default:
      if (TakeWord("inf") || TakeWord("-inf")) return Token::kWord;
      return TakeNumber();
  }
}

// A backslash escapes a quotation mark or backslash. Any other byte behind a
// backslash stands for itself.
Token::Kind Scanner::TakeString(Token::Kind kind) {
  char byte = '"';
  do {
    input_.Skip();
    if (byte == '\\' && (input_.Peek() == '"' || input_.Peek() == '\\')) {
      input_.Skip();
    }
    input_.SkipWhile([](char c) { return c != '"' && c != '\\' && c != 0; });
    byte = input_.Peek();
    if (byte == '\0')
      Refuse(input_, "GetString", "string is not end with '\"'");
  } while (byte != '"');
  input_.Skip();
  return kind;
}

Token::Kind Scanner::TakeNumber() {
  input_.SkipWhile([](char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' ||
           c == 'e' || c == 'E';
  });
  number_ = input_.Token();
  if (StringUtils::GetNumberFormat(number_) != 0) return Token::kNumber;
  input_.Unread();
  Refuse(input_, "ParseNumber", "number is incorrect");
}

// Whole texts -----------------------------------------------------------------

namespace {

// The hint for the fault at the cursor, if the text up to there can be read
// again. In a text that is a line of the file, a hint names no line.
SafeString HintFor(Input& input, const JsonFault& fault) {
  constexpr std::uint64_t kMost = 16'000'000;
  constexpr std::size_t kBehind = 256;
  const bool nul = input.Peek() == '\0' && !input.AtEnd();
  if (nul || input.Offset() > kMost || !input.Rewind()) return "";
  SafeString hint = Hint(fault, input.Ahead(fault.offset + kBehind));
  const std::size_t at = hint.find(" line ");
  if (input.line() == 0 || at == hint.npos) return hint;
  return hint.erase(at, hint.find(',') + 1 - at);
}

}  // namespace

void vjson::PrintFault(Input& input, const JsonFault& fault) {
  const std::uint64_t offset = input.Offset();
  const SafeString hint = HintFor(input, fault);
  PrintErrorAt(input.PlaceOf(offset), fault.rule, fault.message, hint);
}

void vjson::ScanText(Input& input) {
  Scanner scanner(input);
  while (scanner.Next().kind != Token::kTextEnd) {
  }
}

Document vjson::LoadDocument(Input& input, Status status) {
  Document document{input.Subject(), input.ReadAll()};
  Read(
      input, [&] { ScanText(input); }, status);
  return document;
}

JBase* vjson::LoadTree(const Document& document) {
  JsonReader reader;
  JsonFault fault;
  if (!reader.fromString(document.text.data(), fault)) throw std::bad_alloc();
  return reader.transfer();
}

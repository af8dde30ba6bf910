#include "scanner.h"

#include <foundation/json/hint.h>
#include <foundation/json/json.h>

namespace vjson {

using namespace vorn::foundation::json;
using vorn::foundation::text::StringUtils;

void Refuse(Input& input, std::string_view rule, std::string_view message) {
  const Position position = input.PositionOf(input.Offset());
  JsonFault fault;
  fault.kind = JsonFault::Kind::Malformed;
  fault.offset = static_cast<std::size_t>(input.Offset());
  fault.line = static_cast<unsigned int>(position.line);
  fault.column = static_cast<unsigned int>(position.column);
  rule.copy(fault.rule, sizeof fault.rule - 1);
  message.copy(fault.message, sizeof fault.message - 1);
  throw JsonFault(fault);
}

// The scanner -----------------------------------------------------------------
//
// A rule begins with the cursor on the first byte of its text, and ends with
// the cursor behind the last one. The parameter is the byte at the cursor.

Token Scanner::Next() {
  Token token{};
  if (!PassBlanks(token)) {
    input_.BeginToken();
    token.kind = Take();
  }
  token.text = input_.Token();
  token.offset = input_.Offset() - token.text.size();
  token.starts_line = line_;
  line_ = false;
  return token;
}

// Skips blanks. Returns true with the token that is a comment or an odd blank.
bool Scanner::PassBlanks(Token& token) {
  input_.DropToken();
  bool line = false;
  input_.SkipWhile([&line](char c) {
    const bool end = c == '\n' || c == '\r';
    line |= end;
    return end || c == ' ' || c == '\t';
  });
  line_ |= line;
  const char byte = input_.Peek();
  const bool odd = byte == '\v' || byte == '\f';
  if (!odd && (byte != '/' || !input_.StartsWith("//"))) return false;
  input_.BeginToken();
  token.kind = odd ? Token::kOddBlank : Token::kComment;
  if (odd) {
    input_.Skip();
  } else {
    input_.SkipWhile([](char c) { return c != '\n' && c != '\r' && c != 0; });
  }
  return true;
}

Token::Kind Scanner::Take() {
  const char byte = input_.Peek();
  switch (state_) {
    case State::kFirst:
    case State::kNext:
      return TakeElement(byte);
    case State::kColon:
      if (byte != ':') Fail("ParseObject", "field not combined with ':'");
      return Pass(State::kValue, Token::kColon);
    case State::kBehind:
      return TakeBehind(byte);
    default:
      return TakeValue(byte);
  }
}

// Behind a bracket or comma: a value or a key, or the end of the container.
Token::Kind Scanner::TakeElement(char byte) {
  const bool object = open_.back() == '}';
  const char* const rule = object ? "ParseKey" : "ArraySkip";
  if (byte == '\0') {
    Fail(rule, object ? "object '}' mismatching" : "array ']' mismatching");
  }
  if (byte == open_.back()) {
    if (state_ == State::kNext) Fail(rule, "spare ','");
    return Close();
  }
  if (!object) return TakeValue(byte);
  if (byte != '"') Fail(rule, "key is not begin with '\"'");
  state_ = State::kColon;
  return TakeString(Token::kKey);
}

Token::Kind Scanner::TakeBehind(char byte) {
  if (open_.empty()) {
    if (!input_.AtEnd()) Fail("Parse", "extra data characters");
    return Token::kTextEnd;
  }
  if (byte == open_.back()) return Close();
  if (byte != ',') {
    if (open_.back() == ']') Fail("ParseArray", "missing ']'");
    Fail("ParseObject", "missing '}' or have some extra data characters");
  }
  return Pass(State::kNext, Token::kComma);
}

Token::Kind Scanner::TakeValue(char byte) {
  state_ = State::kBehind;
  switch (byte) {
    case '{':
    case '[':
      return Open(byte);
    case '"':
      return TakeString(Token::kString);
    case 't':
    case 'f':
      if (TakeWord("true", "false")) return Token::kWord;
      Fail("ParseBool", "true error");
    case 'n':
      if (TakeWord("null", "nan")) return Token::kWord;
      Fail("ParseNull", "data error");
    default:
      return TakeWord("inf", "-inf") ? Token::kWord : TakeNumber();
  }
}

Token::Kind Scanner::Open(char byte) {
  if (open_.size() == limit_) Fail("Parse", "nesting is too deep");
  open_ += byte == '{' ? '}' : ']';
  return Pass(State::kFirst, Token::kBegin);
}

Token::Kind Scanner::Close() {
  open_.pop_back();
  return Pass(State::kBehind, Token::kEnd);
}

Token::Kind Scanner::Pass(State state, Token::Kind kind) {
  input_.Skip();
  state_ = state;
  return kind;
}

// A backslash escapes a quotation mark or backslash. Any other byte behind a
// backslash stands for itself.
Token::Kind Scanner::TakeString(Token::Kind kind) {
  input_.Skip();
  for (;;) {
    input_.SkipWhile([](char c) { return c != '"' && c != '\\' && c != 0; });
    const char byte = input_.Peek();
    if (byte == '\0') Fail("GetString", "string is not end with '\"'");
    input_.Skip();
    if (byte == '"') return kind;
    const char next = input_.Peek();
    if (next == '"' || next == '\\') input_.Skip();
  }
}

bool Scanner::TakeWord(const char* first, const char* second) {
  for (const std::string_view word : {first, second}) {
    if (!input_.StartsWith(word)) continue;
    input_.Skip(word.size());
    return true;
  }
  return false;
}

Token::Kind Scanner::TakeNumber() {
  const auto is_part = [](char c) {
    return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' ||
           c == 'e' || c == 'E';
  };
  input_.SkipWhile(is_part);
  number_ = input_.Token();
  if (StringUtils::GetNumberFormat(number_) != 0) return Token::kNumber;
  input_.Unread();
  Fail("ParseNumber", "number is incorrect");
}

// Whole texts -----------------------------------------------------------------

namespace {

// The hint for the fault at the cursor, if the text up to there can be read
// again. Hint() counts the lines of that text, which may be a line itself.
SafeString HintFor(Input& input, const JsonFault& fault) {
  constexpr std::uint64_t kMost = 16'000'000;
  constexpr std::size_t kBehind = 256;
  constexpr std::string_view kLine = " at line ";
  const bool nul = input.Peek() == '\0' && !input.AtEnd();
  if (nul || input.Offset() > kMost || !input.Rewind()) return "";
  SafeString hint = Hint(fault, input.Ahead(fault.offset + kBehind));
  std::size_t at = hint.find(kLine);
  if (input.line() == 0 || at == hint.npos) return hint;
  at += kLine.size();
  const std::size_t size = hint.find(',') - at;
  const auto line = StringUtils::StringToLong(hint.substr(at, size)) - 1 +
                    static_cast<long long>(input.line());
  return hint.replace(at, size, StringUtils::LongToString(line));
}

}  // namespace

void PrintFault(Input& input, const JsonFault& fault) {
  const std::uint64_t offset = input.Offset();
  const SafeString hint = HintFor(input, fault);
  PrintErrorAt(input.PlaceOf(offset), fault.rule, fault.message, hint);
}

void ScanText(Input& input) {
  Scanner scanner(input);
  while (scanner.Next().kind != Token::kTextEnd) {
  }
}

Document LoadDocument(Input& input, Status status) {
  Document document{input.Subject(), input.ReadAll()};
  Read(
      input, [&] { ScanText(input); }, status);
  return document;
}

JBase* LoadTree(const Document& document) {
  JsonReader reader;
  JsonFault fault;
  if (!reader.fromString(document.text.data(), fault)) throw std::bad_alloc();
  return reader.transfer();
}

}  // namespace vjson

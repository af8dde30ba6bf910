#pragma once

#include <cstdint>
#include <string_view>

#include <foundation/json/jsonfault.h>

#include "io.h"

namespace vjson {

using vorn::foundation::json::JsonFault;

// A token of a text, as it stands there. Blanks of RFC 8259 are left out.
struct Token {
  enum Kind {
    kBegin,  // of an array or object
    kEnd,    // of an array or object
    kComma,
    kColon,
    kKey,
    kString,
    kNumber,
    kWord,  // true, false, null, nan, inf, -inf
    kComment,
    kOddBlank,  // a vertical tab or form feed
    kTextEnd
  };

  Kind kind;
  std::string_view text;  // valid until the next token
  std::uint64_t offset;
  bool starts_line;  // a line end, or no token, stands before it
};

// Reads the tokens of a text. It takes and refuses what the library's parser
// does, except for a limit of the nesting that the caller sets.
class Scanner {
 public:
  static constexpr std::size_t kNestingLimit = 1024;

  explicit Scanner(Input& input, std::size_t limit = kNestingLimit)
      : input_(input), limit_(limit) {}

  // The next token. Malformed text throws its JsonFault, with the input's
  // cursor on the first byte that no rule takes.
  Token Next();

  // How many containers are open.
  std::size_t depth() const { return open_.size(); }

 private:
  enum class State { kValue, kFirst, kNext, kColon, kBehind };

  bool PassBlanks(Token& token);
  Token::Kind Take();
  Token::Kind TakeElement(char byte);
  Token::Kind TakeBehind(char byte);
  Token::Kind TakeValue(char byte);
  Token::Kind Open(char byte);
  Token::Kind Close();
  Token::Kind Pass(State state, Token::Kind kind);
  Token::Kind TakeString(Token::Kind kind);
  bool TakeWord(const char* first, const char* second);
  Token::Kind TakeNumber();
  [[noreturn]] void Fail(std::string_view rule, std::string_view message);

  Input& input_;
  const std::size_t limit_;
  State state_ = State::kValue;
  bool line_ = true;  // a line has begun, and nothing stands on it yet
  SafeString open_;   // the brackets that close the open containers
  SafeString number_;
};

// Prints where and why the text is malformed, with the library's hint.
void PrintFault(Input& input, const JsonFault& fault);

// Scans the whole text. If it is malformed, prints why and ends the command.
void CheckText(Input& input);

// A well-formed text, which is lent, and how errors name it.
struct Document {
  SafeString subject;
  std::string_view text;
};

// Reads the input, which lends the text, and checks it.
Document LoadDocument(Input& input);

// The tree of the document. The caller owns it.
vorn::foundation::json::JBase* LoadTree(const Document& document);

}  // namespace vjson

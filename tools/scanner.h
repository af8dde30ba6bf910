#pragma once

#include <cstdint>
#include <string_view>

#include <foundation/json/jsonfault.h>

#include "io.h"

namespace vjson {

using vorn::foundation::json::JsonFault;

// A token of a text. Blanks of RFC 8259 are no tokens.
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
  bool starts_line;  // no token stands before it on its line
};

// Throws the fault at the cursor.
[[noreturn]] void Refuse(Input& input, std::string_view rule,
                         std::string_view message);

// Reads the tokens of a text. Takes and refuses the same texts as the library's
// parser, except that the caller sets the limit of the nesting.
class Scanner {
 public:
  static constexpr std::size_t kNestingLimit = 1024;

  explicit Scanner(Input& input, std::size_t limit = kNestingLimit)
      : input_(input), limit_(limit) {}

  // The next token. If the text is malformed, throws the JsonFault, with the
  // cursor of the input on the first byte that no rule takes.
  Token Next();

  // The text from this token to the last one. REQUIRES: it is in memory.
  std::string_view From(const Token& first) const {
    const std::string_view last = input_.Token();
    const char* const begin = first.text.data();
    return {begin, static_cast<std::size_t>(last.data() + last.size() - begin)};
  }

  // How many containers are open.
  std::size_t depth() const { return open_.size(); }

 private:
  enum class State { kValue, kFirst, kNext, kColon, kBehind };

  Token::Kind Take(char byte);
  Token::Kind TakeElement(char byte);
  Token::Kind TakeBehind(char byte);
  Token::Kind TakeValue(char byte);
  Token::Kind Close() {
    open_.pop_back();
    return Pass(State::kBehind, Token::kEnd);
  }
  Token::Kind Pass(State state, Token::Kind kind) {
    input_.Skip();
    state_ = state;
    return kind;
  }
  Token::Kind TakeString(Token::Kind kind);
  bool TakeWord(std::string_view word) {
    const bool here = input_.StartsWith(word);
    if (here) input_.Skip(word.size());
    return here;
  }
  Token::Kind TakeNumber();

  Input& input_;
  const std::size_t limit_;
  State state_ = State::kValue;
  SafeString open_;  // the brackets that close the open containers
  SafeString number_;
};

// Prints the place of the fault at the cursor, the reason, and the library's
// hint. The input is of no use afterwards.
void PrintFault(Input& input, const JsonFault& fault);

// Reads the input in the work. If the text is malformed, prints why and ends
// the command with the status.
template <class Work>
auto Read(Input& input, Work work, Status status = kNo) {
  try {
    return work();
  } catch (const JsonFault& fault) {
    PrintFault(input, fault);
    throw Failure{status};
  }
}

// Scans the whole text. Throws the JsonFault of a malformed one.
void ScanText(Input& input);

// A well-formed text, which is lent, and the subject of errors.
struct Document {
  SafeString subject;
  std::string_view text;
};

// Reads and checks the input, which lends the text.
Document LoadDocument(Input& input, Status status = kNo);

// The tree of the document. The caller owns it.
vorn::foundation::json::JBase* LoadTree(const Document& document);

}  // namespace vjson

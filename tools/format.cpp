// format and compress: only the blanks between the tokens change.

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include "command.h"
#include "scanner.h"

using namespace vjson;
using namespace vorn::foundation::json;
using vorn::foundation::generic::ScopedPointer;

namespace {

// Writes the tokens of a text with other blanks. A comment stays behind its
// token, or on a line of its own.
class Layout {
 public:
  Layout(Output& output, bool indented, bool comments)
      : output_(output), indented_(indented), comments_(comments) {}

  void WriteText(Input& input) {
    Scanner scanner(input);
    Token token{};
    do {
      token = scanner.Next();
      Write(token, scanner.depth());
    } while (token.kind != Token::kTextEnd);
  }

 private:
  // The depth is the one behind the token.
  void Write(const Token& token, std::size_t depth) {
    static constexpr const char* kColors[] = {"",   "",   "",   "",  "1;34",
                                              "32", "36", "36", "90"};
    if (token.kind == Token::kOddBlank) return;
    if (token.kind == Token::kComment && !comments_) return;
    if (token.kind == Token::kTextEnd) return output_.WriteLine("");
    if (before_ != Token::kTextEnd) WriteBlanks(token, depth);
    output_.Write(token.text, kColors[token.kind]);
    before_ = token.kind;
  }

  void WriteBlanks(const Token& token, std::size_t depth) {
    const Token::Kind kind = token.kind;
    const bool comment = kind == Token::kComment;
    const bool inner = kind == Token::kEnd ? before_ != Token::kBegin
                                           : before_ == Token::kBegin ||
                                                 before_ == Token::kComma;
    if (before_ == Token::kComment || (comment && token.starts_line) ||
        (indented_ && !comment && inner)) {
      WriteLineBreak(kind == Token::kBegin ? depth - 1 : depth);
    } else if (indented_ && (comment || before_ == Token::kColon)) {
      output_.Write(" ");
    }
  }

  void WriteLineBreak(std::size_t depth) {
    output_.Write("\n");
    for (; indented_ && depth > 0; --depth) output_.Write("    ");
  }

  Output& output_;
  const bool indented_, comments_;
  Token::Kind before_ = Token::kTextEnd;
};

// Refuses malformed text before anything is written, if the text can be read
// twice.
void Rewrite(Input& input, Layout layout, Output& output) {
  try {
    if (input.CanReadTwice()) {
      ScanText(input);
      input.Rewind();
    }
    layout.WriteText(input);
  } catch (const JsonFault& fault) {
    output.Flush();
    PrintFault(input, fault);
    throw Failure{kNo};
  }
}

void Run(const Arguments& arguments, bool indented, Output& output) {
  const bool comments = indented || arguments.Has("--comments");
  const auto write = indented ? JsonReader::Format : JsonReader::Compress;
  const auto work = [&](Input& input) {
    if (!arguments.Has("--tree")) {
      return Rewrite(input, Layout(output, indented, comments), output);
    }
    const ScopedPointer<JBase> tree(LoadTree(LoadDocument(input)));
    output.WriteLine(write(tree.get()));
  };
  ForEachText(arguments.operands[0], arguments.Has("--lines"), work);
}

}  // namespace

void vjson::Format(const Arguments& arguments, Output& output) {
  Run(arguments, true, output);
}

void vjson::Compress(const Arguments& arguments, Output& output) {
  Run(arguments, false, output);
}

// format and compress: only the blanks between the tokens change.

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include "command.h"
#include "scanner.h"

using namespace vjson;
using namespace vorn::foundation::json;
using vorn::foundation::generic::ScopedPointer;

namespace {

struct Style {
  bool indented;
  bool comments;
};

// Writes the tokens of a text with other blanks. A comment stays behind its
// token, or on a line of its own.
class Layout {
 public:
  Layout(Output& output, Style style) : output_(output), style_(style) {}

  // Writes the token, with the depth of the nesting behind it.
  void Write(const Token& token, std::size_t depth) {
    static constexpr const char* kColors[] = {"",   "",   "",   "",  "1;34",
                                              "32", "36", "36", "90"};
    if (token.kind == Token::kOddBlank) return;
    if (token.kind == Token::kComment && !style_.comments) return;
    if (token.kind == Token::kTextEnd) return output_.WriteLine("");
    if (before_ != Token::kTextEnd) WriteBlanks(token, depth);
    output_.Write(token.text, kColors[token.kind]);
    before_ = token.kind;
  }

 private:
  void WriteBlanks(const Token& token, std::size_t depth) {
    const Token::Kind kind = token.kind;
    const bool comment = kind == Token::kComment;
    const bool inner = kind == Token::kEnd ? before_ != Token::kBegin
                                           : before_ == Token::kBegin ||
                                                 before_ == Token::kComma;
    if (before_ == Token::kComment || (comment && token.starts_line) ||
        (style_.indented && !comment && inner)) {
      WriteLineBreak(kind == Token::kBegin ? depth - 1 : depth);
    } else if (style_.indented && (comment || before_ == Token::kColon)) {
      output_.Write(" ");
    }
  }

  void WriteLineBreak(std::size_t depth) {
    output_.Write("\n");
    for (; style_.indented && depth > 0; --depth) output_.Write("    ");
  }

  Output& output_;
  const Style style_;
  Token::Kind before_ = Token::kTextEnd;
};

void WriteTokens(Input& input, Style style, Output& output) {
  Scanner scanner(input);
  Layout layout(output, style);
  Token token{};
  do {
    token = scanner.Next();
    layout.Write(token, scanner.depth());
  } while (token.kind != Token::kTextEnd);
}

// Refuses malformed text before anything is written, if the text can be read
// twice.
void Rewrite(Input& input, Style style, Output& output) {
  try {
    if (input.CanReadTwice()) {
      ScanText(input);
      input.Rewind();
    }
    WriteTokens(input, style, output);
  } catch (const JsonFault& fault) {
    output.Flush();
    PrintFault(input, fault);
    throw Failure{kNo};
  }
}

// Writes as the library writes the tree.
void WriteTree(Input& input, Style style, Output& output) {
  const ScopedPointer<JBase> tree(LoadTree(LoadDocument(input)));
  output.WriteLine(style.indented ? JsonReader::Format(tree.get())
                                  : JsonReader::Compress(tree.get()));
}

void Run(const Arguments& arguments, bool indented, Output& output) {
  const Style style{indented, indented || arguments.Has("--comments")};
  const auto write = arguments.Has("--tree") ? WriteTree : Rewrite;
  ForEachText(arguments.operands[0], arguments.Has("--lines"),
              [&](Input& input) { write(input, style, output); });
}

}  // namespace

void vjson::Format(const Arguments& arguments, Output& output) {
  Run(arguments, true, output);
}

void vjson::Compress(const Arguments& arguments, Output& output) {
  Run(arguments, false, output);
}

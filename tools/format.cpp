// format and compress: only the blanks between the tokens change.

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

#include "command.h"
#include "document.h"
#include "scanner.h"

namespace vjson {

using namespace vorn::foundation::json;
using vorn::foundation::generic::ScopedPointer;

namespace {

enum class Style { kIndented, kCompressed, kCompressedWithComments };

// Writes the tokens of a text with other blanks. A comment stays behind what it
// stands behind, or on a line of its own.
class Layout {
 public:
  Layout(Output& output, Style style) : output_(output), style_(style) {}

  // The depth is that behind the token.
  void Write(const Token& token, std::size_t depth);

 private:
  void WriteBlanks(const Token& token, std::size_t depth);
  void WriteLineBreak(std::size_t depth);

  Output& output_;
  const Style style_;
  Token::Kind before_ = Token::kTextEnd;
  SafeString line_;
};

void Layout::Write(const Token& token, std::size_t depth) {
  static constexpr Output::Color kColors[] = {
      Output::kPlain, Output::kPlain, Output::kPlain,
      Output::kPlain, Output::kKey,   Output::kString,
      Output::kWord,  Output::kWord,  Output::kComment};
  if (token.kind == Token::kOddBlank) return;
  if (token.kind == Token::kComment && style_ == Style::kCompressed) return;
  if (token.kind == Token::kTextEnd) return output_.WriteLine("");
  if (before_ != Token::kTextEnd) WriteBlanks(token, depth);
  output_.Write(token.text, kColors[token.kind]);
  before_ = token.kind;
}

void Layout::WriteBlanks(const Token& token, std::size_t depth) {
  const Token::Kind kind = token.kind;
  const bool comment = kind == Token::kComment;
  const bool indented = style_ == Style::kIndented;
  const bool inner = kind == Token::kEnd
                         ? before_ != Token::kBegin
                         : before_ == Token::kBegin || before_ == Token::kComma;
  if (before_ == Token::kComment || (comment && token.starts_line) ||
      (indented && !comment && inner)) {
    WriteLineBreak(kind == Token::kBegin ? depth - 1 : depth);
  } else if (indented && (comment || before_ == Token::kColon)) {
    output_.Write(" ");
  }
}

void Layout::WriteLineBreak(std::size_t depth) {
  constexpr std::size_t kIndentation = 4;
  const std::size_t blanks =
      style_ == Style::kIndented ? kIndentation * depth : 0;
  line_.assign(1, '\n').append(blanks, ' ');
  output_.Write(line_);
}

Status WriteTokens(Input& input, Style style, Output& output) {
  Scanner scanner(input);
  Layout layout(output, style);
  Token token{};
  try {
    do {
      token = scanner.Next();
      layout.Write(token, scanner.depth());
    } while (token.kind != Token::kTextEnd);
  } catch (const JsonFault& fault) {
    output.Flush();
    PrintFault(input, fault);
    return kNo;
  }
  return kYes;
}

// Refuses malformed text before it writes anything, if it can read it twice.
Status Rewrite(Input& input, Style style, Output& output) {
  if (input.CanRewind()) {
    if (!CheckText(input)) return kNo;
    input.Rewind();
  }
  return WriteTokens(input, style, output);
}

// As the library writes the tree.
Status WriteTree(Input& input, Style style, Output& output) {
  Document document;
  if (!LoadDocument(input, document)) return kNo;
  const ScopedPointer<JBase> tree(LoadTree(document));
  output.WriteLine(style == Style::kIndented
                       ? JsonReader::Format(tree.get())
                       : JsonReader::Compress(tree.get()));
  return kYes;
}

Status Run(const Arguments& arguments, Style style, Output& output) {
  const auto write = [&](Input& input) {
    if (arguments.Has(kTree)) return WriteTree(input, style, output);
    return Rewrite(input, style, output);
  };
  return ForEachText(arguments.FileAt(0), arguments.Has(kLines), write);
}

}  // namespace

Status Format(const Arguments& arguments, Output& output) {
  return Run(arguments, Style::kIndented, output);
}

Status Compress(const Arguments& arguments, Output& output) {
  return Run(arguments,
             arguments.Has(kComments) ? Style::kCompressedWithComments
                                      : Style::kCompressed,
             output);
}

}  // namespace vjson

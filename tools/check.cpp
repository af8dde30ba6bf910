#include <cinttypes>
#include <cstring>
#include <map>

#include <foundation/text/stringutils.h>

#include "command.h"
#include "scanner.h"

using namespace vjson;
using vorn::foundation::text::StringUtils;

namespace {

// Finds the places where a text is no JSON by RFC 8259, or means something else
// to other readers. Prints the first findings in full.
class StrictCheck {
 public:
  explicit StrictCheck(Input& input) : input_(input) {}

  void Run() {
    bool whole = false;
    try {
      while (!whole) {
        const Token token = scanner_.Next();
        whole = token.kind == Token::kTextEnd;
        CheckToken(token);
      }
    } catch (const JsonFault& fault) {
      PrintFault(input_, fault);
    }
    if (findings_ > kMost) {
      PrintError(input_.Subject(), StringUtils::_InternalFormat(
                                       "%zu more findings", findings_ - kMost));
    }
    if (deep_ && whole && standard_) {
      PrintError(input_.Subject(), "the text is valid by RFC 8259");
    }
    if (!whole || findings_ != 0) throw Failure{kNo};
  }

 private:
  void CheckToken(const Token& token) {
    const bool deep = scanner_.depth() > Scanner::kNestingLimit;
    if (deep && !deep_) Report(token.offset, "Parse", "nesting is too deep");
    deep_ |= deep;
    switch (token.kind) {
      case Token::kBegin:
        keys_.emplace_back();
        return;
      case Token::kEnd:
        return keys_.pop_back();
      case Token::kKey:
        CheckKey(token);
        [[fallthrough]];
      case Token::kString:
        return CheckString(token);
      case Token::kComment:
        return Report(token.offset, kExtension, "comments are not allowed");
      case Token::kOddBlank:
        return Report(token.offset, kExtension, "this blank is not allowed");
      case Token::kWord:
        if (std::strchr("nf", token.text.back()) == nullptr) return;
        return Report(token.offset, kExtension, "this number is not allowed");
      default:
        return;
    }
  }

  void CheckKey(const Token& token) {
    const Position position = input_.PositionOf(token.offset);
    const auto [key, added] =
        keys_.back().emplace(Unquote(token.text), position);
    if (added) return;
    Report(token.offset, "Keys",
           StringUtils::_InternalFormat("repeated key, first at %" PRIu64
                                        ":%" PRIu64,
                                        key->second.line, key->second.column));
  }

  void CheckString(const Token& token) {
    for (std::size_t at = 1; at < token.text.size() - 1;) {
      at += CheckCharacter(token.text.substr(at), token.offset + at);
    }
  }

  // Returns the size of the character, or of an escape that both dialects have.
  std::size_t CheckCharacter(std::string_view rest, std::uint64_t offset) {
    if (rest[0] == '\\') {
      if (std::strchr("\"\\rnt", rest[1]) != nullptr) return 2;
      if (CodeUnitOf(rest) >= 0 || std::strchr("/bf", rest[1]) != nullptr) {
        Report(offset, "Escapes", "other readers decode this escape");
        return 2;
      }
      Report(offset, kExtension, "unknown escape");
      return 1;
    }
    const auto [code, size] = CharacterOf(rest);
    if (code < ' ') Report(offset, kExtension, "control character in a string");
    if (code == Character::kNone) Report(offset, kExtension, "invalid UTF-8");
    return size;
  }

  void Report(std::uint64_t offset, std::string_view rule,
              const SafeString& message) {
    standard_ = standard_ && rule != kExtension;
    if (++findings_ > kMost) return;
    PrintErrorAt(input_.PlaceOf(offset), rule.data(), message);
  }

  static constexpr std::size_t kMost = 20;
  static constexpr std::string_view kExtension = "RFC 8259";

  // The keys of an object, and their positions. Keys that collide in a hash
  // table cost no more than others here.
  using Keys = std::map<SafeString, Position>;

  Input& input_;
  Scanner scanner_{input_, static_cast<std::size_t>(-1)};
  std::vector<Keys> keys_;  // of the open containers
  std::size_t findings_ = 0;
  bool standard_ = true;  // no extensions were found
  bool deep_ = false;     // the nesting is deeper than the library's limit
};

}  // namespace

void vjson::Check(const Arguments& arguments, Output&) {
  const auto check = [&](Input& input) {
    if (arguments.Has("--strict")) return StrictCheck(input).Run();
    Read(input, [&] { ScanText(input); });
  };
  for (const char* const file : arguments.operands) {
    Try([&] { ForEachText(file, arguments.Has("--lines"), check); });
  }
}

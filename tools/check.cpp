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
        Look(token);
      }
    } catch (const JsonFault& fault) {
      PrintFault(input_, fault);
    }
    if (findings_ > kMost) {
      PrintError(input_.Subject(),
                 StringUtils::_InternalFormat("%zu more", findings_ - kMost));
    }
    if (deep_ && whole && standard_) {
      PrintError(input_.Subject(), "RFC 8259 takes this text");
    }
    if (!whole || findings_ != 0) throw Failure{kNo};
  }

 private:
  void Look(const Token& token) {
    const bool deep = scanner_.depth() > Scanner::kNestingLimit;
    if (deep && !deep_) Find(token.offset, "Parse", "nesting is too deep");
    deep_ |= deep;
    switch (token.kind) {
      case Token::kBegin:
        return keys_.emplace_back(), void();
      case Token::kEnd:
        return keys_.pop_back();
      case Token::kKey:
        LookAtKey(token);
        [[fallthrough]];
      case Token::kString:
        return LookAtString(token);
      case Token::kComment:
        return Find(token.offset, kExtension, "no comments");
      case Token::kOddBlank:
        return Find(token.offset, kExtension, "no such blank");
      case Token::kWord:
        if (std::strchr("nf", token.text.back()) == nullptr) return;
        return Find(token.offset, kExtension, "no such number");
      default:
        return;
    }
  }

  void LookAtKey(const Token& token) {
    const Position position = input_.PositionOf(token.offset);
    const auto [key, added] =
        keys_.back().emplace(Unquote(token.text), position);
    if (added) return;
    Find(token.offset, "Keys",
         StringUtils::_InternalFormat("a key again, after %" PRIu64 ":%" PRIu64,
                                      key->second.line, key->second.column));
  }

  void LookAtString(const Token& token) {
    for (std::size_t at = 1; at < token.text.size() - 1;) {
      at += LookAtCharacter(token.text.substr(at), token.offset + at);
    }
  }

  // Returns the size of the character, or of an escape that both dialects have.
  std::size_t LookAtCharacter(std::string_view rest, std::uint64_t offset) {
    if (rest[0] == '\\') {
      if (std::strchr("\"\\rnt", rest[1]) != nullptr) return 2;
      if (CodeUnitOf(rest) >= 0 || std::strchr("/bf", rest[1]) != nullptr) {
        return Find(offset, "Escapes", "another meaning of this escape"), 2;
      }
      return Find(offset, kExtension, "no such escape"), 1;
    }
    const auto [code, size] = CharacterOf(rest);
    if (code < ' ')
      Find(offset, kExtension, "no control characters in a string");
    if (code == Character::kNone) Find(offset, kExtension, "nothing but UTF-8");
    return size;
  }

  void Find(std::uint64_t offset, std::string_view rule,
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

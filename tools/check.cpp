#include <algorithm>
#include <cinttypes>
#include <cstring>
#include <map>

#include <foundation/text/stringutils.h>

#include "command.h"
#include "scanner.h"

namespace vjson {

using vorn::foundation::text::StringUtils;

namespace {

// Finds where a text means something else to other readers of JSON, or nothing.
// Prints the first findings in full.
class StrictCheck {
 public:
  explicit StrictCheck(Input& input) : input_(input) {}

  void Run();

 private:
  void Look(const Token& token);
  void LookAtKey(const Token& token);
  void LookAtString(const Token& token);
  std::size_t LookAtCharacter(std::string_view rest, std::uint64_t offset);
  void FindExtension(std::uint64_t offset, const char* message);
  void Find(std::uint64_t offset, const char* message,
            const char* rule = "RFC 8259");

  static constexpr std::size_t kMost = 20;
  // The keys of an object, and where they stand. Keys that were made to collide
  // cost no more than others.
  using Keys = std::map<SafeString, Position>;

  Input& input_;
  Scanner scanner_{input_, static_cast<std::size_t>(-1)};
  std::vector<Keys> keys_;  // of the open containers
  std::size_t findings_ = 0;
  bool standard_ = true;  // there are no extensions
  bool deep_ = false;     // there are more containers than the library takes
};

void StrictCheck::Run() {
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
    const auto more =
        StringUtils::_InternalFormat("%zu more", findings_ - kMost);
    PrintError(input_.Subject(), more.c_str());
  }
  if (deep_ && whole && standard_) {
    PrintError(input_.Subject(), "RFC 8259 takes this text");
  }
  if (!whole || deep_ || findings_ != 0) throw Failure{kNo};
}

void StrictCheck::Look(const Token& token) {
  const bool deep = scanner_.depth() > Scanner::kNestingLimit;
  if (deep && !deep_) {
    PrintErrorAt(input_.PlaceOf(token.offset), "Parse", "nesting is too deep");
  }
  deep_ |= deep;
  switch (token.kind) {
    case Token::kBegin:
      return keys_.emplace_back(), void();
    case Token::kEnd:
      return keys_.pop_back();
    case Token::kKey:
      LookAtKey(token);
      return LookAtString(token);
    case Token::kString:
      return LookAtString(token);
    case Token::kComment:
      return FindExtension(token.offset, "no comments");
    case Token::kOddBlank:
      return FindExtension(token.offset, "no such blank");
    case Token::kWord:
      if (std::strchr("nf", token.text.back()) == nullptr) return;
      return FindExtension(token.offset, "no such number");
    default:
      return;
  }
}

void StrictCheck::LookAtKey(const Token& token) {
  const Position position = input_.PositionOf(token.offset);
  const auto [key, added] = keys_.back().emplace(Unquote(token.text), position);
  if (added) return;
  const SafeString message =
      StringUtils::_InternalFormat("a key again, after %" PRIu64 ":%" PRIu64,
                                   key->second.line, key->second.column);
  Find(token.offset, message.c_str(), "Keys");
}

void StrictCheck::LookAtString(const Token& token) {
  for (std::size_t at = 1; at < token.text.size() - 1;) {
    at += LookAtCharacter(token.text.substr(at), token.offset + at);
  }
}

// Returns its size: that of a backslash with its letter if they belong together
// for anyone.
std::size_t StrictCheck::LookAtCharacter(std::string_view rest,
                                         std::uint64_t offset) {
  if (rest[0] == '\\') {
    if (std::strchr("\"\\rnt", rest[1]) != nullptr) return 2;
    if (CodeUnitOf(rest) >= 0 || std::strchr("/bf", rest[1]) != nullptr) {
      return Find(offset, "another meaning of this escape"), 2;
    }
    return FindExtension(offset, "no such escape"), 1;
  }
  if (static_cast<unsigned char>(rest[0]) < ' ') {
    FindExtension(offset, "no control characters in a string");
  }
  const std::size_t size = CharacterOf(rest).size;
  if (size == 0) FindExtension(offset, "nothing but UTF-8");
  return std::max<std::size_t>(size, 1);
}

void StrictCheck::FindExtension(std::uint64_t offset, const char* message) {
  standard_ = false;
  Find(offset, message);
}

void StrictCheck::Find(std::uint64_t offset, const char* message,
                       const char* rule) {
  if (++findings_ > kMost) return;
  PrintErrorAt(input_.PlaceOf(offset), rule, message);
}

}  // namespace

void Check(const Arguments& arguments, Output&) {
  const auto check = [&](Input& input) {
    if (arguments.Has("--strict")) return StrictCheck(input).Run();
    CheckText(input);
  };
  ForEach(arguments.operands, [&](const char* file) {
    ForEachText(file, arguments.Has("--lines"), check);
  });
}

}  // namespace vjson

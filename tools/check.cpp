#include <algorithm>
#include <cinttypes>
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

  Status Run();

 private:
  enum Kind { kExtension, kMeaning, kRepeated };

  void Look(const Token& token);
  void LookAtKey(const Token& token);
  void LookAtString(const Token& token);
  std::size_t LookAtCharacter(std::string_view rest, std::uint64_t offset);
  void Find(Kind kind, std::uint64_t offset, const char* message);

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

Status StrictCheck::Run() {
  bool whole = true;
  try {
    Token token{};
    do {
      Look(token = scanner_.Next());
    } while (token.kind != Token::kTextEnd);
  } catch (const JsonFault& fault) {
    whole = false;
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
  return whole && !deep_ && findings_ == 0 ? kYes : kNo;
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
      return Find(kExtension, token.offset, "no comments");
    case Token::kOddBlank:
      return Find(kExtension, token.offset, "no such blank");
    case Token::kWord:
      if (token.text.back() == 'n' || token.text.back() == 'f') {
        Find(kExtension, token.offset, "no such number");
      }
      return;
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
  Find(kRepeated, token.offset, message.c_str());
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
  constexpr std::string_view kSame = "\"\\rnt", kOther = "/bf";
  const std::size_t size = CharacterOf(rest).size;
  if (rest[0] == '\\') {
    if (kSame.find(rest[1]) != kSame.npos) return 2;
    const bool escape =
        CodeUnitOf(rest) >= 0 || kOther.find(rest[1]) != kOther.npos;
    Find(escape ? kMeaning : kExtension, offset,
         escape ? "another meaning of this escape" : "no such escape");
    return escape ? 2 : 1;
  }
  if (static_cast<unsigned char>(rest[0]) < ' ') {
    Find(kExtension, offset, "no control characters in a string");
  }
  if (size == 0) Find(kExtension, offset, "nothing but UTF-8");
  return std::max<std::size_t>(size, 1);
}

void StrictCheck::Find(Kind kind, std::uint64_t offset, const char* message) {
  if (kind == kExtension) standard_ = false;
  if (++findings_ > kMost) return;
  PrintErrorAt(input_.PlaceOf(offset), kind == kRepeated ? "Keys" : "RFC 8259",
               message);
}

}  // namespace

Status Check(const Arguments& arguments, Output&) {
  const auto check = [&](Input& input) {
    if (arguments.Has(kStrict)) return StrictCheck(input).Run();
    CheckText(input);
    return kYes;
  };
  Status status = kYes;
  for (const char* const file : arguments.operands) {
    status = std::max(status, StatusOf([&] {
                        return ForEachText(file, arguments.Has(kLines), check);
                      }));
  }
  return status;
}

}  // namespace vjson

#include "strict.h"

#include <algorithm>
#include <map>
#include <vector>

#include <foundation/text/safestring.h>
#include <foundation/text/stringutils.h>

#include "excerpt.h"
#include "path.h"

namespace vjson {

using vorn::foundation::text::StringUtils;

namespace {

// Passes over the dialect without making values. Every function that returns a
// bool returns false in front of what the dialect does not take either.
class Scanner {
 public:
  Scanner(std::string_view text,
          const std::function<void(const Finding&)>& tell)
      : text_(text), tell_(tell) {}

  bool Text(std::atomic<std::size_t>* done);

 private:
  // The keys of an object, and where they stand. The order keeps keys that were
  // made to collide from costing more than others.
  using Keys = std::map<SafeString, std::size_t>;

  bool Starts(std::string_view what) const {
    return text_.compare(at_, what.size(), what) == 0;
  }
  bool Take(std::string_view what) {
    const bool starts = Starts(what);
    if (starts) at_ += what.size();
    return starts;
  }
  bool AtOneOf(std::string_view characters) const {
    return at_ < text_.size() &&
           characters.find(text_[at_]) != std::string_view::npos;
  }
  void Extension(const char* message) {
    tell_(Finding{Finding::kExtension, at_, message, 0});
  }

  bool Value();
  bool AfterValue();
  bool Element();
  bool Key();
  bool Scalar();
  bool Number();
  bool String();
  void Character();
  void Escape();
  void Blanks();

  const std::string_view text_;
  const std::function<void(const Finding&)>& tell_;
  std::size_t at_ = 0;
  SafeString open_;         // the brackets that close the containers around at_
  std::vector<Keys> keys_;  // of the objects among them
};

// text = value, with a stack of the open containers in place of recursion
bool Scanner::Text(std::atomic<std::size_t>* done) {
  do {
    if (done != nullptr) done->store(at_, std::memory_order_relaxed);
    if (!Value() || !AfterValue()) return false;
  } while (!open_.empty());
  return at_ == text_.size();
}

// Passes a scalar, or what opens an empty container; enters any other container
// down to such a value.
bool Scanner::Value() {
  for (;;) {
    Blanks();
    const bool object = Take("{");
    if (!object && !Take("[")) return Scalar();
    open_ += object ? '}' : ']';
    if (object) keys_.emplace_back();
    Blanks();
    if (AtOneOf({&open_.back(), 1})) return true;
    if (!Element()) return false;
  }
}

// Closes what ends here, then passes a "," and what stands in front of the next
// value.
bool Scanner::AfterValue() {
  for (Blanks(); !open_.empty(); Blanks()) {
    if (Take(",")) return Element();
    if (!Take({&open_.back(), 1})) return false;
    if (open_.back() == '}') keys_.pop_back();
    open_.pop_back();
  }
  return true;
}

// What stands in front of a value: in an object, its key.
bool Scanner::Element() { return open_.back() == ']' || Key(); }

// key = blanks string blanks ":"
bool Scanner::Key() {
  Blanks();
  const std::size_t begin = at_;
  if (!AtOneOf("\"") || !String()) return false;
  const std::string_view quoted = text_.substr(begin, at_ - begin);
  const auto [key, added] = keys_.back().emplace(Unquoted(quoted), begin);
  if (!added) {
    tell_(Finding{Finding::kRepeated, begin, "a key again", key->second});
  }
  Blanks();
  return Take(":");
}

bool Scanner::Scalar() {
  if (AtOneOf("\"")) return String();
  for (const char* const word : {"nan", "inf", "-inf"}) {
    if (!Starts(word)) continue;
    Extension("no such number");
    return Take(word);
  }
  return Take("true") || Take("false") || Take("null") || Number();
}

bool Scanner::Number() {
  const std::size_t end =
      std::min(text_.find_first_not_of("0123456789+-.eE", at_), text_.size());
  const SafeString token(text_.substr(at_, end - at_));
  at_ = end;
  return StringUtils::GetNumberFormat(token) != 0;
}

bool Scanner::String() {
  ++at_;
  while (at_ < text_.size() && !AtOneOf("\"")) Character();
  return Take("\"");
}

void Scanner::Character() {
  const std::string_view rest = text_.substr(at_);
  const auto lead = static_cast<unsigned char>(rest[0]);
  if (lead == '\\') return Escape();
  if (lead < ' ') Extension("no control characters in a string");
  const std::size_t size = CharacterSize(rest);
  if (size == 0) Extension("nothing but UTF-8");
  at_ += std::max<std::size_t>(size, 1);
}

// Passes the backslash, and its letter if they belong together for anyone.
void Scanner::Escape() {
  constexpr std::string_view kHexadecimal = "0123456789abcdefABCDEF";
  const std::string_view escape = text_.substr(at_, 6);
  const auto is_one_of = [&](std::string_view letters) {
    return escape.size() > 1 && letters.find(escape[1]) != letters.npos;
  };
  const bool code = is_one_of("u") && escape.size() == 6 &&
                    escape.find_first_not_of(kHexadecimal, 2) == escape.npos;
  if (code || is_one_of("/bf")) {
    tell_(Finding{Finding::kMeaning, at_, "another meaning of this escape", 0});
  } else if (!is_one_of("\"\\rnt")) {
    Extension("no such escape");
    ++at_;
    return;
  }
  at_ += 2;
}

// blanks = *( blank / "//" *character line-end )
void Scanner::Blanks() {
  for (;;) {
    if (Starts("//")) {
      Extension("no comments");
      at_ = std::min(text_.find_first_of("\r\n", at_), text_.size());
    } else if (AtOneOf("\v\f")) {
      Extension("no such blank");
      ++at_;
    } else if (AtOneOf(" \t\r\n")) {
      ++at_;
    } else {
      return;
    }
  }
}

}  // namespace

bool Scan(std::string_view text,
          const std::function<void(const Finding&)>& tell,
          std::atomic<std::size_t>* done) {
  return Scanner(text, tell).Text(done);
}

}  // namespace vjson

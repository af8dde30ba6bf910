// The tool's own readers. The strict check agrees with the parser on the
// dialect, and with another judgement of RFC 8259; every value of a tree is
// found at its path; any text is a path, or refused.

#include "support.h"

#include "compile.h"
#include "path.h"
#include "strict.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/lang/exception.h>

#include <algorithm>
#include <cstring>

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using fuzz::Require;

namespace {

// RFC 8259, section by section.
class Judge {
 public:
  explicit Judge(std::string_view text) : text_(text) {}

  bool Takes() { return Value() && at_ == text_.size(); }
  std::size_t keys() const { return keys_; }

 private:
  unsigned char Next() const {
    return at_ < text_.size() ? static_cast<unsigned char>(text_[at_]) : 0;
  }
  bool Take(std::string_view word) {
    if (text_.substr(at_, word.size()) != word) return false;
    at_ += word.size();
    return true;
  }
  bool TakeOneOf(std::string_view characters) {
    const bool one = at_ < text_.size() &&
                     characters.find(text_[at_]) != std::string_view::npos;
    if (one) ++at_;
    return one;
  }
  void Blanks() {
    while (TakeOneOf(" \t\n\r")) {
    }
  }

  bool Value() {
    Blanks();
    const bool value = Take("{")    ? List(true, "}")
                       : Take("[")  ? List(false, "]")
                       : Take("\"") ? String()
                                    : Take("true") || Take("false") ||
                                          Take("null") || Number();
    Blanks();
    return value;
  }

  bool List(bool object, std::string_view close) {
    Blanks();
    if (Take(close)) return true;
    do {
      if ((object && !Key()) || !Value()) return false;
    } while (Take(","));
    return Take(close);
  }

  bool Key() {
    ++keys_;
    Blanks();
    if (!Take("\"") || !String()) return false;
    Blanks();
    return Take(":");
  }

  bool Digits() {
    const std::size_t begin = at_;
    while (TakeOneOf("0123456789")) {
    }
    return at_ != begin;
  }

  bool Number() {
    Take("-");
    if (!Take("0") && !Digits()) return false;
    if (Take(".") && !Digits()) return false;
    if (!TakeOneOf("eE")) return true;
    TakeOneOf("+-");
    return Digits();
  }

  bool String() {
    while (!Take("\"")) {
      if (!(Take("\\") ? Escape() : Character())) return false;
    }
    return true;
  }

  bool Escape() {
    if (!Take("u")) return TakeOneOf("\"\\/bfnrt");
    constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
    return TakeOneOf(kDigits) && TakeOneOf(kDigits) && TakeOneOf(kDigits) &&
           TakeOneOf(kDigits);
  }

  // By its number, which must not fit into fewer bytes.
  bool Character() {
    constexpr unsigned int kLeast[] = {0x20, 0x80, 0x800, 0x10000};
    const unsigned int lead = Next();
    const unsigned int more = lead < 0x80         ? 0
                              : lead >> 5 == 0x06 ? 1
                              : lead >> 4 == 0x0E ? 2
                              : lead >> 3 == 0x1E ? 3
                                                  : 4;
    if (more == 4 || at_ == text_.size()) return false;
    unsigned int number = more == 0 ? lead : lead & (0x3F >> more);
    ++at_;
    for (unsigned int i = 0; i < more; ++i, ++at_) {
      if (Next() >> 6 != 2) return false;
      number = number << 6 | (Next() & 0x3F);
    }
    return number >= kLeast[more] && number <= 0x10FFFF &&
           (number < 0xD800 || number > 0xDFFF);
  }

  const std::string_view text_;
  std::size_t at_ = 0;
  std::size_t keys_ = 0;
};

// The value that a path leads to.
const JBase* Get(const JBase& root, std::string_view path) {
  const JBase* value = &root;
  std::size_t end = 0;
  for (const vjson::Step& step : vjson::StepsOf(path)) {
    Require(step.end > end, "the steps follow one another");
    end = step.end;
    if (value != nullptr) value = vjson::Follow(*value, step);
  }
  Require(end == path.size(), "the whole path is read");
  return value;
}

// Looks for the value at the place, and for all below it. Returns how many keys
// there are.
std::size_t FindAll(const JBase& root, const vjson::Place& place,
                    const JBase& value) {
  Require(Get(root, vjson::PathOf(place)) == &value, "its path leads there");
  std::size_t keys = 0;
  if (value.type() == JType::Array) {
    const auto& array = static_cast<const JArray&>(value);
    for (unsigned int i = 0; i < array.length(); ++i) {
      keys += FindAll(root, {&place, nullptr, i}, *array.at(i));
    }
  } else if (value.type() == JType::Object) {
    const auto& object = static_cast<const JObject&>(value);
    for (const SafeString& key : object.keys()) {
      keys += 1 + FindAll(root, {&place, &key}, *object.at(key));
    }
  }
  return keys;
}

struct Findings {
  bool whole = false;
  std::size_t extensions = 0;
  std::size_t repeated = 0;
};

Findings Scan(const SafeString& text) {
  Findings findings;
  std::size_t last = 0;
  findings.whole = vjson::Scan(text, [&](const vjson::Finding& finding) {
    Require(finding.at < text.size(), "a finding is in the text");
    if (finding.kind == vjson::Finding::kExtension) ++findings.extensions;
    if (finding.kind == vjson::Finding::kRepeated) {
      ++findings.repeated;
      Require(finding.first < finding.at, "a key repeats one before");
      return;  // is told of behind what is in it
    }
    Require(finding.at >= last, "the findings are in order");
    last = finding.at;
  });
  return findings;
}

void CheckPath(const JBase& root, std::string_view path) {
  try {
    Get(root, path);
  } catch (const vjson::PathFault& fault) {
    Require(fault.at <= path.size(), "the fault is in the path");
  }
}

}  // namespace

void fuzz::Run(Input& in) {
  const std::size_t split = in.Below(256);
  const std::string_view bytes = in.Text();
  const SafeString text(bytes.substr(0, bytes.find('\0')));
  const Findings findings = Scan(text);
  Judge judge(text);
  Require(judge.Takes() == (findings.whole && findings.extensions == 0),
          "both judge alike by RFC 8259");
  const char* cursor = text.c_str();
  try {
    const generic::ScopedPointer<JBase> tree(Compile(cursor));
    Require(findings.whole, "both take the dialect");
    const std::size_t keys = FindAll(*tree.get(), {}, *tree.get());
    Require(findings.extensions != 0 ||
                (keys == judge.keys()) == (findings.repeated == 0),
            "a key is lost where it is repeated");
    CheckPath(*tree.get(), std::string_view(text).substr(0, split));
  } catch (const lang::Exception& e) {
    const bool deep = std::strcmp(e.what(), "nesting is too deep") == 0;
    Require(!findings.whole || deep, "both refuse what is not the dialect");
  }
}

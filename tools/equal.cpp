// What needs room is kept out of the frames of the functions that recurse.

#include <algorithm>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/json/view.h>

#include "command.h"
#include "path.h"

namespace vjson {

using namespace vorn::foundation::json;
using vorn::foundation::generic::ScopedPointer;

namespace {

// Compares two trees depth first, arrays in the order of their elements,
// objects in the order of the first one's keys. Prints the first difference, or
// all.
class Comparison {
 public:
  Comparison(bool all, Output& output) : all_(all), output_(output) {}

  // Returns whether to go on: there was no difference, or all are wanted. A
  // value may be absent.
  bool Compare(View first, View second);

  bool equal() const { return equal_; }

 private:
  bool CompareObjects(View first, View second);
  bool CompareChildren(const SafeString& step, View first, View second);
  void Print(View first, View second);

  const bool all_;
  Output& output_;
  bool equal_ = true;
  SafeString path_;
};

bool Comparison::Compare(View first, View second) {
  if (first.is(JType::Object) && second.is(JType::Object)) {
    return CompareObjects(first, second);
  }
  if (first.is(JType::Array) && second.is(JType::Array)) {
    const std::size_t length = std::max(first.size(), second.size());
    for (std::size_t i = 0; i < length; ++i) {
      if (!CompareChildren(PointerText(i), first[i], second[i])) return false;
    }
    return true;
  }
  if (first && second && JsonReader::IsEqual(first.get(), second.get())) {
    return true;
  }
  Print(first, second);
  return all_;
}

bool Comparison::CompareChildren(const SafeString& step, View first,
                                 View second) {
  const std::size_t size = path_.size();
  path_ += step;
  const bool on = Compare(first, second);
  path_.resize(size);
  return on;
}

bool Comparison::CompareObjects(View first, View second) {
  for (auto [key, value] : first.members()) {
    if (!CompareChildren(PointerText(key), value, second[key])) return false;
  }
  for (auto [key, value] : second.members()) {
    if (first[key]) continue;
    if (!CompareChildren(PointerText(key), View(), value)) return false;
  }
  return true;
}

// Prints both values, from the same place on, up to some bytes behind the
// character where they part.
[[gnu::noinline]] void Comparison::Print(View first, View second) {
  constexpr std::size_t kWidth = 30;  // two values and a path fit on a line
  constexpr std::size_t kBefore = 20;
  const auto text = [](View value) {
    return Spell(value ? JsonReader::Compress(value.get()) : "(none)");
  };
  const SafeString a = text(first), b = text(second);
  const auto apart = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  auto begin = static_cast<std::size_t>(apart.first - a.begin());
  while (IsContinuation(a[begin])) --begin;
  const std::size_t size = std::max({a.size(), b.size(), kWidth});
  begin = std::min(begin - std::min(begin, kBefore), size - kWidth);
  while (IsContinuation(a[begin])) ++begin;
  const auto shown = [begin](const SafeString& value) {
    return (begin > 0 ? "..." : "") +
           Excerpt(std::string_view(value).substr(begin), 0, kWidth).text;
  };
  output_.WriteLine(Spell(path_.empty() ? "(root)" : path_) + ": " + shown(a) +
                    " and " + shown(b));
  equal_ = false;
}

JBase* LoadFile(const char* file) {
  Input input(file);
  return LoadTree(LoadDocument(input));
}

}  // namespace

void Equal(const Arguments& arguments, Output& output) {
  const ScopedPointer<JBase> first(LoadFile(arguments.operands[0]));
  const ScopedPointer<JBase> second(LoadFile(arguments.operands[1]));
  Comparison comparison(arguments.Has("--all"), output);
  comparison.Compare(first.get(), second.get());
  if (!comparison.equal()) throw Failure{kNo};
}

}  // namespace vjson

#include <algorithm>
#include <string>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/json/view.h>

#include "command.h"
#include "path.h"

using namespace vjson;
using namespace vorn::foundation::json;
using vorn::foundation::generic::ScopedPointer;

namespace {

// Compares two trees depth first, arrays in the order of their elements,
// objects in the order of the first one's keys. Prints the first difference and
// ends the command, or prints all.
class Comparison {
 public:
  Comparison(bool all, Output& output) : all_(all), output_(output) {}

  // A value may be absent.
  void Compare(View first, View second) {
    if (first.is(JType::Object) && second.is(JType::Object)) {
      CompareObjects(first, second);
    } else if (first.is(JType::Array) && second.is(JType::Array)) {
      const std::size_t length = std::max(first.size(), second.size());
      for (std::size_t i = 0; i < length; ++i) {
        CompareChildren(PointerText(std::to_string(i)), first[i], second[i]);
      }
    } else if (!first || !second ||
               !JsonReader::IsEqual(first.get(), second.get())) {
      Print(first, second);
    }
  }

  bool equal() const { return equal_; }

 private:
  void CompareObjects(View first, View second) {
    for (auto [key, value] : first.members()) {
      CompareChildren(PointerText(key), value, second[key]);
    }
    for (auto [key, value] : second.members()) {
      if (first[key]) continue;
      CompareChildren(PointerText(key), View(), value);
    }
  }

  void CompareChildren(const SafeString& step, View first, View second) {
    const std::size_t size = path_.size();
    path_ += step;
    Compare(first, second);
    path_.resize(size);
  }

  // Prints the part of both values around the first character that differs.
  void Print(View first, View second) {
    const auto text = [](View value) {
      const auto bytes = value ? JsonReader::Compress(value.get()) : "(none)";
      return Mask(bytes, Mark::kBytes);
    };
    const SafeString a = text(first), b = text(second);
    const auto apart = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
    auto at = static_cast<std::size_t>(apart.first - a.begin());
    while (IsContinuation(a[at])) --at;
    output_.WriteLine(Mask(path_.empty() ? "(root)" : path_, Mark::kBytes) +
                      ": " + Excerpt(a, at, kBrief).text + " and " +
                      Excerpt(b, at, kBrief).text);
    equal_ = false;
    if (!all_) throw Failure{kNo};
  }

  const bool all_;
  Output& output_;
  bool equal_ = true;
  SafeString path_;
};

JBase* LoadFile(const char* file) {
  Input input(file);
  return LoadTree(LoadDocument(input));
}

}  // namespace

void vjson::Equal(const Arguments& arguments, Output& output) {
  const ScopedPointer<JBase> first(LoadFile(arguments.operands[0]));
  const ScopedPointer<JBase> second(LoadFile(arguments.operands[1]));
  Comparison comparison(arguments.Has("--all"), output);
  comparison.Compare(first.get(), second.get());
  if (!comparison.equal()) throw Failure{kNo};
}

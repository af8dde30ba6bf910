// What needs room is kept out of the frames of the functions that recurse.

#include <algorithm>

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/json/view.h>
#include <foundation/text/stringutils.h>

#include "command.h"
#include "document.h"

namespace vjson {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using text::StringUtils;

namespace {

const char* TypeOf(View value) {
  static constexpr const char* kTypes[] = {"null",   "bool",  "number",
                                           "string", "array", "object"};
  return kTypes[static_cast<int>(value.get()->type())];
}

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
  bool CompareArrays(View first, View second);
  bool CompareObjects(View first, View second);
  bool CompareChildren(const SafeString& step, View first, View second);
  bool Differ(View first, View second);
  SafeString Describe(View first, View second) const;

  const bool all_;
  Output& output_;
  bool equal_ = true;
  SafeString path_;
};

bool Comparison::Compare(View first, View second) {
  if (!first || !second || first.get()->type() != second.get()->type()) {
    return Differ(first, second);
  }
  if (first.is(JType::Array)) return CompareArrays(first, second);
  if (first.is(JType::Object)) return CompareObjects(first, second);
  return JsonReader::IsEqual(first.get(), second.get()) ||
         Differ(first, second);
}

bool Comparison::CompareChildren(const SafeString& step, View first,
                                 View second) {
  const std::size_t size = path_.size();
  path_ += step;
  const bool on = Compare(first, second);
  path_.resize(size);
  return on;
}

bool Comparison::CompareArrays(View first, View second) {
  const std::size_t length = std::max(first.size(), second.size());
  if (first.size() != second.size() && !all_) return Differ(first, second);
  for (std::size_t i = 0; i < length; ++i) {
    const SafeString step = all_ ? PointerText(i) : StepText(i);
    if (!CompareChildren(step, first[i], second[i])) return false;
  }
  return true;
}

bool Comparison::CompareObjects(View first, View second) {
  const auto step = [this](const SafeString& key) {
    return all_ ? PointerText(key) : StepText(key, path_.empty());
  };
  for (auto [key, value] : first.members()) {
    const SafeString text = step(SafeString(key));
    if (!CompareChildren(text, value, second[key])) return false;
  }
  for (auto [key, value] : second.members()) {
    if (first[key]) continue;
    if (!CompareChildren(step(SafeString(key)), View(), value)) return false;
  }
  return true;
}

// Prints the difference at the path.
[[gnu::noinline]] bool Comparison::Differ(View first, View second) {
  equal_ = false;
  const bool root = path_.empty() && !all_;
  output_.WriteLine(Mask(root ? "(root)" : path_) + ": " +
                    Describe(first, second));
  return all_;
}

// Both values, up to some bytes behind the place where they part.
SafeString Comparison::Describe(View first, View second) const {
  constexpr std::size_t kWidth = 30;  // two values and a path fit on a line
  if (!all_) {
    if (!second) return "key: only in the first";
    if (!first) return "key: only in the second";
    if (first.get()->type() != second.get()->type()) {
      return SafeString("kind: ") + TypeOf(first) + " and " + TypeOf(second);
    }
    if (first.is(JType::Array)) {
      return StringUtils::_InternalFormat("length: %zu and %zu", first.size(),
                                          second.size());
    }
  }
  const auto text = [](View value) {
    return value ? JsonReader::Compress(value.get()) : SafeString("(none)");
  };
  const SafeString a = text(first), b = text(second);
  const auto apart = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto at = static_cast<std::size_t>(apart.first - a.begin());
  return (all_ ? "" : "value: ") + Excerpt(a, at, kWidth).text + " and " +
         Excerpt(b, at, kWidth).text;
}

}  // namespace

Status Equal(const Arguments& arguments, Output& output) {
  const generic::ScopedPointer<JBase> first(
      LoadTree(LoadDocumentOrFail(arguments.FileAt(0))));
  const generic::ScopedPointer<JBase> second(
      LoadTree(LoadDocumentOrFail(arguments.FileAt(1))));
  Comparison comparison(arguments.Has(kAll), output);
  comparison.Compare(first.get(), second.get());
  return comparison.equal() ? kYes : kNo;
}

}  // namespace vjson

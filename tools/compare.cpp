// What needs room is kept out of the frames of the functions that recurse; each
// of them returns whether there was no difference.

#include "compare.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include <foundation/json/json.h>

#include "excerpt.h"
#include "path.h"

namespace vjson {

using namespace vorn::foundation::json;

namespace {

// Prints the difference at a place, formatted as by printf, and returns false.
[[gnu::noinline, gnu::format(printf, 2, 3)]] bool Differ(const Place& place,
                                                         const char* format,
                                                         ...) {
  const SafeString path = Show(PathOf(place)).text;
  std::printf("%s: ", path.empty() ? "(root)" : path.c_str());
  std::va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::printf("\n");
  return false;
}

template <class Value>
const Value& As(const JBase& value) {
  return static_cast<const Value&>(value);
}

[[gnu::noinline]] bool CompareScalars(const Place& place, const JBase& first,
                                      const JBase& second) {
  if (JsonReader::IsEqual(&first, &second)) return true;
  constexpr std::size_t kWidth = 30;  // two values and a path fit on a line
  const SafeString a = JsonReader::Compress(&first);
  const SafeString b = JsonReader::Compress(&second);
  const auto apart = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto at = static_cast<std::size_t>(apart.first - a.begin());
  return Differ(place, "value: %s and %s", Excerpt(a, at, kWidth).text.c_str(),
                Excerpt(b, at, kWidth).text.c_str());
}

bool Compare(const Place& place, const JBase& first, const JBase& second);

bool CompareArrays(const Place& place, const JArray& first,
                   const JArray& second) {
  if (first.length() != second.length()) {
    return Differ(place, "length: %u and %u", first.length(), second.length());
  }
  for (unsigned int i = 0; i < first.length(); ++i) {
    const Place element{&place, nullptr, i};
    if (!Compare(element, *first.at(i), *second.at(i))) return false;
  }
  return true;
}

bool CompareObjects(const Place& place, const JObject& first,
                    const JObject& second) {
  for (const SafeString& key : first.keys()) {
    const Place member{&place, &key};
    const JBase* const other = second.at(key);
    if (other == nullptr) return Differ(member, "key: only in the first");
    if (!Compare(member, *first.at(key), *other)) return false;
  }
  for (const SafeString& key : second.keys()) {
    const Place member{&place, &key};
    if (!first.existed(key)) return Differ(member, "key: only in the second");
  }
  return true;
}

bool Compare(const Place& place, const JBase& first, const JBase& second) {
  if (first.type() != second.type()) {
    return Differ(place, "kind: %s and %s", KindOf(first), KindOf(second));
  }
  switch (first.type()) {
    case JType::Array:
      return CompareArrays(place, As<JArray>(first), As<JArray>(second));
    case JType::Object:
      return CompareObjects(place, As<JObject>(first), As<JObject>(second));
    default:
      return CompareScalars(place, first, second);
  }
}

}  // namespace

bool Compare(const JBase& first, const JBase& second) {
  return Compare(Place(), first, second);
}

}  // namespace vjson

#include "path.h"

#include <charconv>
#include <system_error>

#include <foundation/debug/tracked.h>
#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>
#include <foundation/text/stringutils.h>

#include "checked.h"
#include "compile.h"

namespace vjson {

using namespace vorn::foundation;
using namespace vorn::foundation::json;
using generic::ScopedPointer;
using text::StringUtils;

// Keys ------------------------------------------------------------------------

SafeString Quoted(const SafeString& text) {
  constexpr debug::Tag kTag{"tools/vjson", 1, "Quoted"};
  const ScopedPointer<JString> value(
      Checked(debug::Create<JString>(kTag, text)));
  return JsonReader::Compress(value.get());
}

SafeString Unquoted(std::string_view quoted) {
  const SafeString text(quoted);
  const char* cursor = text.c_str();
  const ScopedPointer<JBase> value(Checked(json::Compile(cursor)));
  return static_cast<const JString*>(value.get())->value();
}

namespace {

bool IsName(const SafeString& key) {
  static constexpr char kLetters[] =
      "_abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  const bool begins = !key.empty() && (key[0] < '0' || key[0] > '9');
  return begins && key.find_first_not_of(kLetters) == SafeString::npos;
}

}  // namespace

SafeString KeyText(const SafeString& key) {
  return IsName(key) ? key : Quoted(key);
}

// From places to paths --------------------------------------------------------

namespace {

SafeString StepText(const Place& place) {
  if (place.key == nullptr) {
    return StringUtils::_InternalFormat("[%u]", place.index);
  }
  if (!IsName(*place.key)) return "[" + Quoted(*place.key) + "]";
  const bool first = place.above->above == nullptr;
  return first ? *place.key : "." + *place.key;
}

void AppendPath(const Place& place, SafeString& path) {
  if (place.above == nullptr) return;
  AppendPath(*place.above, path);
  path += StepText(place);
}

}  // namespace

SafeString PathOf(const Place& place) {
  SafeString path;
  AppendPath(place, path);
  return path;
}

// From paths to steps ---------------------------------------------------------
//
// Every Take function is entered with the position on what it takes, and leaves
// it behind.

namespace {

bool Is(std::string_view path, std::size_t at, char character) {
  return at < path.size() && path[at] == character;
}

Step TakeName(std::string_view path, std::size_t& at) {
  const std::size_t begin = at;
  at = std::min(path.find_first_of(".[]", at), path.size());
  if (at == begin) throw PathFault{at, "a name is missing"};
  return {true, SafeString(path.substr(begin, at - begin)), 0, at};
}

// A backslash takes the quotation mark, or backslash, behind it along.
Step TakeKey(std::string_view path, std::size_t& at) {
  const std::size_t begin = at++;
  while (at < path.size() && path[at] != '"') {
    const bool pair =
        path[at] == '\\' && (Is(path, at + 1, '"') || Is(path, at + 1, '\\'));
    at += pair ? 2 : 1;
  }
  if (at >= path.size()) throw PathFault{path.size(), "'\"' is missing"};
  ++at;
  return {true, Unquoted(path.substr(begin, at - begin)), 0, at};
}

Step TakeIndex(std::string_view path, std::size_t& at) {
  unsigned int index = 0;
  const char* const begin = path.data() + at;
  const auto [end, error] =
      std::from_chars(begin, path.data() + path.size(), index);
  if (error == std::errc::result_out_of_range) {
    throw PathFault{at, "the index is too large"};
  }
  if (end == begin) throw PathFault{at, "an index or a string is missing"};
  at += static_cast<std::size_t>(end - begin);
  return {false, SafeString(), index, at};
}

Step TakeBracket(std::string_view path, std::size_t& at) {
  ++at;
  Step step = Is(path, at, '"') ? TakeKey(path, at) : TakeIndex(path, at);
  if (!Is(path, at, ']')) throw PathFault{at, "']' is missing"};
  step.end = ++at;
  return step;
}

}  // namespace

std::vector<Step> StepsOf(std::string_view path) {
  std::vector<Step> steps;
  std::size_t at = 0;
  while (at < path.size()) {
    if (path[at] == '[') {
      steps.push_back(TakeBracket(path, at));
      continue;
    }
    if (at > 0 && path[at++] != '.') {
      throw PathFault{at - 1, "'.' or '[' is missing"};
    }
    steps.push_back(TakeName(path, at));
  }
  return steps;
}

// From steps to values --------------------------------------------------------

const JBase* Follow(const JBase& value, const Step& step) {
  if (step.by_key && value.type() == JType::Object) {
    return static_cast<const JObject&>(value).at(step.key);
  }
  if (!step.by_key && value.type() == JType::Array) {
    return static_cast<const JArray&>(value).at(step.index);
  }
  return nullptr;
}

SafeString WhyNot(const JBase& value, const Step& step) {
  if (step.by_key && value.type() == JType::Object) return "no such key";
  if (step.by_key || value.type() != JType::Array) {
    return StringUtils::_InternalFormat("not in a value of the kind %s",
                                        KindOf(value));
  }
  return StringUtils::_InternalFormat(
      "past the end, the length is %u",
      static_cast<const JArray&>(value).length());
}

const char* KindOf(const JBase& value) {
  static constexpr const char* kKinds[] = {"null",   "bool",  "number",
                                           "string", "array", "object"};
  return kKinds[static_cast<int>(value.type())];
}

}  // namespace vjson

#pragma once

#include "monitor.h"

#include <foundation/debug/tracked.h>
#include <foundation/lang/exception.h>

#include <cstddef>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// A property is a function that holds for every input: a case of property_test,
// and a fuzz target.
namespace support {

// An input, from which a property takes numbers at the end and text at the
// front: so a file of JSON text is of use to every property. A NUL may stand
// between the two.
class Input {
 public:
  explicit Input(std::string_view bytes) : bytes_(bytes) {}

  bool empty() const { return bytes_.empty(); }

  // A number below the bound; 0 when the input is used up.
  unsigned int Below(std::size_t bound) {
    unsigned int number = 0;
    for (std::size_t range = 1; range < bound && !empty(); range *= 256) {
      number = number * 256 + static_cast<unsigned char>(bytes_.back());
      bytes_.remove_suffix(1);
    }
    return number % static_cast<unsigned int>(bound);
  }

  // The next bytes, as many as there are up to the limit.
  std::string_view Text(std::size_t limit = std::string_view::npos) {
    const std::string_view text = bytes_.substr(0, limit);
    bytes_.remove_prefix(text.size());
    return text;
  }

  // The bytes in front of the first NUL, or all.
  std::string_view Document() {
    const std::string_view text = Text(bytes_.find('\0'));
    Text(1);
    return text;
  }

 private:
  std::string_view bytes_;
};

// Each leaves nothing behind.
using Property = void (*)(Input&);
void CheckTree(Input& in);
void CheckArchiver(Input& in);
void CheckNumber(Input& in);
void CheckTool(Input& in);

// Checks the property for the input, in the trace mode that it says.
inline void Check(Property property, std::string_view bytes) {
  Input in(bytes);
  Monitor::Reset(in.Below(2) != 0);
  const std::size_t before = Monitor::Blocks();
  property(in);
  Monitor::TakeLog();
  Require(Monitor::Blocks() == before, "nothing is left behind");
}

// The tag under which tests create objects of their own.
inline constexpr vorn::foundation::debug::Tag kTag{"test", 1, "test"};

// The caller owns the result.
template <class T, class... Arguments>
T* Make(Arguments&&... arguments) {
  return vorn::foundation::debug::Create<T>(
      kTag, std::forward<Arguments>(arguments)...);
}

// Failing requests ------------------------------------------------------------

// How an operation ends: with a result, without one or by any other exception,
// or for want of memory.
enum class End { Passed, Nothing, Exhausted, AccessNull };

// operate() says whether it has a result.
template <class Operation>
End EndOf(Operation operate) try {
  return operate() ? End::Passed : End::Nothing;
} catch (const std::bad_alloc&) {
  return End::Exhausted;
} catch (const vorn::foundation::lang::Exception& e) {
  const bool null = e.what() == std::string_view("access null");
  return null ? End::AccessNull : End::Nothing;
}

// A source, and whether all its requests from some number on fail.
struct Failing {
  Failing OrNone(bool fails) const {
    return {source, forever, fails ? first : static_cast<std::size_t>(-1)};
  }

  Source source;
  bool forever;
  std::size_t first = 0;  // the first request that fails
};
inline const Failing kFailing[] = {
    {Source::OperatorNew, false},   {Source::OperatorNew, true},
    {Source::ObjectMonitor, false}, {Source::ObjectMonitor, true},
    {Source::MemoryMonitor, false}, {Source::MemoryMonitor, true},
    {Source::List, false},          {Source::List, true}};

// The requests that failed in all sweeps.
inline std::size_t injected = 0;

// Runs the operation with request 0, 1, 2, ... failing, of the higher numbers
// only some. After each run calls passed(end, number, failed), with all
// requests granted again; stops when that is true, or when no request failed.
template <class Operation, class Passed>
void Sweep(Failing failing, Operation operate, Passed passed) {
  for (std::size_t number = failing.first;; number += 1 + number / 16) {
    Monitor::FailRequest(failing.source, number, failing.forever);
    const End end = EndOf(operate);
    const std::size_t failed = Monitor::StopFailing();
    injected += failed;
    if (passed(end, number, failed != 0) || failed == 0) return;
  }
}

// The same for what has a result, changes nothing and leaves nothing. Says how
// it may end without memory for an object.
template <class Operation>
void Look(Failing failing, Operation look, End null = End::AccessNull) {
  const std::size_t before = Monitor::Blocks();
  Sweep(failing, look, [&](End end, std::size_t, bool failed) {
    Require(
        end == End::Passed || (failed && end == End::Exhausted) ||
            (failed && end == null && failing.source == Source::ObjectMonitor),
        "the result, or that memory is exhausted");
    Require(Monitor::Blocks() == before, "nothing is left behind");
    return false;
  });
}

inline std::string Repeat(int count, const std::string& text) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

inline std::string Replace(std::string text, const std::string& part,
                           const std::string& by) {
  for (std::size_t at = 0; (at = text.find(part, at)) != text.npos;) {
    text.replace(at, part.size(), by);
    at += by.size();
  }
  return text;
}

// A key as it is written.
inline std::string Quoted(const std::string& key) {
  std::string text = "\"";
  for (const char c : key) {
    const std::size_t escape = std::string_view("\"\\\r\n\t").find(c);
    if (escape != std::string_view::npos) text += '\\';
    text += escape != std::string_view::npos ? "\"\\rnt"[escape] : c;
  }
  return text += '"';
}

}  // namespace support

#include "marks.h"

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "liveobjects.h"
#include "origins.h"
#include "threads.h"

namespace vorn::foundation::debug::internal {

namespace {

using Name =
    std::basic_string<char, std::char_traits<char>, OwnAllocator<char>>;
using Marks = std::map<Name, State, std::less<>,
                       OwnAllocator<std::pair<const Name, State>>>;

Lasting<Marks> marks;

}  // namespace

State StateNow() {
  State state{decltype(State::counts)(Origins::Count()),
              unknown_releases.Get()};
  ForEachObject([&](unsigned int number, unsigned int size) {
    if (number >= state.counts.size()) return;  // new
    Count& count = state.counts[number];
    ++count.alive;
    count.bytes += size;
  });
  unsigned int number = 0;
  for (Count& count : state.counts) {
    count.made = Origins::Numbered(number++).made.Get();
  }
  return state;
}

void SetMark(const char* name, State&& state) {
  const std::lock_guard<std::mutex> lock(mutexes.marks);
  (*marks)[name] = std::move(state);
}

bool GetMark(const char* name, State& state) {
  if (name == nullptr) return true;
  const std::lock_guard<std::mutex> lock(mutexes.marks);
  const auto mark = marks->find(name);
  if (mark == marks->end()) return false;
  state = mark->second;
  return true;
}

}  // namespace vorn::foundation::debug::internal

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ownmemory.h"

// What there is at a moment, and the moments that have a name.
namespace vorn::foundation::debug::internal {

// The objects of one origin. Those that were made and are not alive were freed.
struct Count {
  std::uint64_t made = 0;
  std::size_t alive = 0;
  std::size_t bytes = 0;  // of those alive
};

// The counts by the numbers of the origins, and the number of releases of
// objects that were not in the list.
struct State {
  std::vector<Count, OwnAllocator<Count>> counts;
  std::size_t unknown = 0;
};

// Returns the state now. No object is counted as alive that is not counted as
// made. Throws std::bad_alloc when memory is exhausted.
State StateNow();

// Keeps the state under a copy of the name, in the place of what is there.
// Throws std::bad_alloc when memory is exhausted, and then changes nothing.
void SetMark(const char* name, State&& state);

// Copies the state of that name, or an empty one if the name is null. Returns
// false if there is none. Throws std::bad_alloc when memory is exhausted.
bool GetMark(const char* name, State& state);

}  // namespace vorn::foundation::debug::internal

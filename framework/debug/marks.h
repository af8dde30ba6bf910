#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "ownmemory.h"

// States: the counts of all origins at one moment. Marks: states with a name.
namespace vorn::foundation::debug::internal {

// The counts of one origin. made - alive objects were freed.
struct Count {
  std::uint64_t made = 0;
  std::size_t alive = 0;
  std::size_t bytes = 0;  // of those alive
};

struct State {
  std::vector<Count, OwnAllocator<Count>> counts;  // by number of the origin
  std::size_t unknown = 0;  // releases of objects that were not in the list
};

// Returns the present state. Every object that counts as alive also counts as
// made. Throws std::bad_alloc when memory is exhausted.
State StateNow();

// Keeps the state under a copy of the name and drops the former state of that
// name. Throws std::bad_alloc when memory is exhausted, and then changes
// nothing.
void SetMark(const char* name, State&& state);

// Copies the state of that name into state; a null name leaves it empty.
// Returns false if there is no such mark. Throws std::bad_alloc when memory is
// exhausted.
bool GetMark(const char* name, State& state);

}  // namespace vorn::foundation::debug::internal

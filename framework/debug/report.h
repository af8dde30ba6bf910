#pragma once

#include <foundation/debug/objectmonitor.h>

#include <iosfwd>

#include "marks.h"

// The reports of the object monitor. Both throw std::bad_alloc when memory is
// exhausted, and then print nothing. They hold no mutex while they print.
namespace vorn::foundation::debug::internal {

// Prints the live objects of each tag, then the totals.
void PrintState(std::ostream& out, const State& now);

// Prints the change of each tag from then to now, the most growth first, then
// the totals. A null mark stands for the start of the program.
void PrintChange(std::ostream& out, const State& now, const State& then,
                 const char* mark, ReportLayout layout);

}  // namespace vorn::foundation::debug::internal

#pragma once

#include <foundation/debug/objectmonitor.h>

#include <iosfwd>

#include "marks.h"

// The reports of the object monitor. Both print nothing but throw
// std::bad_alloc when memory is exhausted, and hold no mutex while they print.
namespace vorn::foundation::debug::internal {

// Prints the live objects of each tag, then the totals.
void PrintState(std::ostream& out, const State& now);

// Prints the change of each tag between the states, the most growth first, then
// the totals. The name of the mark may be null.
void PrintChange(std::ostream& out, const State& now, const State& then,
                 const char* mark, ReportLayout layout);

}  // namespace vorn::foundation::debug::internal

#pragma once

namespace vjson {

// Prints what the tree of a file costs: its objects by kind, what the monitors
// know of it, and its depth.
void PrintCost(const char* name);

}  // namespace vjson

#pragma once

#include <foundation/json/jbase.h>

namespace vjson {

// Compares two trees depth first, arrays in the order of their elements,
// objects in the order of the first one's keys. Prints the first difference,
// and returns whether there was none.
bool Compare(const vorn::foundation::json::JBase& first,
             const vorn::foundation::json::JBase& second);

}  // namespace vjson

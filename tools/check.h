#pragma once

namespace vjson {

// Ends the command when the file's text is malformed.
void Check(const char* name);

// The same when it means something else to other readers of JSON, which is told
// of the first places in full.
void CheckStrictly(const char* name);

}  // namespace vjson

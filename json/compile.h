#pragma once

namespace vorn::foundation::json {

class JBase;

// Reads one JSON value from the NUL-terminated text at the cursor; blanks and
// comments may follow it, and nothing else. The caller owns the result and
// releases it with dispose(). The result is null when there is no memory for
// the value itself while the object monitor traces.
//
// Malformed text throws lang::Exception(rule, message) with the cursor on the
// first byte that no rule takes: the first byte of a refused number, the first
// letter of an unknown literal, the byte found instead of a bracket or colon,
// the end of the text for an unterminated string. Exhausted memory throws
// std::bad_alloc. In either case nothing is left behind.
JBase* Compile(const char*& cursor);

}  // namespace vorn::foundation::json

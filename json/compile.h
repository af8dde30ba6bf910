#pragma once

namespace vorn::foundation::json {

class JBase;

// Reads one JSON value from the NUL-terminated text at the cursor. Only blanks
// and comments may follow the value. The caller owns the result and releases it
// with dispose(). Returns null if the object monitor traces and has no memory
// for the value itself.
//
// Throws lang::Exception(rule, message) if the text is malformed. The cursor is
// then on the first byte that no rule takes: the first byte of a number, the
// first letter of an unknown literal, the byte in the place of a bracket or
// colon, the end of the text in a string without an end. Throws std::bad_alloc
// when memory is exhausted. In either case nothing is left behind.
JBase* Compile(const char*& cursor);

}  // namespace vorn::foundation::json

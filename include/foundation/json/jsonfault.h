#pragma once

#include <cstddef>

#include <foundation/json/jtype.h>

namespace vorn::foundation::json {

/// The reason and the place where reading a text failed. Owns no memory.
struct JsonFault {
  /// None: the text was read. NoText: it was null. Malformed: the parser
  /// refused it. NoMemory: any other failure; place and texts are not set.
  enum class Kind { None, NoText, Malformed, NoMemory };

  Kind kind = Kind::None;
  std::size_t offset = 0;             ///< of the first wrong byte, from 0
  unsigned int line = 0, column = 0;  ///< from 1; a column is a byte
  char rule[24] = "";                 ///< "ParseObject"
  char message[64] = "";              ///< "field not combined with ':'"
};

/// Sets the offset, and its line and column in the text. LF, CR and CR LF each
/// end a line. REQUIRES: text has a byte at the offset; this may be a final
/// NUL.
inline void SetPlace(JsonFault& fault, const char* text, std::size_t offset) {
  const char* const end = text + offset;
  const char* line = text;
  fault.offset = offset;
  fault.line = 1;
  for (; text != end; ++text) {
    if (*text != '\n' && (*text != '\r' || text[1] == '\n')) continue;
    line = text + 1;
    ++fault.line;
  }
  fault.column = static_cast<unsigned int>(end - line) + 1;
}

}  // namespace vorn::foundation::json

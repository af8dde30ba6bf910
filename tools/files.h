#pragma once

#include <string_view>

#include <foundation/json/jbase.h>
#include <foundation/text/safestring.h>

namespace vjson {

using vorn::foundation::SafeString;
using vorn::foundation::json::JBase;

// The file of this name is standard input.
bool IsStandardInput(const char* name);

// The bytes of a file, none of them a NUL: for the parser a text ends there,
// which must not pass for the end of the file.
SafeString ReadText(const char* name);

// The tree of a file's text. The caller owns it. Malformed text ends the
// command.
JBase* Parse(const char* name, const SafeString& text);

// The tree of a file. The caller owns it.
JBase* Load(const char* name);

// Writes to standard output: exact bytes to a file or pipe; to a terminal only
// what it shows, as excerpt.h says.

// Writes the value on indented lines, or on a single one.
void Write(const JBase& value, bool compress);

void WriteLine(std::string_view line);

// The last word on whether standard output took everything.
void FinishOutput();

}  // namespace vjson

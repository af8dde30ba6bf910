#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>

#include <foundation/json/files.h>

namespace vjson {

using vorn::foundation::SafeString;
namespace files = vorn::foundation::json::json_internal;

// Messages on standard error. An error prints its message where it is found,
// and then passes on its exit status alone.

// The exit status. Of several, the greatest counts.
enum Status { kYes = 0, kNo = 1, kTrouble = 2 };
inline Status exit_status = kYes;

// Ends a command whose error is printed.
struct Failure {
  Status status;
};

// Whether the file has colours: "always", "never", or, with "auto", if it is a
// terminal and the environment has no NO_COLOR. Other words end the command.
bool UsesColors(std::string_view when, int file);

// Whether messages have colours.
inline bool error_colors = false;

// Prints the message on one line, with the subject as it is shown.
void PrintError(std::string_view subject, const SafeString& message);

// Prints the error and ends the command.
[[noreturn]] void Fail(std::string_view subject, const SafeString& message);

// A place in a file. Lines and columns count from 1; a line ends at a line
// feed, a carriage return, or both together; a column is a byte.
struct Position {
  std::uint64_t line, column;
};
struct Place {
  const char* file;
  Position position;
  std::string_view text;  // the line, or the part of it around the place
  std::size_t at;         // the place in this text
};

// Prints the error with its place, an excerpt of the line, and the hint, unless
// that is empty.
void PrintErrorAt(const Place& place, const char* rule,
                  const SafeString& message, const SafeString& hint = "");

// Shows on a line of the terminal how much of a large file has been read. The
// next message, or ClearProgress(), removes the line; for good, no other is
// shown.
void ShowProgress(std::uint64_t done, std::uint64_t all);
void ClearProgress(bool for_good = false);

// Runs the work up to its end or an error, whose status counts.
template <class Work>
void Try(Work work) {
  try {
    return work();
  } catch (const Failure& failure) {
    exit_status = std::max(exit_status, failure.status);
    return;
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  exit_status = kTrouble;
  ClearProgress();
  std::fputs("vjson: not enough memory\n", stderr);
}

// Makes a system call for the file. Its error ends the command.
template <class Call>
auto Do(const char* file, Call call) {
  try {
    return files::Do("", call);
  } catch (const vorn::foundation::json::FileFault& fault) {
    Fail(file, std::strerror(fault.error));
  }
}

}  // namespace vjson

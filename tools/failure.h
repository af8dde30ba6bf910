#pragma once

#include <new>
#include <stdexcept>

namespace vjson {

// What goes wrong is told on standard error where it is found, and then thrown
// as Failed: all that is left to pass on is the exit status.

// The exit status of a command. Of several, the greatest counts.
enum Status { kYes = 0, kNo = 1, kTrouble = 2 };

// Ends a command that has told what went wrong.
struct Failed {
  Status status;
};

void Tell(const char* subject, const char* message);

// Tells what is in the way of an answer, and ends the command.
[[noreturn]] void Fail(const char* subject, const char* message);

// Runs the work to its end and returns its status, whatever it throws.
template <class Work>
Status Attempt(const char* subject, Work work) {
  static constexpr char kNoMemory[] = "not enough memory";
  try {
    return work();
  } catch (const Failed& failed) {
    return failed.status;
  } catch (const std::bad_alloc&) {
    Tell(subject, kNoMemory);
  } catch (const std::length_error&) {
    Tell(subject, kNoMemory);
  }
  return kTrouble;
}

}  // namespace vjson

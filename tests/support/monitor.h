#pragma once

#include <cstddef>
#include <string>

// The monitors of tests and fuzz targets. A program that links this defines the
// functions of both monitors, and operator new and delete, itself: it writes
// the object monitor's calls down, counts the blocks that are out, and lets
// requests fail. A header in front of each block tells what the block is. For
// one thread at a time.
namespace support {

// Fails the test, or ends what is no test, where something does not hold.
void Require(bool holds, const char* what);

// Who is asked for memory, for a place in the list of live objects, or to take
// an object from the list. A request that fails throws std::bad_alloc; the
// monitors return null in the place of memory.
enum class Source { OperatorNew, ObjectMonitor, MemoryMonitor, List, Release };

class Monitor {
 public:
  // Forgets the log and the injected failures, numbers objects from 1 again and
  // sets what _IsTrace() answers. Call it only while no object is alive.
  static void Reset(bool trace);

  // The log since it was last taken: the same with tracing off and on.
  //   +FILE:LINE FUNCTION #1   a creation; "null" in place of a null object
  //   -#1                      a dispose()
  //   !FILE:LINE FUNCTION #1   any other release; "!#1" without a tag
  // A call that breaks the contract (a wrong size or address, a second release,
  // one that is not as tracing is) does not hold.
  static std::string TakeCalls();

  // The same with "?" for each _IsTrace(), "(" for each _Alloc() and ")" for
  // each _Dealloc().
  static std::string TakeLog();

  // Adds a text of the test's own to the log.
  static void Note(const char* text);

  // The number of a live object.
  static unsigned int Number(const void* object);

  // The number of blocks that are out. Each object is in a block of its own.
  static std::size_t Blocks();

  // Lets the request to the source with this number, counted from 0 and from
  // now, fail; with forever, all that follow it too. A thread that is to be
  // cancelled ends in it.
  static void FailRequest(Source source, std::size_t number, bool forever);

  // Ends that, and returns how many requests failed.
  static std::size_t StopFailing();

  // While one is alive, no request fails or counts, nor does a block of
  // operator new: for what the tests themselves do meanwhile.
  class Exempt {
   public:
    Exempt() { ++count; }
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
    ~Exempt() { --count; }

    static inline int count = 1;  // until the first Reset()
  };
};

}  // namespace support

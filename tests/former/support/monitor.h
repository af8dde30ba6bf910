#pragma once

#include <cstddef>
#include <iosfwd>
#include <map>
#include <string>
#include <utility>
#include <vector>

// The monitors of the tests. A test program that links this defines the
// functions of both monitors, and operator new and delete, itself and so takes
// the place of the framework's: it writes the object monitor's calls down,
// keeps account of everything that is out, and lets requests for memory fail.
// For one thread.
namespace support {

// Where memory is asked for.
enum class Source { OperatorNew, ObjectMonitor, MemoryMonitor };

// What a report throws when it is told to.
struct MonitorFailure {};

// Recorded objects, blocks from ObjectMonitor::_Alloc and blocks from
// MemoryMonitor::Alloc, each by its address, with its size.
enum class Kind { Object, ObjectBlock, MemoryBlock };
using Blocks = std::map<std::pair<Kind, const void*>, unsigned int>;

// What is out at a moment, and the sums of it.
struct Account {
  Blocks blocks;
  std::size_t new_blocks = 0;  // from operator new, of the tests as well
  std::size_t objects = 0;
  std::size_t memory_blocks = 0;
  std::size_t memory_bytes = 0;

  bool operator==(const Account& other) const {
    return blocks == other.blocks && new_blocks == other.new_blocks;
  }
};
std::ostream& operator<<(std::ostream& stream, const Account& account);

class Monitor {
 public:
  // Forgets the log and the injected failures, and sets what _IsTrace()
  // answers. Call it only while no object is alive.
  static void Reset(bool trace);
  static bool Traces();

  // The calls of _IsTrace() since Reset().
  static std::size_t TraceQuestions();

  // The log. A line for each call of the object monitor except _IsTrace():
  //   _Alloc                                  (also "_Alloc null")
  //   _IncLeak ../json/json:326 clone #1      ("null" for a null object)
  //   _DecLeakEx FILE:LINE FUNCTION #1        (also _DecLeakInfoEx)
  //   _DecLeak #1                             (also _DecLeakInfo)
  //   _Dealloc
  // An object is called #1, #2, ... in the order of the creations since the
  // last TakeLog() or Reset(), unless Name() gave it a name. A call that breaks
  // the contract (a wrong size or address, an object released twice) fails the
  // test that makes it.
  static std::vector<std::string> TakeLog();

  // Adds a line of the test's own, a destructor's for instance.
  static void Note(const std::string& line);

  // The name that the log uses for an object from now on, until it is released.
  static void Name(const void* object, const std::string& name);

  static Account Now();

  // Lets the request with this number, counted from 0 and from now, fail; with
  // forever, all that follow it too. The sources count apart. A thread that is
  // to be cancelled ends in a request that fails.
  static void FailRequest(Source source, std::size_t number, bool forever);

  // Ends that, and returns how many requests failed.
  static std::size_t StopFailing();

  // Lets the next report of a creation, or of a release, throw MonitorFailure.
  enum class Report { None, Creation, Release };
  static void ThrowOn(Report report);

  // While one is alive, no request fails or counts, and what operator new gives
  // is not in the account: for what the tests themselves do meanwhile.
  class Exempt {
   public:
    Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
    ~Exempt();
  };
};

}  // namespace support

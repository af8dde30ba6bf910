#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The monitors of the tests. A test program that links this defines the
// functions of both monitors, and operator new and delete, itself and so takes
// the place of the framework's: it writes the object monitor's calls down,
// keeps account of everything that is out, and lets requests for memory fail.
// For one thread.
namespace support {

// Where memory is asked for.
enum class Source { OperatorNew, ObjectMonitor, MemoryMonitor };
inline constexpr Source kSources[] = {
    Source::OperatorNew, Source::ObjectMonitor, Source::MemoryMonitor};
const char* NameOf(Source source);

// What a report throws when it is told to.
struct MonitorFailure {};

// What is out at a moment.
struct Account {
  std::size_t objects = 0;        // recorded and not released
  std::size_t object_blocks = 0;  // from ObjectMonitor::_Alloc
  std::size_t memory_blocks = 0;  // from MemoryMonitor::Alloc
  std::size_t memory_bytes = 0;
  std::size_t new_blocks = 0;  // from operator new, of the tests as well

  bool operator==(const Account& other) const;
  bool operator!=(const Account& other) const { return !(*this == other); }
};
std::ostream& operator<<(std::ostream& out, const Account& account);

class Monitor {
 public:
  // Forgets the log, all names and injected failures, and sets what _IsTrace()
  // answers. Call it only while no object is alive.
  static void Reset(bool trace);

  static bool Traces();

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

  // The calls of _IsTrace() since Reset().
  static std::size_t TraceQuestions();

  // What is out now.
  static Account Now();

  // The bytes out at MemoryMonitor at most, since Reset() or ResetPeak().
  static std::size_t PeakMemoryBytes();
  static void ResetPeak();

  // Lets the request with this number, counted from 0 and from now, fail; with
  // forever, all that follow it too. The sources count apart.
  static void FailRequest(Source source, std::size_t number, bool forever);

  // Ends that, and returns how many requests failed.
  static std::size_t StopFailing();

  // Lets the next report of a creation, or of a release, throw MonitorFailure.
  enum class Report { None, Creation, Release };
  static void ThrowOn(Report report);

  // The requests to a source since Reset().
  static std::size_t Requests(Source source);

  // While one is alive, no request fails or counts as one, and what operator
  // new returns stays out of the account: for what the tests themselves do
  // while requests fail.
  class Exempt {
   public:
    Exempt();
    Exempt(const Exempt&) = delete;
    Exempt& operator=(const Exempt&) = delete;
    ~Exempt();
  };
};

}  // namespace support

#pragma once

#include <cstddef>
#include <iosfwd>

namespace vorn::foundation::debug {

// The memory block of an object, as the object monitor hands it back when the
// object is released.
struct LeakInfo {
  unsigned char* address;  // start of the block, as _Alloc() returned it
  unsigned int size;       // its byte count, as reported to _IncLeak()
};

// Keeps the list of live objects, each with the source file, line and function
// that created it, so that a leak can be traced to its origin. While tracing is
// on it also supplies the memory of the objects themselves, and checks it when
// it comes back. Safe to call from several threads.
//
// File and function names must be string literals, or live as long: the monitor
// keeps the pointers. Callers use Create() and Destroy() of tracked.h, which
// make these calls in the right order.
class __attribute__((visibility("default"))) ObjectMonitor {
 public:
  // Whether tracing is on. The answer must be the same when an object is
  // released as it was when the object was created.
  static bool _IsTrace();

  // Returns a block for an object of the given size, aligned for any type, or
  // null when no memory is left. It goes back with _Dealloc().
  static unsigned char* _Alloc(unsigned int size);

  // Takes back a block from _Alloc(); null is ignored. Does not throw. A block
  // that was written past its end, or that comes back with another size, ends
  // the process with a message on standard error.
  static void _Dealloc(unsigned char* address, unsigned int size);

  // Records a live object with its creation tag and size; null is ignored.
  // Throws std::bad_alloc when the list cannot grow; the object is then not
  // recorded.
  static void _IncLeak(void* object, const char* file, int line,
                       const char* function, unsigned int size);

  // Record the release of an object, without and with a tag. An object that is
  // not in the list is counted and otherwise ignored.
  static void _DecLeak(void* object);
  static void _DecLeakEx(void* object, const char* file, int line,
                         const char* function);

  // The same for an object whose memory came from _Alloc(): also return its
  // block, a null address where the object is not in the list.
  static LeakInfo _DecLeakInfo(void* object);
  static LeakInfo _DecLeakInfoEx(void* object, const char* file, int line,
                                 const char* function);

  // Turns tracing on or off; it is off at first. Call it only while no object
  // is alive.
  static void SetTrace(bool trace);

  // The number of live objects, and the bytes of their blocks.
  static std::size_t LiveCount();
  static std::size_t LiveBytes();

  // Writes one line for each creation tag that has live objects (file, line,
  // function, objects, bytes), then the totals.
  static void Report(std::ostream& out);
};

}  // namespace vorn::foundation::debug

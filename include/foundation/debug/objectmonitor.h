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

// How a report is laid out: in columns for a reader, or in fields between tabs
// for a program, with their names in the first line.
enum class ReportLayout { Text, Tabs };

// Keeps the list of live objects, each with the source file, line and function
// that created it, so that a leak can be traced to its origin. While tracing is
// on it also supplies the memory of the objects themselves, and checks it when
// it comes back. Safe to call from several threads: at an address that malloc
// gives, recording and releasing an object whose tag is known take no lock.
//
// The list takes 8 KiB for each 128 KiB of memory (64 KiB where there are 32
// bits) that an object has been in, and keeps them. Objects at other addresses
// than malloc's may have an entry of their own instead.
//
// A tag is known by the addresses of its texts, its line and the size of the
// object; what is printed are copies, made when the tag is first used. Thus the
// texts must not change, and may be gone once no code uses the tag any more, as
// those of a library that was unloaded. The texts of a library that is loaded
// in its place later are taken for the former ones where addresses, line and
// size are the same. Tags beyond the 32,767th are counted together, as "more
// tags". Callers use Create() and Destroy() of tracked.h, which make these
// calls in the right order.
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

  // Records a live object with its creation tag and size; null is ignored, and
  // a null text is an empty one. Throws std::bad_alloc when there is no memory
  // for the list or the tag; the object is then not recorded.
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

  // The number of live objects, and the bytes of their blocks. Counts them.
  static std::size_t LiveCount();
  static std::size_t LiveBytes();

  // Writes one line for each creation tag that has live objects (file, line,
  // function, objects, bytes), then the totals, then the number of releases of
  // objects that were not in the list, if there were any. Throws std::bad_alloc
  // before it writes anything when memory is exhausted. What other threads do
  // meanwhile may be counted in part.
  static void Report(std::ostream& out);

  // Remembers how things stand under the name, which is copied, in the place of
  // what it stood for before. Takes 24 bytes (16 where there are 32 bits)
  // for each creation tag there has been, which stay until the name is used
  // again. Throws std::bad_alloc when memory is exhausted; the name then stands
  // for what it did. REQUIRES: name is not null.
  static void Mark(const char* name);

  // Writes what has changed since the mark of that name, or since the start of
  // the program when it is null. Each creation tag with live objects or with a
  // change has a line: its live objects and their bytes, the change of both,
  // and how many objects were made and freed in the time. The line with the
  // most growth in bytes is the first, the totals are the last but for the
  // releases of objects that are not in the list. False, and nothing is
  // written, when there is no such mark. Throws std::bad_alloc before it writes
  // anything when memory is exhausted. What other threads do meanwhile may be
  // counted in part.
  static bool Report(std::ostream& out, const char* mark,
                     ReportLayout layout = ReportLayout::Text);
};

}  // namespace vorn::foundation::debug

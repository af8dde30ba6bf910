#pragma once

#include <cstddef>
#include <iosfwd>

namespace vorn::foundation::debug {

/// The memory block of an object, which the object monitor returns when the
/// object is released.
struct LeakInfo {
  unsigned char* address;  ///< of the block, as _Alloc() returned it
  unsigned int size;       ///< in bytes, as reported to _IncLeak()
};

/// The layout of a report. Text: columns, for people. Tabs: fields between
/// tabs, with their names in the first line, for programs.
enum class ReportLayout { Text, Tabs };

/// Keeps the list of live objects, each with the source file, line and function
/// that created it, so that a leak is traced to its origin. While tracing is
/// on, the monitor also supplies the memory of the objects, and checks each
/// block when it is released. Programs use Create() and Destroy() of tracked.h,
/// which make these calls in the right order.
///
/// Safe to call from several threads. Recording and releasing an object take a
/// lock only if its tag is new or its address is not one of malloc's.
///
/// The list allocates 8 KiB for each 128 KiB of memory (64 KiB on 32 bits) in
/// which an object has ever been. It never releases them. An object at an
/// address that is not one of malloc's may take memory of its own.
///
/// The monitor finds a tag by the addresses of its texts, its line and the size
/// of the object. It copies the texts when the tag is new, and prints the
/// copies. So the texts must not change while the tag is in use, but may be
/// unloaded with their library. If another library is loaded in the same place,
/// its objects count under the former tag where addresses, line and size are
/// equal. Tags beyond the 32,767th are counted together, as "more tags".
class __attribute__((visibility("default"))) ObjectMonitor {
 public:
  /// Whether tracing is on. It must not change while an object is alive.
  static bool _IsTrace();

  /// Returns a block of that many bytes, aligned for any type, or null when no
  /// memory is left. The caller owns the block and releases it with _Dealloc().
  static unsigned char* _Alloc(unsigned int size);

  /// Releases a block; null is ignored. Does not throw. Ends the process with a
  /// message on standard error if the block was written past its end or has
  /// another size. REQUIRES: _Alloc(size) returned the address.
  static void _Dealloc(unsigned char* address, unsigned int size);

  /// Records a live object with its creation tag and size. A null object is
  /// ignored; a null text counts as an empty one. Throws std::bad_alloc when
  /// there is no memory for the list or the tag; the object is then not
  /// recorded.
  static void _IncLeak(void* object, const char* file, int line,
                       const char* function, unsigned int size);

  /// Record the release of an object, without and with a tag. If the object is
  /// not in the list, the release is counted and otherwise ignored.
  static void _DecLeak(void* object);
  static void _DecLeakEx(void* object, const char* file, int line,
                         const char* function);

  /// The same for an object whose block _Alloc() supplied. Return the block,
  /// which the caller then releases, or a null address if the object is not in
  /// the list.
  static LeakInfo _DecLeakInfo(void* object);
  static LeakInfo _DecLeakInfoEx(void* object, const char* file, int line,
                                 const char* function);

  /// Turns tracing on or off; it is off at first. REQUIRES: no object is alive.
  static void SetTrace(bool trace);

  /// Return the number of live objects, and the bytes of their blocks.
  static std::size_t LiveCount();
  static std::size_t LiveBytes();

  /// Writes one line for each creation tag that has live objects (file, line,
  /// function, objects, bytes), then the totals, then the number of releases of
  /// objects that were not in the list, if there were any. Throws
  /// std::bad_alloc when memory is exhausted, and then writes nothing. What
  /// other threads do meanwhile may be counted in part.
  static void Report(std::ostream& out);

  /// Sets a mark: keeps the present counts under a copy of the name, in place
  /// of the former mark of that name. Takes 24 bytes (16 on 32 bits) for each
  /// creation tag so far, until the name is used again. Throws std::bad_alloc
  /// when memory is exhausted; the former mark then stays. REQUIRES: name is
  /// not null.
  static void Mark(const char* name);

  /// Writes what has changed since the mark of that name, or since the start of
  /// the program if the name is null:
  /// - a line for each creation tag with live objects or a change: live objects
  ///   and their bytes, the change of both, and the objects made and freed
  ///   since; the line with the most growth in bytes comes first;
  /// - the totals;
  /// - the releases of objects that were not in the list.
  /// Returns false, and writes nothing, if there is no such mark. Throws
  /// std::bad_alloc when memory is exhausted, and then writes nothing. What
  /// other threads do meanwhile may be counted in part.
  static bool Report(std::ostream& out, const char* mark,
                     ReportLayout layout = ReportLayout::Text);
};

}  // namespace vorn::foundation::debug

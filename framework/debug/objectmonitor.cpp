// The list of live objects is a hash table from address to tag and size. Its
// own memory comes from malloc directly, so that it never shows among the
// memory that it accounts for.

#include <foundation/debug/objectmonitor.h>

#include "guardedblock.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <ostream>
#include <tuple>
#include <unordered_map>
#include <utility>

namespace vorn::foundation::debug {

namespace {

// Memory of the monitor's own
// --------------------------------------------------

template <class T>
struct OwnAllocator {
  using value_type = T;
  OwnAllocator() = default;
  template <class U>
  OwnAllocator(const OwnAllocator<U>&) {}
  T* allocate(std::size_t count) {
    void* memory = std::malloc(count * sizeof(T));
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t) { std::free(memory); }
  template <class U>
  bool operator==(const OwnAllocator<U>&) const {
    return true;
  }
  template <class U>
  bool operator!=(const OwnAllocator<U>&) const {
    return false;
  }
};

// The list of live objects
// -------------------------------------------------------

struct Record {
  const char* file = nullptr;
  int line = 0;
  const char* function = nullptr;
  unsigned int size = 0;
};

using Records =
    std::unordered_map<const void*, Record, std::hash<const void*>,
                       std::equal_to<const void*>,
                       OwnAllocator<std::pair<const void* const, Record>>>;

struct List {
  std::mutex mutex;
  Records records;
  std::size_t bytes = 0;
  std::size_t unknown_releases = 0;
};

// Never destroyed: objects may be released while the process ends.
List& TheList() {
  alignas(List) static unsigned char memory[sizeof(List)];
  static List* const list = ::new (static_cast<void*>(memory)) List;
  return *list;
}

std::atomic<bool> trace{false};

// Takes the object out of the list and returns its block.
LeakInfo Forget(const void* object) {
  List& list = TheList();
  const std::lock_guard<std::mutex> lock(list.mutex);
  const auto found = list.records.find(object);
  if (found == list.records.end()) {
    ++list.unknown_releases;
    return LeakInfo{nullptr, 0};
  }
  const unsigned int size = found->second.size;
  list.records.erase(found);
  list.bytes -= size;
  void* address = const_cast<void*>(object);
  return LeakInfo{static_cast<unsigned char*>(address), size};
}

}  // namespace

// The monitor -----------------------------------------------------------------

bool ObjectMonitor::_IsTrace() { return trace.load(std::memory_order_relaxed); }

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  return AllocateGuarded(size);
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int size) {
  if (address != nullptr) FreeGuarded(address, size, "ObjectMonitor::_Dealloc");
}

void ObjectMonitor::_IncLeak(void* object, const char* file, int line,
                             const char* function, unsigned int size) {
  if (object == nullptr) return;
  List& list = TheList();
  const std::lock_guard<std::mutex> lock(list.mutex);
  Record& record = list.records[object];
  // An object that is still in the list was released behind the monitor's back.
  list.bytes -= record.size;
  record = Record{file, line, function, size};
  list.bytes += size;
}

void ObjectMonitor::_DecLeak(void* object) { Forget(object); }

void ObjectMonitor::_DecLeakEx(void* object, const char*, int, const char*) {
  Forget(object);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) { return Forget(object); }

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char*, int,
                                       const char*) {
  return Forget(object);
}

// The report ------------------------------------------------------------------

namespace {

struct TagOrder {
  bool operator()(const Record& a, const Record& b) const {
    if (const int order = std::strcmp(a.file, b.file)) return order < 0;
    if (a.line != b.line) return a.line < b.line;
    return std::strcmp(a.function, b.function) < 0;
  }
};

struct Total {
  std::size_t objects = 0;
  std::size_t bytes = 0;
};

using Totals = std::map<Record, Total, TagOrder,
                        OwnAllocator<std::pair<const Record, Total>>>;

}  // namespace

void ObjectMonitor::SetTrace(bool on) {
  trace.store(on, std::memory_order_relaxed);
}

std::size_t ObjectMonitor::LiveCount() {
  List& list = TheList();
  const std::lock_guard<std::mutex> lock(list.mutex);
  return list.records.size();
}

std::size_t ObjectMonitor::LiveBytes() {
  List& list = TheList();
  const std::lock_guard<std::mutex> lock(list.mutex);
  return list.bytes;
}

void ObjectMonitor::Report(std::ostream& out) {
  Totals totals;
  Total all;
  std::size_t unknown_releases = 0;
  {
    List& list = TheList();
    const std::lock_guard<std::mutex> lock(list.mutex);
    for (const auto& [object, record] : list.records) {
      Total& total = totals[record];
      ++total.objects;
      total.bytes += record.size;
    }
    all = Total{list.records.size(), list.bytes};
    unknown_releases = list.unknown_releases;
  }
  for (const auto& [tag, total] : totals) {
    out << tag.file << ':' << tag.line << ' ' << tag.function << ": "
        << total.objects << " objects, " << total.bytes << " bytes\n";
  }
  out << "total: " << all.objects << " objects, " << all.bytes << " bytes\n";
  if (unknown_releases != 0) {
    out << "releases of unknown objects: " << unknown_releases << '\n';
  }
}

}  // namespace vorn::foundation::debug

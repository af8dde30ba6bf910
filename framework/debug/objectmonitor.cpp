// The functions of the monitor. Its parts: origins.h (tags), liveobjects.h (the
// list of live objects), marks.h (states and marks), report.h (reports).

#include <foundation/debug/objectmonitor.h>

#include <atomic>
#include <cstdint>

#include "guardedblock.h"
#include "liveobjects.h"
#include "marks.h"
#include "origins.h"
#include "report.h"

namespace vorn::foundation::debug {

using namespace internal;

namespace {

std::atomic<bool> trace{false};

std::uintptr_t AddressOf(const void* object) {
  return reinterpret_cast<std::uintptr_t>(object);
}

void Release(void* object) {
  if (ForgetInSlot(AddressOf(object)) == 0) ForgetStray(object);
}

LeakInfo ReleaseBlock(void* object) {
  const unsigned int number = ForgetInSlot(AddressOf(object));
  if (number == 0) return ForgetStray(object);
  return LeakInfo{static_cast<unsigned char*>(object),
                  Origins::Numbered(number).size};
}

// Records an object whose tag is new or whose slot is missing or taken.
[[gnu::noinline]] void Record(const void* object, const char* file, int line,
                              const char* function, unsigned int size) {
  const Origin* origin = Origins::Find(file, line, function, size);
  if (origin == nullptr) {
    origin = &Origins::FindOrAdd(file, line, function, size);
  }
  RecordObject(AddressOf(object), *origin, size);
}

}  // namespace

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
  const Origin* const origin = Origins::Find(file, line, function, size);
  const std::uintptr_t address = AddressOf(object);
  if (origin == nullptr || !RecordInSlot(SlotOf(address), address, *origin)) {
    Record(object, file, line, function, size);
  }
}

void ObjectMonitor::_DecLeak(void* object) { Release(object); }

void ObjectMonitor::_DecLeakEx(void* object, const char*, int, const char*) {
  Release(object);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  return ReleaseBlock(object);
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char*, int,
                                       const char*) {
  return ReleaseBlock(object);
}

void ObjectMonitor::SetTrace(bool on) {
  trace.store(on, std::memory_order_relaxed);
}

std::size_t ObjectMonitor::LiveCount() {
  std::size_t count = 0;
  ForEachObject([&](unsigned int, unsigned int) { ++count; });
  return count;
}

std::size_t ObjectMonitor::LiveBytes() {
  std::size_t bytes = 0;
  ForEachObject([&](unsigned int, unsigned int size) { bytes += size; });
  return bytes;
}

void ObjectMonitor::Report(std::ostream& out) { PrintState(out, StateNow()); }

void ObjectMonitor::Mark(const char* name) { SetMark(name, StateNow()); }

bool ObjectMonitor::Report(std::ostream& out, const char* mark,
                           ReportLayout layout) {
  State then;
  if (!GetMark(mark, then)) return false;
  PrintChange(out, StateNow(), then, mark, layout);
  return true;
}

}  // namespace vorn::foundation::debug

// Monitors that record nothing, instead of the framework's: a program with them
// spends what the library itself spends.

#include <cstdlib>

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

namespace vorn::foundation::debug {

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  return static_cast<unsigned char*>(std::malloc(bytes));
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int) {
  std::free(block);
}

bool ObjectMonitor::_IsTrace() { return false; }

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  return static_cast<unsigned char*>(std::malloc(size));
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int) {
  std::free(address);
}

void ObjectMonitor::_IncLeak(void*, const char*, int, const char*,
                             unsigned int) {}

void ObjectMonitor::_DecLeak(void*) {}

void ObjectMonitor::_DecLeakEx(void*, const char*, int, const char*) {}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  return {static_cast<unsigned char*>(object), 0};
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char*, int,
                                       const char*) {
  return {static_cast<unsigned char*>(object), 0};
}

}  // namespace vorn::foundation::debug

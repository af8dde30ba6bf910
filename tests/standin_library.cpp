// A library that standin_test unloads while its object is alive.

#include <foundation/debug/objectmonitor.h>

extern "C" __attribute__((visibility("default"))) void Record(void* object) {
  vorn::foundation::debug::ObjectMonitor::_IncLeak(
      object, "standin_library.cpp", 7, "Record", 3);
}

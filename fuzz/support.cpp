#include "support.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include <sanitizer/allocator_interface.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <new>

namespace fuzz {

namespace {

bool trace = false;
std::size_t alive = 0;

// Of the target's own thread: the fuzzer has others.
thread_local struct {
  bool active = false;
  Source source = Source::OperatorNew;
  std::size_t number = 0;
  bool forever = false;
  std::size_t requests = 0;
} failing;

bool Fails(Source source) {
  if (!failing.active || source != failing.source) return false;
  const std::size_t number = failing.requests++;
  return failing.forever ? number >= failing.number : number == failing.number;
}

// Of an object or a block.
std::size_t Weight(const void* it, std::size_t size) {
  return reinterpret_cast<std::uintptr_t>(it) + size;
}

unsigned int SizeOf(const void* block) {
  return static_cast<unsigned int>(__sanitizer_get_allocated_size(block));
}

unsigned char* Allocate(unsigned int size) {
  void* const block = std::malloc(size);
  alive += Weight(block, size);
  return static_cast<unsigned char*>(block);
}

void Free(void* block, unsigned int size) {
  if (block == nullptr) return;
  Require(SizeOf(block) == size, "a block comes back with its size");
  alive -= Weight(block, size);
  std::free(block);
}

vorn::foundation::debug::LeakInfo Forget(void* object, bool traced) {
  Require(traced == trace, "a release follows _IsTrace()");
  alive -= Weight(object, SizeOf(object));
  return {static_cast<unsigned char*>(object), SizeOf(object)};
}

}  // namespace

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "This does not hold: %s\n", what);
  std::abort();
}

std::size_t Alive() { return alive; }

Failing::Failing(Source source, std::size_t number, bool forever) {
  failing = {true, source, number, forever, 0};
}
Failing::~Failing() { failing.active = false; }

std::size_t Failing::Requests() { return failing.requests; }

}  // namespace fuzz

// The monitors ----------------------------------------------------------------

namespace vorn::foundation::debug {

using fuzz::Source;

bool ObjectMonitor::_IsTrace() { return fuzz::trace; }

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  return fuzz::Fails(Source::ObjectMonitor) ? nullptr : fuzz::Allocate(size);
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int size) {
  fuzz::Free(address, size);
}

void ObjectMonitor::_IncLeak(void* object, const char*, int, const char*,
                             unsigned int size) {
  if (fuzz::Fails(Source::List)) throw std::bad_alloc();
  if (object == nullptr) return;
  fuzz::Require(fuzz::SizeOf(object) == size, "an object fills its block");
  fuzz::alive += fuzz::Weight(object, size);
}

void ObjectMonitor::_DecLeak(void* object) { fuzz::Forget(object, false); }

void ObjectMonitor::_DecLeakEx(void* object, const char*, int, const char*) {
  fuzz::Forget(object, false);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  return fuzz::Forget(object, true);
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char*, int,
                                       const char*) {
  return fuzz::Forget(object, true);
}

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  return fuzz::Fails(Source::MemoryMonitor) ? nullptr : fuzz::Allocate(bytes);
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int bytes) {
  fuzz::Free(block, bytes);
}

}  // namespace vorn::foundation::debug

// The address sanitizer's own stands behind it, and sees what is released in
// another way than with delete; the leak sanitizer keeps account.
void* operator new(std::size_t size) {
  if (fuzz::Fails(fuzz::Source::OperatorNew)) throw std::bad_alloc();
  return operator new(size, std::nothrow);
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data,
                                      std::size_t size) {
  const void* const bytes = data;
  fuzz::Input in({static_cast<const char*>(bytes), size});
  fuzz::trace = in.Below(2) != 0;
  fuzz::Run(in);
  fuzz::Require(fuzz::Alive() == 0, "nothing is left behind");
  return 0;
}

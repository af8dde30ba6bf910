#include "monitor.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include <pthread.h>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace support {

using vorn::foundation::debug::LeakInfo;

[[gnu::weak]] void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "This does not hold: %s\n", what);
  std::abort();
}

namespace {

bool trace = false;
unsigned int created = 0;
std::string log;
std::size_t blocks = 0;
std::size_t failed = 0;

constexpr auto kNever = static_cast<std::size_t>(-1);
struct {
  Source source;
  std::size_t made, first, last;  // the requests to it, and which of them fail
} failing{Source::List, 0, kNever, kNever};

// In front of each block.
struct alignas(std::max_align_t) Header {
  const Header* self;  // while the block is out
  std::size_t size;
  Source source;
  unsigned int number;  // of the object in it that is recorded, or 0
  bool counted;         // made without an exemption
};

// Whether this request must fail.
bool Fails(Source source) {
  if (Monitor::Exempt::count != 0 || source != failing.source) return false;
  const std::size_t number = failing.made++;
  if (number < failing.first || number > failing.last) return false;
  return ++failed, true;
}

unsigned char* Allocate(Source source, std::size_t size) {
  if (Fails(source)) return pthread_testcancel(), nullptr;
  auto* const header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
  const bool counted =
      Monitor::Exempt::count == 0 || source != Source::OperatorNew;
  *header = {header, size, source, 0, counted};
  blocks += counted;
  return reinterpret_cast<unsigned char*>(header + 1);
}

// The header in front of what must be a block.
Header& HeaderOf(const void* memory) {
  auto* const header = static_cast<Header*>(const_cast<void*>(memory)) - 1;
  if (header->self == header) return *header;
  Require(false, "an address is that of a block");
  std::abort();
}

// A size of kNever is any.
void Free(Source source, void* memory, std::size_t size) {
  if (memory == nullptr) return;
  Header& header = HeaderOf(memory);
  Require(header.source == source, "a block goes where it came from");
  Require(size == kNever || header.size == size, "a block keeps its size");
  Require(header.number == 0, "an object is released before its memory");
  blocks -= header.counted;
  header.self = nullptr;
  std::free(&header);
}

// Writes a call down. The file is null where there is no tag.
void LogCall(char sign, const char* file, int line, const char* function,
             unsigned int number) {
  const Monitor::Exempt exemption;
  std::string call(1, sign);
  if (file != nullptr) {
    call = call + file + ':' + std::to_string(line) + ' ' + function + ' ';
  }
  const bool disposal =
      call ==
      "!../../../include/foundation/json/../lang/disposable:22 dispose ";
  log += disposal ? "-" : call;
  log += number == 0 ? "null" : "#" + std::to_string(number);
}

// Writes the release down.
LeakInfo Release(bool traced, void* object, const char* file = nullptr,
                 int line = 0, const char* function = nullptr) {
  if (Fails(Source::Release)) throw std::bad_alloc();
  Require(traced == trace, "a release is as tracing is");
  Header& header = HeaderOf(object);
  Require(header.number != 0, "what is released was recorded");
  LogCall('!', file, line, function, header.number);
  header.number = 0;
  return {static_cast<unsigned char*>(object),
          static_cast<unsigned int>(header.size)};
}

}  // namespace

// The tests' side -------------------------------------------------------------

void Monitor::Reset(bool traced) {
  Exempt::count = 0;
  const Monitor::Exempt exemption;
  StopFailing();
  TakeLog();
  trace = traced;
  created = 0;
}

std::string Monitor::TakeLog() { return std::exchange(log, std::string()); }

std::string Monitor::TakeCalls() {
  std::string calls;
  for (const char c : TakeLog()) {
    if (c != '?' && c != '(' && c != ')') calls += c;
  }
  return calls;
}

void Monitor::Note(const char* text) {
  const Monitor::Exempt exemption;
  log += text;
}

unsigned int Monitor::Number(const void* object) {
  return HeaderOf(object).number;
}

std::size_t Monitor::Blocks() { return blocks; }

void Monitor::FailRequest(Source source, std::size_t number, bool forever) {
  failing = {source, 0, number, forever ? kNever : number};
}

std::size_t Monitor::StopFailing() {
  failing.first = kNever;
  return std::exchange(failed, 0);
}

}  // namespace support

// The monitors' functions -----------------------------------------------------

namespace vorn::foundation::debug {

using namespace support;  // the state above

bool ObjectMonitor::_IsTrace() { return Monitor::Note("?"), trace; }

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  Monitor::Note("(");
  return Allocate(Source::ObjectMonitor, size);
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int size) {
  Monitor::Note(")");
  Free(Source::ObjectMonitor, address, size);
}

void ObjectMonitor::_IncLeak(void* object, const char* file, int line,
                             const char* function, unsigned int size) {
  if (Fails(Source::List)) throw std::bad_alloc();
  if (object == nullptr) return LogCall('+', file, line, function, 0);
  Header& header = HeaderOf(object);
  Require(header.number == 0, "an object is recorded once");
  Require(header.size == size, "an object has its block's size");
  Require(
      header.source == (trace ? Source::ObjectMonitor : Source::OperatorNew),
      "an object has its memory from where tracing says");
  header.number = ++created;
  LogCall('+', file, line, function, created);
}

void ObjectMonitor::_DecLeak(void* object) { Release(false, object); }

void ObjectMonitor::_DecLeakEx(void* object, const char* file, int line,
                               const char* function) {
  Release(false, object, file, line, function);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  return Release(true, object);
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char* file, int line,
                                       const char* function) {
  return Release(true, object, file, line, function);
}

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  return Allocate(Source::MemoryMonitor, bytes);
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int bytes) {
  Free(Source::MemoryMonitor, block, bytes);
}

}  // namespace vorn::foundation::debug

void* operator new(std::size_t size) {
  void* const memory = support::Allocate(support::Source::OperatorNew, size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  support::Free(support::Source::OperatorNew, memory, support::kNever);
}

void operator delete(void* memory, std::size_t size) noexcept {
  support::Free(support::Source::OperatorNew, memory, size);
}

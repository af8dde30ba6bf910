#include "monitor.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <cstdlib>
#include <new>
#include <ostream>

namespace support {

using vorn::foundation::debug::LeakInfo;
using Exempt = Monitor::Exempt;

// State -----------------------------------------------------------------------

namespace {

bool trace = false;
std::size_t questions = 0;
std::vector<std::string> log;
std::size_t created = 0;
std::map<const void*, std::string> names;  // of all objects
Blocks blocks;
Monitor::Report throwing = Monitor::Report::None;

// These are for operator new, which is called before all else and after it.
int exempt = 0;
std::size_t new_blocks = 0;
std::size_t failed = 0;

// In front of each block of operator new stands whether it is in the account:
// it may be made under an exemption and released without one, or the reverse.
union Header {
  bool counted;
  std::max_align_t alignment;
};

constexpr auto kNever = static_cast<std::size_t>(-1);
struct Requests {
  std::size_t made = 0;
  std::size_t first = kNever;  // of those that fail
  std::size_t last = kNever;
} requests[3];

// Whether this request must fail.
bool Fails(Source source) {
  if (exempt != 0) return false;
  Requests& its = requests[static_cast<std::size_t>(source)];
  const std::size_t number = its.made++;
  const bool fails = its.first <= number && number <= its.last;
  if (fails) ++failed;
  return fails;
}

// The same for a request that may throw: there a thread may be cancelled.
bool Refuses(Source source) {
  const bool fails = Fails(source);
  if (fails) pthread_testcancel();
  return fails;
}

void ThrowIfTold(Monitor::Report report) {
  if (throwing != report) return;
  throwing = Monitor::Report::None;
  throw MonitorFailure();
}

// What the log says of a call, but for the object.
std::string Call(const char* name, const char* file, int line,
                 const char* function) {
  const Exempt exemption;
  return std::string(name) + " " + file + ":" + std::to_string(line) + " " +
         function;
}

unsigned char* AllocateBlock(Kind kind, unsigned int size) {
  const Exempt exemption;
  auto* block = static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : size));
  blocks[{kind, block}] = size;
  return block;
}

// Takes it out of the account, and returns its size.
unsigned int TakeOut(Kind kind, const void* address, const std::string& call) {
  const auto found = blocks.find({kind, address});
  if (found == blocks.end()) {
    ADD_FAILURE() << call << ": an address that is not out";
    return 0;
  }
  const unsigned int size = found->second;
  blocks.erase(found);
  return size;
}

void FreeBlock(Kind kind, unsigned char* block, unsigned int size,
               const char* call) {
  const Exempt exemption;
  EXPECT_EQ(TakeOut(kind, block, call), size) << call << ": another size";
  std::free(block);
}

// Takes the object out of the account and writes the release down.
LeakInfo Release(void* object, const std::string& call, bool traced) {
  const Exempt exemption;
  ThrowIfTold(Monitor::Report::Release);
  EXPECT_EQ(traced, trace) << call << ": not as tracing is";
  log.push_back(call + " " + names[object]);
  names.erase(object);
  const unsigned int size = TakeOut(Kind::Object, object, call);
  return LeakInfo{static_cast<unsigned char*>(object), size};
}

}  // namespace

// The tests' side -------------------------------------------------------------

std::ostream& operator<<(std::ostream& stream, const Account& account) {
  constexpr const char* kKinds[] = {"object", "object block", "memory block"};
  for (const auto& [block, size] : account.blocks) {
    stream << kKinds[static_cast<int>(block.first)] << ' ' << block.second
           << " of " << size << " bytes, ";
  }
  return stream << account.new_blocks << " blocks of operator new";
}

void Monitor::Reset(bool traced) {
  const Exempt exemption;
  StopFailing();
  TakeLog();
  EXPECT_TRUE(names.empty()) << "objects are alive at a reset";
  trace = traced;
  questions = 0;
}

bool Monitor::Traces() { return trace; }
std::size_t Monitor::TraceQuestions() { return questions; }

std::vector<std::string> Monitor::TakeLog() {
  created = 0;
  return std::exchange(log, {});
}

void Monitor::Note(const std::string& line) {
  const Exempt exemption;
  log.push_back(line);
}

void Monitor::Name(const void* object, const std::string& name) {
  const Exempt exemption;
  names.at(object) = name;
}

Account Monitor::Now() {
  const Exempt exemption;
  Account now = {blocks, new_blocks, names.size()};
  for (const auto& [block, size] : blocks) {
    if (block.first != Kind::MemoryBlock) continue;
    ++now.memory_blocks;
    now.memory_bytes += size;
  }
  return now;
}

void Monitor::FailRequest(Source source, std::size_t number, bool forever) {
  Requests& its = requests[static_cast<std::size_t>(source)];
  its = {0, number, forever ? kNever : number};
}

std::size_t Monitor::StopFailing() {
  for (Requests& its : requests) its = Requests();
  return std::exchange(failed, 0);
}

void Monitor::ThrowOn(Report report) { throwing = report; }

Monitor::Exempt::Exempt() { ++exempt; }
Monitor::Exempt::~Exempt() { --exempt; }

}  // namespace support

// The monitors' functions -----------------------------------------------------

namespace vorn::foundation::debug {

using namespace support;  // the state above

bool ObjectMonitor::_IsTrace() { return ++questions, trace; }

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  const bool fails = Refuses(Source::ObjectMonitor);
  Monitor::Note(fails ? "_Alloc null" : "_Alloc");
  return fails ? nullptr : AllocateBlock(Kind::ObjectBlock, size);
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int size) {
  Monitor::Note("_Dealloc");
  FreeBlock(Kind::ObjectBlock, address, size, "_Dealloc");
}

void ObjectMonitor::_IncLeak(void* object, const char* file, int line,
                             const char* function, unsigned int size) {
  const Exempt exemption;
  const std::string call = Call("_IncLeak", file, line, function);
  if (object == nullptr) return Monitor::Note(call + " null");
  ThrowIfTold(Monitor::Report::Creation);
  const auto block = blocks.find({Kind::ObjectBlock, object});
  const bool traced = block != blocks.end() && block->second == size;
  EXPECT_EQ(traced, trace) << call << ": memory of another kind or size";
  if (!blocks.emplace(std::pair(Kind::Object, object), size).second) {
    ADD_FAILURE() << call << ": an object that is alive already";
  }
  names[object] = "#" + std::to_string(++created);
  log.push_back(call + " " + names[object]);
}

void ObjectMonitor::_DecLeak(void* object) {
  Release(object, "_DecLeak", false);
}

void ObjectMonitor::_DecLeakEx(void* object, const char* file, int line,
                               const char* function) {
  Release(object, Call("_DecLeakEx", file, line, function), false);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  return Release(object, "_DecLeakInfo", true);
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char* file, int line,
                                       const char* function) {
  return Release(object, Call("_DecLeakInfoEx", file, line, function), true);
}

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  if (Refuses(Source::MemoryMonitor)) return nullptr;
  return AllocateBlock(Kind::MemoryBlock, bytes);
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int bytes) {
  if (block == nullptr) return;
  FreeBlock(Kind::MemoryBlock, block, bytes, "MemoryMonitor::Dealloc");
}

}  // namespace vorn::foundation::debug

// The global allocation functions ---------------------------------------------

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  if (support::Fails(support::Source::OperatorNew)) return nullptr;
  auto* const header = static_cast<support::Header*>(
      std::malloc(sizeof(support::Header) + size));
  header->counted = support::exempt == 0;
  if (header->counted) ++support::new_blocks;
  return header + 1;
}

void* operator new(std::size_t size) {
  void* const memory = operator new(size, std::nothrow);
  if (memory == nullptr) pthread_testcancel();
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory == nullptr) return;
  auto* const header = static_cast<support::Header*>(memory) - 1;
  if (header->counted) --support::new_blocks;
  std::free(header);
}

void operator delete(void* memory, std::size_t) noexcept {
  operator delete(memory);
}

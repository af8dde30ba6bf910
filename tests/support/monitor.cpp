#include "monitor.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <map>
#include <new>
#include <ostream>
#include <tuple>
#include <utility>

namespace support {

namespace {

// State -----------------------------------------------------------------------

struct Object {
  std::string name;
  unsigned int size;
};

struct Injection {
  std::size_t number = 0;  // of the first request that fails
  bool active = false;
  bool forever = false;
};

struct State {
  bool trace = false;
  std::vector<std::string> log;
  std::size_t created = 0;
  std::size_t questions = 0;
  std::map<const void*, Object> objects;
  std::map<const void*, unsigned int> object_blocks;
  std::map<const void*, unsigned int> memory_blocks;
  std::size_t memory_bytes = 0;
  std::size_t peak_bytes = 0;
};

// Never destroyed: operator delete is called until the very end.
State& TheState() {
  static State* const state = new State;
  return *state;
}

// These are apart because operator new uses them, before anything else exists.
int exempt = 0;
std::size_t new_blocks = 0;
std::size_t requests[3];
std::size_t failed = 0;
Injection injections[3];
std::size_t since_injection[3];

// Whether this request must fail.
bool Fails(Source source) {
  if (exempt != 0) return false;
  const auto i = static_cast<std::size_t>(source);
  ++requests[i];
  const std::size_t number = since_injection[i]++;
  const Injection& injection = injections[i];
  const bool fails =
      injection.active && (injection.forever ? number >= injection.number
                                             : number == injection.number);
  if (fails) ++failed;
  return fails;
}

std::string Place(const char* file, int line, const char* function) {
  return std::string(file) + ":" + std::to_string(line) + " " + function;
}

void Log(const std::string& line) { TheState().log.push_back(line); }

Monitor::Report throwing = Monitor::Report::None;

void ThrowIfTold(Monitor::Report report) {
  if (throwing != report) return;
  throwing = Monitor::Report::None;
  throw MonitorFailure();
}

// Takes the object out of the account and writes the release down.
unsigned int Release(const void* object, const std::string& call, bool traced) {
  ThrowIfTold(Monitor::Report::Release);
  State& state = TheState();
  const auto found = state.objects.find(object);
  if (found == state.objects.end()) {
    ADD_FAILURE() << call << ": an object that is not alive";
    return 0;
  }
  if (traced != state.trace) {
    ADD_FAILURE() << call << ": tracing is " << (state.trace ? "on" : "off");
  }
  const unsigned int size = found->second.size;
  Log(call + " " + found->second.name);
  state.objects.erase(found);
  return size;
}

using Blocks = std::map<const void*, unsigned int>;

unsigned char* AllocateBlock(Blocks& blocks, unsigned int size) {
  auto* block = static_cast<unsigned char*>(std::malloc(size == 0 ? 1 : size));
  if (block == nullptr) std::abort();
  blocks[block] = size;
  return block;
}

void FreeBlock(Blocks& blocks, unsigned char* block, unsigned int size,
               const char* caller) {
  const auto found = blocks.find(block);
  if (found == blocks.end()) {
    ADD_FAILURE() << caller << ": not a block that is out";
    return;
  }
  if (found->second != size) {
    ADD_FAILURE() << caller << ": " << size << " bytes, not the "
                  << found->second << " asked for";
  }
  blocks.erase(found);
  std::free(block);
}

}  // namespace

// The tests' side -------------------------------------------------------------

const char* NameOf(Source source) {
  constexpr const char* kNames[] = {"operator new", "ObjectMonitor::_Alloc",
                                    "MemoryMonitor::Alloc"};
  return kNames[static_cast<std::size_t>(source)];
}

bool Account::operator==(const Account& other) const {
  return std::tie(objects, object_blocks, memory_blocks, memory_bytes,
                  new_blocks) == std::tie(other.objects, other.object_blocks,
                                          other.memory_blocks,
                                          other.memory_bytes, other.new_blocks);
}

std::ostream& operator<<(std::ostream& out, const Account& account) {
  return out << account.objects << " objects, " << account.object_blocks
             << " object blocks, " << account.memory_blocks
             << " memory blocks of " << account.memory_bytes << " bytes, "
             << account.new_blocks << " blocks of operator new";
}

void Monitor::Reset(bool trace) {
  const Exempt exemption;
  StopFailing();
  State& state = TheState();
  if (!state.objects.empty()) ADD_FAILURE() << "objects are alive at a reset";
  state.trace = trace;
  state.log.clear();
  state.created = 0;
  state.questions = 0;
  for (std::size_t& count : requests) count = 0;
  ResetPeak();
}

bool Monitor::Traces() { return TheState().trace; }

std::vector<std::string> Monitor::TakeLog() {
  TheState().created = 0;
  return std::exchange(TheState().log, {});
}

void Monitor::Note(const std::string& line) {
  const Exempt exemption;
  Log(line);
}

void Monitor::Name(const void* object, const std::string& name) {
  const Exempt exemption;
  TheState().objects.at(object).name = name;
}

std::size_t Monitor::TraceQuestions() { return TheState().questions; }

Account Monitor::Now() {
  const State& state = TheState();
  return Account{state.objects.size(), state.object_blocks.size(),
                 state.memory_blocks.size(), state.memory_bytes, new_blocks};
}

std::size_t Monitor::PeakMemoryBytes() { return TheState().peak_bytes; }
void Monitor::ResetPeak() { TheState().peak_bytes = TheState().memory_bytes; }

void Monitor::FailRequest(Source source, std::size_t number, bool forever) {
  const auto i = static_cast<std::size_t>(source);
  since_injection[i] = 0;
  injections[i] = Injection{number, true, forever};
}

std::size_t Monitor::StopFailing() {
  for (Injection& injection : injections) injection = Injection();
  return std::exchange(failed, 0);
}

std::size_t Monitor::Requests(Source source) {
  return requests[static_cast<std::size_t>(source)];
}

void Monitor::ThrowOn(Report report) { throwing = report; }

Monitor::Exempt::Exempt() { ++exempt; }
Monitor::Exempt::~Exempt() { --exempt; }

}  // namespace support

// The monitors' functions -----------------------------------------------------

namespace vorn::foundation::debug {

using namespace support;  // the state above
using Exempt = Monitor::Exempt;

bool ObjectMonitor::_IsTrace() {
  ++TheState().questions;
  return TheState().trace;
}

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  const bool fails = Fails(Source::ObjectMonitor);
  const Exempt exemption;
  Log(fails ? "_Alloc null" : "_Alloc");
  return fails ? nullptr : AllocateBlock(TheState().object_blocks, size);
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int size) {
  const Exempt exemption;
  Log("_Dealloc");
  FreeBlock(TheState().object_blocks, address, size, "_Dealloc");
}

void ObjectMonitor::_IncLeak(void* object, const char* file, int line,
                             const char* function, unsigned int size) {
  const Exempt exemption;
  State& state = TheState();
  const std::string call = "_IncLeak " + Place(file, line, function);
  if (object == nullptr) {
    Log(call + " null");
    return;
  }
  ThrowIfTold(Monitor::Report::Creation);
  const auto block = state.object_blocks.find(object);
  if (state.trace != (block != state.object_blocks.end())) {
    ADD_FAILURE() << call << ": memory of the wrong kind";
  } else if (state.trace && block->second != size) {
    ADD_FAILURE() << call << ": not the size of the block";
  }
  const std::string name = "#" + std::to_string(++state.created);
  if (!state.objects.emplace(object, Object{name, size}).second) {
    ADD_FAILURE() << call << ": an object that is alive already";
  }
  Log(call + " " + name);
}

void ObjectMonitor::_DecLeak(void* object) {
  const Exempt exemption;
  Release(object, "_DecLeak", false);
}

void ObjectMonitor::_DecLeakEx(void* object, const char* file, int line,
                               const char* function) {
  const Exempt exemption;
  Release(object, "_DecLeakEx " + Place(file, line, function), false);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  const Exempt exemption;
  const unsigned int size = Release(object, "_DecLeakInfo", true);
  return LeakInfo{static_cast<unsigned char*>(object), size};
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char* file, int line,
                                       const char* function) {
  const Exempt exemption;
  const unsigned int size =
      Release(object, "_DecLeakInfoEx " + Place(file, line, function), true);
  return LeakInfo{static_cast<unsigned char*>(object), size};
}

unsigned char* MemoryMonitor::Alloc(unsigned int bytes) {
  if (Fails(Source::MemoryMonitor)) return nullptr;
  const Exempt exemption;
  State& state = TheState();
  state.memory_bytes += bytes;
  state.peak_bytes = std::max(state.peak_bytes, state.memory_bytes);
  return AllocateBlock(state.memory_blocks, bytes);
}

void MemoryMonitor::Dealloc(unsigned char* block, unsigned int bytes) {
  if (block == nullptr) return;
  const Exempt exemption;
  TheState().memory_bytes -= bytes;
  FreeBlock(TheState().memory_blocks, block, bytes, "MemoryMonitor::Dealloc");
}

}  // namespace vorn::foundation::debug

// The global allocation functions ---------------------------------------------

namespace {

// In front of each block stands whether it is in the account: a block may be
// made under an exemption and released without one, or the reverse.
union Header {
  bool counted;
  std::max_align_t alignment;
};

void* AllocateNew(std::size_t size) {
  const bool counted = support::exempt == 0;
  if (support::Fails(support::Source::OperatorNew)) return nullptr;
  auto* header = static_cast<Header*>(std::malloc(sizeof(Header) + size));
  if (header == nullptr) std::abort();
  header->counted = counted;
  if (counted) ++support::new_blocks;
  return header + 1;
}

void FreeNew(void* memory) {
  if (memory == nullptr) return;
  Header* header = static_cast<Header*>(memory) - 1;
  if (header->counted) --support::new_blocks;
  std::free(header);
}

}  // namespace

void* operator new(std::size_t size) {
  void* memory = AllocateNew(size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return AllocateNew(size);
}

void* operator new[](std::size_t size) { return operator new(size); }

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  return AllocateNew(size);
}

void operator delete(void* memory) noexcept { FreeNew(memory); }
void operator delete(void* memory, std::size_t) noexcept { FreeNew(memory); }
void operator delete[](void* memory) noexcept { FreeNew(memory); }
void operator delete[](void* memory, std::size_t) noexcept { FreeNew(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept {
  FreeNew(memory);
}
void operator delete[](void* memory, const std::nothrow_t&) noexcept {
  FreeNew(memory);
}

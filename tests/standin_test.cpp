// The stand-in monitors: the list of live objects, the report, and the checks
// of the memory that they supply.

#include "support/property.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

namespace {

using namespace support;
using namespace vorn::foundation::debug;

// An object's address in the list, which is never read.
void* At(std::size_t place) {
  return reinterpret_cast<void*>((std::uintptr_t{1} << 30) + place);
}

// Records an object of the function "f".
void Record(std::size_t place, const char* file, int line, unsigned int size) {
  ObjectMonitor::_IncLeak(At(place), file, line, "f", size);
}

void Release(std::size_t place) { ObjectMonitor::_DecLeak(At(place)); }

template <class... Since>
std::string Report(Since... since) {
  std::ostringstream out;
  ObjectMonitor::Report(out, since...);
  return out.str();
}

TEST(StandInTest, ReportsObjectsByTagAndWhatHasChanged) {
  static char file[] = "a.cpp";
  ObjectMonitor::Mark("mark");
  Record(0, "c.cpp", 1, 40);
  Record(1, "b.cpp", 1, 50);
  Record(2, file, 20, 100);
  ObjectMonitor::_IncLeak(At(3), nullptr, 0, nullptr, 2);
  file[0] = 'x';  // as in memory of a library that is gone
  ObjectMonitor::Mark(std::string("mark").c_str());
  EXPECT_EQ(Report("marks"), "");

  for (const unsigned int place : {4U, 5U, 6U}) Record(place, "b.cpp", 1, 10);
  Record(7, "a.cpp", 20, 3);
  Record(8, "a.cpp", 3, 7);
  for (const unsigned int place : {0U, 6U, 8U}) Release(place);
  EXPECT_EQ(Report(), R"(:0 : 1 objects, 2 bytes
a.cpp:20 f: 2 objects, 103 bytes
b.cpp:1 f: 3 objects, 70 bytes
total: 6 objects, 175 bytes
)");
  std::string table = Report("mark", ReportLayout::Tabs);
  std::replace(table.begin(), table.end(), '\t', '|');
  EXPECT_EQ('\n' + table, R"(
file|line|function|objects|objects_change|bytes|bytes_change|made|freed
b.cpp|1|f|3|2|70|20|3|1
a.cpp|20|f|2|1|103|3|1|0
|0||1|0|2|0|0|0
a.cpp|3|f|0|0|0|0|1|1
c.cpp|1|f|0|-1|0|-40|0|1
total|||6|2|175|-17|5|3
unknown||||||||0
)");
  for (const unsigned int place : {7U, 1U, 4U, 2U, 5U, 3U}) Release(place);
  EXPECT_EQ(Report(), "total: 0 objects, 0 bytes\n");
}

// Where malloc gives no memory, where two objects share a slot, and where one
// is that was released behind the monitor's back.
TEST(StandInTest, TakesObjectsAnywhere) {
  constexpr std::size_t kHigh = ~(~std::size_t{0} / 2);
  constexpr std::size_t kPlaces[] = {0, 1, 8, 16, 24, 48, 56, kHigh, kHigh + 8};
  for (unsigned int round = 0; round < 9; ++round) {
    for (const std::size_t place : kPlaces) {
      for (const unsigned int size : {3U, 4U}) Record(place, "a.cpp", 1, size);
    }
    EXPECT_EQ(ObjectMonitor::LiveBytes(), 9u * 4);
    for (unsigned int left = 9; left-- > 0;) {
      void* const object = At(kPlaces[(round + 2 * left) % 9]);
      EXPECT_EQ(ObjectMonitor::_DecLeakInfo(object).size, 4u);
      EXPECT_EQ(ObjectMonitor::LiveCount(), left);
    }
  }
}

// In a process of its own: what is counted is never taken back.
TEST(StandInDeathTest, CountsWhatItCannotList) {
  const auto run = [] {
    ObjectMonitor::_DecLeak(&std::cerr);
    for (int line = 0; line < 1 << 16; ++line) {  // more tags than numbers
      Record(0, "a.cpp", line, 1);
      Release(0);
    }
    ObjectMonitor::Mark("mark");
    Record(1, "b.cpp", 1, 40);
    Record(2, "a.cpp", 3, 3);  // of another size
    Record(3, "b.cpp", 2, 5);
    Release(2);
    ObjectMonitor::_IncLeak(nullptr, "a.cpp", 1, "f", 2);
    ObjectMonitor::_DecLeakEx(&std::cerr, "a.cpp", 1, "f");
    const LeakInfo none = ObjectMonitor::_DecLeakInfo(&std::cerr);
    ObjectMonitor::Report(std::cerr);
    ObjectMonitor::Report(std::cerr, "mark");
    std::exit(none.address == nullptr ? 0 : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0),
              "^more tags:0 : 2 objects, 45 bytes\n"
              "total: 2 objects, 45 bytes\nreleases of unknown objects: 3\n"
              "since mark:\n.*\n"
              " +2 +\\+2 +45 +\\+45 +3 +1  more tags:0 \n.*\n"
              "releases of unknown objects: 2\n");
}

TEST(StandInDeathTest, FindsDamagedBlocksAndCountsTheirBytes) {
  const struct {
    std::string name;
    unsigned char* (*allocate)(unsigned int bytes);
    void (*release)(unsigned char* block, unsigned int bytes);
  } kMonitors[] = {
      {"ObjectMonitor", ObjectMonitor::_Alloc, ObjectMonitor::_Dealloc},
      {"MemoryMonitor", MemoryMonitor::Alloc, MemoryMonitor::Dealloc}};
  for (const auto& [name, allocate, release] : kMonitors) {
    EXPECT_TRUE(sizeof(void*) > 4 || allocate(~0U) == nullptr);
    release(nullptr, 24);
    unsigned char* const block = allocate(24);
    EXPECT_DEATH((std::memcpy(block + 20, block + 24, 4), release(block, 20)),
                 name + "::_?Dealloc: .*does not have 20 bytes");
    EXPECT_DEATH((block[24] ^= 1, release(block, 24)),
                 name + "::_?Dealloc: .*written past its end");
    MemoryMonitor::ResetPeak();
    EXPECT_EQ(MemoryMonitor::PeakBytes(), MemoryMonitor::LiveBytes());
    release(block, 24);
  }
  EXPECT_EQ(MemoryMonitor::LiveBytes(), 0u);
  EXPECT_EQ(MemoryMonitor::PeakBytes(), 24u);
}

}  // namespace

#if !VORN_SANITIZED  // a sanitizer has a heap of its own
static bool exhausted = false;

extern "C" void* __libc_malloc(std::size_t size);
extern "C" void* __libc_calloc(std::size_t count, std::size_t size);

extern "C" void* malloc(std::size_t size) {
  return exhausted ? nullptr : __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) {
  return exhausted ? nullptr : __libc_calloc(count, size);
}

namespace {

TEST(StandInTest, SaysSoWithoutMemory) {
  static std::ostream none(nullptr);
  void (*const kWorks[])() = {
      [] { Record(1, "new.cpp", 1, 2); },
      [] { Record(1, "a.cpp", 1, 2); },        // off malloc's alignment
      [] { Record(1 << 29, "a.cpp", 1, 2); },  // far from the others
      [] { ObjectMonitor::Report(none); }};
  Record(0, "a.cpp", 1, 2);
  exhausted = true;
  unsigned int failed = (ObjectMonitor::_Alloc(9) == nullptr) +
                        (MemoryMonitor::Alloc(9) == nullptr);
  for (const auto work : kWorks) {
    failed += EndOf([&] { return work(), true; }) == End::Exhausted;
  }
  exhausted = false;
  EXPECT_EQ(failed, 6u);
  EXPECT_EQ(Report(),
            "a.cpp:1 f: 1 objects, 2 bytes\ntotal: 1 objects, 2 bytes\n");
  Release(0);
}

}  // namespace
#endif

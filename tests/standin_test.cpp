// The stand-in monitors: the list of live objects, the report, and the checks
// of the memory that they supply.

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/tracked.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>

namespace {

using namespace vorn::foundation::debug;

std::string Report() {
  std::ostringstream out;
  ObjectMonitor::Report(out);
  return out.str();
}

template <std::size_t N>
using Object = std::array<char, N>;

TEST(StandInTest, ListsLiveObjectsByTag) {
  const std::string file = "a.cpp";  // the texts of a tag count
  for (const bool trace : {false, true}) {
    ObjectMonitor::SetTrace(trace);
    auto* first = Create<Object<3>>(Tag{"b.cpp", 1, "f"});
    auto* second = Create<Object<3>>(Tag{"a.cpp", 20, "f"});
    auto* third = Create<Object<100>>(Tag{file.c_str(), 20, "f"});
    auto* fourth = Create<Object<1>>(Tag{"a.cpp", 3, "g"});
    auto* fifth = Create<Object<5>>(Tag{"a.cpp", 3, "g"});
    auto* sixth = Create<Object<5>>(Tag{"a.cpp", 3, "f"});
    EXPECT_EQ(Report(), R"(a.cpp:3 f: 1 objects, 5 bytes
a.cpp:3 g: 2 objects, 6 bytes
a.cpp:20 f: 2 objects, 103 bytes
b.cpp:1 f: 1 objects, 3 bytes
total: 6 objects, 117 bytes
)");
    EXPECT_EQ(ObjectMonitor::LiveCount(), 6u);
    EXPECT_EQ(ObjectMonitor::LiveBytes(), 117u);
    Destroy(first);
    Destroy(second, Tag{"c.cpp", 1, "f"});
    Destroy(third);
    Destroy(fourth);
    Destroy(fifth);
    Destroy(sixth);
    EXPECT_EQ(Report(), "total: 0 objects, 0 bytes\n");
  }
  ObjectMonitor::SetTrace(false);
}

TEST(StandInTest, TakesAnAddressThatIsUsedAgain) {
  int object = 0;
  ObjectMonitor::_IncLeak(&object, "a.cpp", 1, "f", 10);
  ObjectMonitor::_IncLeak(&object, "b.cpp", 2, "g", 30);
  EXPECT_EQ(Report(), R"(b.cpp:2 g: 1 objects, 30 bytes
total: 1 objects, 30 bytes
)");
  EXPECT_EQ(ObjectMonitor::_DecLeakInfo(&object).size, 30u);
}

// In a process of its own: the count is never taken back.
TEST(StandInDeathTest, CountsReleasesOfUnknownObjects) {
  const auto release = [] {
    ObjectMonitor::_DecLeak(&std::cerr);
    static char objects[100];
    for (char& it : objects) ObjectMonitor::_IncLeak(&it, "a.cpp", 1, "f", 2);
    ObjectMonitor::_IncLeak(nullptr, "a.cpp", 1, "f", 2);
    ObjectMonitor::_DecLeakEx(&std::cerr, "a.cpp", 1, "f");
    const LeakInfo none[] = {
        ObjectMonitor::_DecLeakInfo(&std::cerr),
        ObjectMonitor::_DecLeakInfoEx(&std::cerr, "a.cpp", 1, "f")};
    ObjectMonitor::Report(std::cerr);
    std::exit(none[0].address == nullptr && none[1].address == nullptr ? 0 : 1);
  };
  EXPECT_EXIT(
      release(), testing::ExitedWithCode(0),
      "total: 100 objects, 200 bytes\nreleases of unknown objects: 4\n");
}

template <class Allocate, class Release>
void ExpectChecked(const std::string& name, Allocate allocate,
                   Release release) {
  EXPECT_TRUE(sizeof(void*) > 4 || allocate(~0U) == nullptr);
  release(nullptr, 24);
  unsigned char* block = allocate(24);
  EXPECT_DEATH((std::memcpy(block + 20, block + 24, 4), release(block, 20)),
               name + ": .*does not have 20 bytes");
  EXPECT_DEATH((block[24] ^= 1, release(block, 24)),
               name + ": .*written past its end");
  release(block, 24);
}

TEST(StandInDeathTest, FindsDamagedAndMismeasuredBlocks) {
  ExpectChecked("ObjectMonitor::_Dealloc", ObjectMonitor::_Alloc,
                ObjectMonitor::_Dealloc);
  ExpectChecked("MemoryMonitor::Dealloc", MemoryMonitor::Alloc,
                MemoryMonitor::Dealloc);
  EXPECT_EQ(MemoryMonitor::LiveBytes(), 0u);
}

}  // namespace

// The stand-in monitors: the list of live objects, the report, and the checks
// of the memory that they supply.

#include "support/build.h"

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/tracked.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <utility>

namespace {

using namespace vorn::foundation::debug;

std::string Report() {
  std::ostringstream out;
  out << std::hex;  // which says nothing of a report
  ObjectMonitor::Report(out);
  return out.str();
}

template <std::size_t N>
using Object = std::array<char, N>;

TEST(StandInTest, ListsLiveObjectsByTag) {
  static const std::string file = "a.cpp";  // the texts of a tag count
  for (const bool trace : {false, true}) {
    ObjectMonitor::SetTrace(trace);
    auto* first = Create<Object<3>>(Tag{"b.cpp", 1, "f"});
    auto* second = Create<Object<3>>(Tag{"a.cpp", 20, "f"});
    auto* third = Create<Object<100>>(Tag{file.c_str(), 20, "f"});
    auto* fourth = Create<Object<1>>(Tag{"a.cpp", 3, "g"});
    auto* fifth = Create<Object<5>>(Tag{"a.cpp", 3, "g"});
    auto* sixth = Create<Object<5>>(Tag{"a.cpp", 3, "f"});
    auto* seventh = Create<Object<2>>(Tag{});
    EXPECT_EQ(Report(), R"(:0 : 1 objects, 2 bytes
a.cpp:3 f: 1 objects, 5 bytes
a.cpp:3 g: 2 objects, 6 bytes
a.cpp:20 f: 2 objects, 103 bytes
b.cpp:1 f: 1 objects, 3 bytes
total: 7 objects, 119 bytes
)");
    EXPECT_EQ(ObjectMonitor::LiveCount(), 7u);
    EXPECT_EQ(ObjectMonitor::LiveBytes(), 119u);
    Destroy(first);
    Destroy(second, Tag{"c.cpp", 1, "f"});
    Destroy(third);
    Destroy(fourth);
    Destroy(fifth);
    Destroy(sixth);
    Destroy(seventh);
    EXPECT_EQ(Report(), "total: 0 objects, 0 bytes\n");
  }
  ObjectMonitor::SetTrace(false);
}

// Each figure in each form, and the marks that stand for nothing yet or anew.
TEST(StandInTest, ReportsTheChangeSinceAMark) {
  const auto report = [](const char* mark, ReportLayout layout) {
    std::ostringstream out;
    out << std::hex;
    EXPECT_TRUE(ObjectMonitor::Report(out, mark, layout));
    return out.str();
  };
  char objects[400];
  const auto make = [&](int i, const char* file, int line, unsigned int size) {
    ObjectMonitor::_IncLeak(objects + i, file, line, "f", size);
  };
  make(0, "c.cpp", 1, 40);
  make(1, "b.cpp", 1, 50);
  ObjectMonitor::Mark(std::string("mark").c_str());
  std::ostringstream none;
  EXPECT_FALSE(ObjectMonitor::Report(none, "marks"));
  EXPECT_EQ(none.str(), "");

  for (int i = 2; i < 5; ++i) make(i, "b.cpp", 1, 10);
  make(5, "b.cpp", 12, 30);
  make(6, "a.cpp", 1, 7);
  for (const int freed : {0, 4, 6}) ObjectMonitor::_DecLeak(objects + freed);
  EXPECT_EQ(report("mark", ReportLayout::Text),
            "since mark:\n"
            "  objects    change       bytes      change        made       "
            "freed  created at\n"
            "        1        +1          30         +30           1          "
            " 0  b.cpp:12 f\n"
            "        3        +2          70         +20           3          "
            " 1  b.cpp:1 f\n"
            "        0        +0           0          +0           1          "
            " 1  a.cpp:1 f\n"
            "        0        -1           0         -40           0          "
            " 1  c.cpp:1 f\n"
            "        4        +2         100         +10           5          "
            " 3  total\n");
  ObjectMonitor::Mark("mark");
  for (int i = 6; i < 400; ++i) make(i, "a.cpp", i, 1);  // many new tags
  for (int i = 7; i < 400; ++i) ObjectMonitor::_DecLeak(objects + i);
  const auto expect_tabs = [&](const char* mark, const std::string& lines) {
    const std::string tabs = report(mark, ReportLayout::Tabs);
    EXPECT_NE(tabs.find(lines), std::string::npos) << tabs;
  };
  expect_tabs("mark",
              "file\tline\tfunction\tobjects\tobjects_change\tbytes\t"
              "bytes_change\tmade\tfreed\n"
              "a.cpp\t6\tf\t1\t1\t1\t1\t1\t0\n");
  expect_tabs(
      "mark",
      "\ntotal\t\t\t5\t1\t101\t1\t394\t393\nunknown\t\t\t\t\t\t\t\t0\n");
  expect_tabs(nullptr, "\ntotal\t\t\t5\t5\t101\t101\t");
  for (const int left : {1, 2, 3, 5, 6})
    ObjectMonitor::_DecLeak(objects + left);
}

TEST(StandInTest, KnowsTheMostBytesAtATime) {
  unsigned char* first = MemoryMonitor::Alloc(30);
  MemoryMonitor::Dealloc(MemoryMonitor::Alloc(70), 70);
  EXPECT_EQ(MemoryMonitor::PeakBytes(), 100u);
  MemoryMonitor::ResetPeak();
  EXPECT_EQ(MemoryMonitor::PeakBytes(), 30u);
  MemoryMonitor::Dealloc(first, 30);
}

// The list takes an eighth of the memory that objects lie in, and little for a
// few.
TEST(StandInTest, TheListIsSmall) {
  if (support::kSanitized) GTEST_SKIP() << "a sanitizer has a heap of its own";
  const auto object = [](std::size_t number) {
    return reinterpret_cast<void*>((std::uintptr_t{1} << 30) + number * 48);
  };
  const auto used = [] {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
  };
  const std::size_t before = used();
  for (std::size_t i = 1; i <= 500000; ++i) {
    ObjectMonitor::_IncLeak(object(i), "a.cpp", 1, "f", 48);
    if (i % 100 != 0) continue;
    ASSERT_LE(used() - before, std::max(i * 48 / 8, std::size_t{96} << 10));
  }
  for (std::size_t i = 1; i <= 500000; ++i) ObjectMonitor::_DecLeak(object(i));
  EXPECT_EQ(ObjectMonitor::LiveCount(), 0u);
}

// Where malloc gives no memory, where two objects share a slot, and where one
// is that was released behind the monitor's back.
TEST(StandInTest, TakesObjectsAnywhere) {
  alignas(64) static char memory[64];
  const std::uintptr_t top = ~std::uintptr_t{0};
  void* const objects[] = {
      memory,
      memory + 1,
      memory + 8,
      memory + 16,
      memory + 24,
      memory + 48,
      memory + 56,
      reinterpret_cast<void*>(top - 15),
      reinterpret_cast<void*>(top >> 7 & ~std::uintptr_t{7})};
  for (unsigned int round = 0; round < 9; ++round) {
    for (void* it : objects) ObjectMonitor::_IncLeak(it, "a.cpp", 1, "f", 3);
    for (void* it : objects) ObjectMonitor::_IncLeak(it, "b.cpp", 1, "f", 4);
    EXPECT_EQ(ObjectMonitor::LiveBytes(), 9u * 4);
    for (unsigned int i = 0; i < 9; ++i) {
      void* const object = objects[(round + 2 * i) % 9];
      EXPECT_EQ(ObjectMonitor::_DecLeakInfo(object).size, 4u);
      EXPECT_EQ(ObjectMonitor::LiveCount(), 8 - i);
    }
  }
}

// In a process of its own: the count is never taken back.
TEST(StandInDeathTest, CountsReleasesOfUnknownObjects) {
  const auto release = [] {
    ObjectMonitor::_DecLeak(&std::cerr);
    ObjectMonitor::Mark("mark");
    static char objects[100];
    for (char& it : objects) ObjectMonitor::_IncLeak(&it, "a.cpp", 1, "f", 2);
    ObjectMonitor::_IncLeak(nullptr, "a.cpp", 1, "f", 2);
    ObjectMonitor::_DecLeakEx(&std::cerr, "a.cpp", 1, "f");
    const LeakInfo none[] = {
        ObjectMonitor::_DecLeakInfo(&std::cerr),
        ObjectMonitor::_DecLeakInfoEx(&std::cerr, "a.cpp", 1, "f")};
    ObjectMonitor::Report(std::cerr);
    ObjectMonitor::Report(std::cerr, "mark");
    std::exit(none[0].address == nullptr && none[1].address == nullptr ? 0 : 1);
  };
  EXPECT_EXIT(release(), testing::ExitedWithCode(0),
              "total: 100 objects, 200 bytes\nreleases of unknown objects: 4\n"
              "since mark:\n.*\nreleases of unknown objects: 3\n");
}

TEST(StandInTest, KeepsTheTagsOfALibraryThatIsGone) {
  void* const library = dlopen(STANDIN_LIBRARY, RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  static char object;
  reinterpret_cast<void (*)(void*)>(dlsym(library, "Record"))(&object);
  ASSERT_EQ(dlclose(library), 0);
  EXPECT_EQ(dlopen(STANDIN_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_EQ(Report(), R"(standin_library.cpp:7 Record: 1 objects, 3 bytes
total: 1 objects, 3 bytes
)");
  ObjectMonitor::_DecLeak(&object);
}

// In a process of its own, which uses up all numbers of tags.
TEST(StandInDeathTest, CountsMoreTagsThanItCanNumber) {
  const auto run = [] {
    static const auto more = [] {
      std::ostringstream out;
      ObjectMonitor::Report(out, nullptr, ReportLayout::Tabs);
      const std::size_t start = out.str().find("more tags");
      return out.str().substr(start, out.str().find('\n', start) - start);
    };
    ObjectMonitor::SetTrace(true);
    for (int i = 0; i < 1 << 16; ++i) Destroy(Create<char>(Tag{"a", i, "f"}));
    const std::string before = more();
    auto* first = Create<Object<40>>(Tag{"b.cpp", 1, "f"});
    auto* second = Create<Object<3>>(Tag{"b.cpp", 2, "g"});
    auto* third = Create<Object<5>>(Tag{"a", 3, "f"});
    Destroy(Create<Object<7>>(Tag{"a", 3, "f"}));
    const std::size_t bytes = ObjectMonitor::LiveBytes();
    std::cerr << before << '|' << more() << '|' << bytes << '|';
    Destroy(first);
    Destroy(third);
    std::cerr << more() << '\n';
    Destroy(second);
    std::exit(ObjectMonitor::LiveCount() == 0 ? 0 : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0),
              "more tags\t0\t\t0\t0\t0\t0\t[0-9]+\t[0-9]+\\|"
              "more tags\t0\t\t3\t3\t48\t48\t.*\\|48\\|"
              "more tags\t0\t\t1\t1\t3\t3\t.*\n");
}

// In a process of its own, which takes all memory.
TEST(StandInDeathTest, SaysSoWithoutMemory) {
  if (support::kSanitized) GTEST_SKIP() << "a sanitizer would end the process";
  const auto run = [] {
    static char objects[100000];
    const auto is_told = [](auto work) {
      try {
        for (unsigned int i = 0; i < 100000; ++i) work(i);
      } catch (const std::bad_alloc&) {
        return true;
      }
      return false;
    };
    const auto add_tag = [](unsigned int line) {
      ObjectMonitor::_IncLeak(objects, "a.cpp", static_cast<int>(line), "f", 2);
    };
    static std::size_t recorded = 0;
    static const auto record = [](void* object) {
      ObjectMonitor::_IncLeak(object, "a.cpp", 0, "f", 2);
      ++recorded;
    };
    add_tag(0);
    const rlimit limit{1 << 30, 1 << 30};
    setrlimit(RLIMIT_AS, &limit);
    struct Block {
      Block* next;
    }* blocks = nullptr;
    for (const std::size_t size : {1U << 20, 1U << 10, 1U << 4}) {
      while (void* block = std::malloc(size)) {
        blocks = new (block) Block{blocks};
      }
    }
    std::ostream none(nullptr);
    bool told = ObjectMonitor::_Alloc(1 << 16) == nullptr &&
                MemoryMonitor::Alloc(1 << 16) == nullptr && is_told(add_tag) &&
                is_told([](unsigned int i) { record(objects + i); }) &&
                is_told([](std::uintptr_t i) {
                  record(reinterpret_cast<void*>((i + 1) << 16));
                }) &&
                is_told([&](unsigned int) { ObjectMonitor::Report(none); });
    while (blocks != nullptr) std::free(std::exchange(blocks, blocks->next));
    add_tag(1);
    told = told && ObjectMonitor::LiveCount() == recorded;
    std::exit(told ? 0 : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
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

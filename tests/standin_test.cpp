// The stand-in monitors: the list of live objects, the report, and the checks
// of the memory that they supply.

#include <foundation/debug/memorymonitor.h>
#include <foundation/debug/objectmonitor.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <sys/resource.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <new>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace vorn::foundation::debug;

// With flags set that say nothing of a report.
template <class... Since>
std::string Report(Since... since) {
  std::ostringstream out;
  out << std::hex;
  ObjectMonitor::Report(out, since...);
  return out.str();
}

char objects[100000];

// Records an object of the function "f".
void Record(unsigned int object, const char* file, int line,
            unsigned int size) {
  ObjectMonitor::_IncLeak(objects + object, file, line, "f", size);
}

void Release(unsigned int object) { ObjectMonitor::_DecLeak(objects + object); }

TEST(StandInTest, ListsLiveObjectsByTag) {
  static const std::string file = "a.cpp";  // the texts of a tag count
  Record(0, "b.cpp", 1, 3);
  Record(1, "a.cpp", 20, 3);
  Record(2, file.c_str(), 20, 100);
  Record(3, "a.cpp", 3, 5);
  for (const unsigned int size : {1U, 5U}) {
    ObjectMonitor::_IncLeak(objects + 3 + size, "a.cpp", 3, "g", size);
  }
  ObjectMonitor::_IncLeak(objects + 5, nullptr, 0, nullptr, 2);
  EXPECT_EQ(Report(), R"(:0 : 1 objects, 2 bytes
a.cpp:3 f: 1 objects, 5 bytes
a.cpp:3 g: 2 objects, 6 bytes
a.cpp:20 f: 2 objects, 103 bytes
b.cpp:1 f: 1 objects, 3 bytes
total: 7 objects, 119 bytes
)");
  EXPECT_EQ(ObjectMonitor::LiveCount(), 7u);
  EXPECT_EQ(ObjectMonitor::LiveBytes(), 119u);
  for (const unsigned int n : {8U, 0U, 1U, 5U, 2U, 4U, 3U}) Release(n);
  EXPECT_EQ(Report(), "total: 0 objects, 0 bytes\n");
}

// And the marks that stand for nothing yet or anew.
TEST(StandInTest, ReportsTheChangeSinceAMark) {
  Record(0, "c.cpp", 1, 40);
  Record(1, "b.cpp", 1, 50);
  ObjectMonitor::Mark(std::string("mark").c_str());
  std::ostringstream none;
  EXPECT_FALSE(ObjectMonitor::Report(none, "marks"));
  EXPECT_EQ(none.str(), "");

  for (unsigned int i = 2; i < 5; ++i) Record(i, "b.cpp", 1, 10);
  Record(5, "b.cpp", 12, 30);
  Record(6, "a.cpp", 1, 7);
  for (const unsigned int freed : {0U, 4U, 6U}) Release(freed);
  EXPECT_EQ(Report("mark", ReportLayout::Text), R"(since mark:
  objects    change       bytes      change        made       freed  created at
        1        +1          30         +30           1           0  b.cpp:12 f
        3        +2          70         +20           3           1  b.cpp:1 f
        0        +0           0          +0           1           1  a.cpp:1 f
        0        -1           0         -40           0           1  c.cpp:1 f
        4        +2         100         +10           5           3  total
)");
  ObjectMonitor::Mark("mark");
  for (unsigned int i = 6; i < 400; ++i) {  // many new tags
    Record(i, "a.cpp", static_cast<int>(i), 1);
  }
  for (unsigned int i = 7; i < 400; ++i) Release(i);
  const auto expect = [](const std::string& report, const char* lines) {
    EXPECT_NE(report.find(lines), std::string::npos) << report;
  };
  expect(Report("mark", ReportLayout::Tabs),
         "file\tline\tfunction\tobjects\tobjects_change\tbytes\t"
         "bytes_change\tmade\tfreed\na.cpp\t6\tf\t1\t1\t1\t1\t1\t0\n");
  expect(Report("mark", ReportLayout::Tabs),
         "\ntotal\t\t\t5\t1\t101\t1\t394\t393\nunknown\t\t\t\t\t\t\t\t0\n");
  expect(Report(nullptr, ReportLayout::Tabs), "\ntotal\t\t\t5\t5\t101\t101\t");
  for (const unsigned int left : {1U, 2U, 3U, 5U, 6U}) Release(left);
}

TEST(StandInTest, KnowsTheMostBytesAtATime) {
  unsigned char* first = MemoryMonitor::Alloc(30);
  MemoryMonitor::Dealloc(MemoryMonitor::Alloc(70), 70);
  EXPECT_EQ(MemoryMonitor::PeakBytes(), 100u);
  MemoryMonitor::ResetPeak();
  EXPECT_EQ(MemoryMonitor::PeakBytes(), 30u);
  MemoryMonitor::Dealloc(first, 30);
}

// The list takes an eighth of the memory that objects lie in and the rest of a
// leaf, and little for a few objects.
TEST(StandInTest, TheListIsSmall) {
  if (VORN_SANITIZED) GTEST_SKIP() << "a sanitizer has a heap of its own";
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
    ASSERT_LE(used() - before,
              std::max(i * 48 / 8 + 8200, std::size_t{96} << 10));
  }
  for (std::size_t i = 1; i <= 500000; ++i) ObjectMonitor::_DecLeak(object(i));
  EXPECT_EQ(ObjectMonitor::LiveCount(), 0u);
}

// Where malloc gives no memory, where two objects share a slot, and where one
// is that was released behind the monitor's back.
TEST(StandInTest, TakesObjectsAnywhere) {
  alignas(64) static char memory[64];
  const std::uintptr_t top = ~std::uintptr_t{0};
  std::vector<void*> anywhere = {
      reinterpret_cast<void*>(top - 15),
      reinterpret_cast<void*>(top >> 7 & ~std::uintptr_t{7})};
  for (const int at : {0, 1, 8, 16, 24, 48, 56}) {
    anywhere.push_back(memory + at);
  }
  for (unsigned int round = 0; round < 9; ++round) {
    for (const unsigned int size : {3U, 4U}) {
      for (void* it : anywhere) {
        ObjectMonitor::_IncLeak(it, "a.cpp", 1, "f", size);
      }
    }
    EXPECT_EQ(ObjectMonitor::LiveBytes(), 9u * 4);
    for (unsigned int i = 0; i < 9; ++i) {
      void* const object = anywhere[(round + 2 * i) % 9];
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
    for (unsigned int i = 0; i < 100; ++i) Record(i, "a.cpp", 1, 2);
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
  reinterpret_cast<void (*)(void*)>(dlsym(library, "Record"))(objects);
  ASSERT_EQ(dlclose(library), 0);
  EXPECT_EQ(dlopen(STANDIN_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr);
  EXPECT_EQ(Report(), R"(standin_library.cpp:7 Record: 1 objects, 3 bytes
total: 1 objects, 3 bytes
)");
  Release(0);
}

// In a process of its own, which uses up all numbers of tags.
TEST(StandInDeathTest, CountsMoreTagsThanItCanNumber) {
  const auto run = [] {
    static const auto print_more = [] {
      const std::string report = Report(nullptr, ReportLayout::Tabs);
      const std::size_t start = report.find("more tags");
      std::cerr << report.substr(start, report.find('\n', start) - start + 1);
    };
    for (int i = 0; i < 1 << 16; ++i) {
      Record(0, "a", i, 1);
      Release(0);
    }
    print_more();
    Record(1, "b.cpp", 1, 40);
    Record(2, "b.cpp", 2, 3);
    Record(3, "a", 3, 5);
    Record(4, "a", 3, 7);
    Release(4);
    print_more();
    for (const unsigned int object : {1U, 3U}) Release(object);
    print_more();
    Release(2);
    std::exit(ObjectMonitor::LiveCount() == 0 ? 0 : 1);
  };
  EXPECT_EXIT(run(), testing::ExitedWithCode(0),
              "more tags\t0\t\t0\t0\t0\t0\t.*\n"
              "more tags\t0\t\t3\t3\t48\t48\t.*\n"
              "more tags\t0\t\t1\t1\t3\t3\t.*\n");
}

// In a process of its own, which takes all memory.
TEST(StandInDeathTest, SaysSoWithoutMemory) {
  if (VORN_SANITIZED) GTEST_SKIP() << "a sanitizer would end the process";
  const auto run = [] {
    static unsigned int recorded = 0;
    // Does the work until memory ends.
    const auto fails = [](auto work) {
      try {
        for (unsigned int i = 1; i < 100000; ++i) work(i);
      } catch (const std::bad_alloc&) {
        return true;
      }
      return false;
    };
    Record(0, "a.cpp", 0, 2);
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
    const bool failed =
        ObjectMonitor::_Alloc(1 << 16) == nullptr &&
        MemoryMonitor::Alloc(1 << 16) == nullptr &&
        fails([](unsigned int line) { Record(0, "a.cpp", int(line), 2); }) &&
        fails([](unsigned int i) {
          Record(i, "a.cpp", 0, 2);
          ++recorded;
        }) &&
        fails([](std::uintptr_t i) {
          void* const object = reinterpret_cast<void*>((i + 1) << 16);
          ObjectMonitor::_IncLeak(object, "a.cpp", 0, "f", 2);
          ++recorded;
        }) &&
        fails([&](unsigned int) { ObjectMonitor::Report(none); });
    while (blocks != nullptr) std::free(std::exchange(blocks, blocks->next));
    Record(0, "a.cpp", 1, 2);
    std::exit(failed && ObjectMonitor::LiveCount() == recorded + 1 ? 0 : 1);
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

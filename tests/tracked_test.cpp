// Tracked creation and deletion, dispose() and the scoped pointer: what the
// monitors are told, and in which order.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>

#include <iterator>
#include <new>
#include <string>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using generic::ScopedPointer;

using Log = std::vector<std::string>;

class TrackedTest : public TracedLeakTest {};
INSTANTIATE_TEST_SUITE_P(Tracing, TrackedTest, testing::Bool());

// Objects that note their destruction.
struct Disposable : lang::IDisposable {
  ~Disposable() override { Monitor::Note("destructor"); }
};
struct Plain {
  ~Plain() { Monitor::Note("destructor"); }
};
struct Other {
  virtual ~Other() = default;
};
struct Second : Other, Disposable {};  // does not begin with its Disposable
struct Throwing {
  Throwing() { throw 1; }
};

TEST_P(TrackedTest, TellsTheMonitorBeforeTheDestructorRuns) {
  const std::string dispose =
      "Ex ../../../include/foundation/json/../lang/disposable:22 dispose #1";
  // With what follows "_DecLeak" or "_DecLeakInfo".
  const std::pair<void (*)(), std::string> kRows[] = {
      {[] { Make<Disposable>()->dispose(); }, dispose},
      {[] { Make<Second>()->dispose(); }, dispose},
      {[] { debug::Destroy<Disposable>(Make<Second>()); }, " #1"},
      {[] { debug::Destroy(Make<Plain>(), kTestTag); }, "Ex test:1 test #1"},
      {[] { debug::Destroy(Make<Plain>()); }, " #1"},
      {[] { ScopedPointer<Plain>(Make<Plain>()); }, " #1"},
      {[] { ScopedPointer<Disposable>(Make<Disposable>()); }, dispose},
      {[] { ScopedPointer<Disposable>(Make<Disposable>()).reset(); }, dispose}};
  for (const auto& [operate, release] : kRows) {
    operate();
    const Log traced = {"_Alloc", "_IncLeak test:1 test #1",
                        "_DecLeakInfo" + release, "destructor", "_Dealloc"};
    const Log untraced = {"_IncLeak test:1 test #1", "_DecLeak" + release,
                          "destructor"};
    EXPECT_EQ(Monitor::TakeLog(), GetParam() ? traced : untraced);
  }
  EXPECT_EQ(Monitor::TraceQuestions(), 2 * std::size(kRows));
}

TEST_P(TrackedTest, RecordsNothingThatWasNotConstructed) {
  EXPECT_THROW(Make<Throwing>(), int);
  EXPECT_EQ(Monitor::TakeLog(),
            GetParam() ? Log({"_Alloc", "_Dealloc"}) : Log());
  Monitor::FailRequest(Source::ObjectMonitor, 0, false);
  Monitor::FailRequest(Source::OperatorNew, 0, false);
  if (GetParam()) {
    EXPECT_EQ(Make<Throwing>(), nullptr);
  } else {
    EXPECT_THROW(Make<Throwing>(), std::bad_alloc);
  }
  Monitor::StopFailing();
  const Log traced = {"_Alloc null", "_IncLeak test:1 test null"};
  EXPECT_EQ(Monitor::TakeLog(), GetParam() ? traced : Log());
}

TEST_P(TrackedTest, AllocatorsAskForNoMoreThanTheMonitorCounts) {
  debug::Allocator<int> allocator;
  EXPECT_THROW(allocator.allocate(1U << 30), std::bad_alloc);
  Monitor::FailRequest(Source::MemoryMonitor, 0, false);
  EXPECT_EQ(allocator.allocate(0), nullptr);
  EXPECT_TRUE(allocator == debug::Allocator<char>());
  EXPECT_FALSE(allocator != debug::Allocator<char>());
}

TEST_P(TrackedTest, ReleasesOfNullCallNothing) {
  debug::Destroy<Plain>(nullptr);
  debug::Destroy<Disposable>(nullptr, kTestTag);
  ScopedPointer<Plain>().reset();
  EXPECT_EQ(Monitor::TakeLog(), Log());
  EXPECT_EQ(Monitor::TraceQuestions(), 0u);
}

TEST_P(TrackedTest, AScopedPointerOwnsUntilItReleases) {
  ScopedPointer<Disposable> pointer(Make<Disposable>());
  Disposable* const first = pointer.get();
  EXPECT_EQ(pointer.operator->(), first);
  EXPECT_EQ(pointer.release(), first);
  EXPECT_FALSE(pointer);
  Monitor::Name(first, "first");
  pointer.reset(first);
  pointer.reset(Make<Disposable>());
  EXPECT_EQ(TakeCalls(), "+test:1 test #1+test:1 test #2-firstdestructor");
}

TEST_P(TrackedTest, ExceptionsTakeNullForNoText) {
  EXPECT_STREQ(lang::Exception(nullptr, "what").where(), "");
  EXPECT_STREQ(lang::Exception("where", nullptr).what(), "");
}

}  // namespace

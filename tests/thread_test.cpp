// Several threads at a time, on the framework's own monitors: each on values of
// its own, all of them on one tree that nobody changes, objects that pass from
// one to the other, and children of fork() in the middle of it.

#include "support/keys.h"
#include "support/operations.h"

#include <foundation/debug/tracked.h>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace support;
using namespace vorn::foundation;
using namespace vorn::foundation::json;
using debug::MemoryMonitor;
using debug::ObjectMonitor;

constexpr int kThreads = 8;
constexpr int kRounds = 100;

// Its object has so many members that it keeps buckets, of which one has a
// chain that is indexed.
const Keys kColliding = KeysOfOneHash(20);
const SafeString kText = [] {
  SafeString text =
      R"({"list":[1,2.5,-inf,{"deep":[[],{}]}],"text":"a\tb \"c\"")";
  for (const SafeString& key : kColliding) {
    text += ",\"" + key + "\":true,\"not " + key + "\":null";
  }
  return text + "}";
}();

// On a tree of its own, or all but the reading on one that others use as well.
bool DoAll(const JBase* shared = nullptr,
           const Operation* end = std::end(kOperations)) {
  Subject it;
  it.text = kText;
  it.tree = shared;
  return std::all_of(kOperations + (shared != nullptr), end,
                     [&](const auto& operation) { return operation.run(it); });
}

bool Watch() {
  ObjectMonitor::Mark("watched");
  std::ostringstream out;
  return ObjectMonitor::Report(out, "watched");
}

// Each thread also watches the monitor.
template <class Work>
void RunTogether(Work work) {
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&work, i] {
      for (int round = 0; round < kRounds; ++round) {
        work(i);
        EXPECT_TRUE(Watch());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// Ends with nothing more alive than before, in both modes of the monitor.
class ThreadTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { ObjectMonitor::SetTrace(GetParam()); }
  void TearDown() override {
    EXPECT_EQ(ObjectMonitor::LiveCount(), 0u);
    EXPECT_EQ(MemoryMonitor::LiveBytes(), bytes_before_);
    ObjectMonitor::SetTrace(false);
  }

 private:
  const std::size_t bytes_before_ = MemoryMonitor::LiveBytes();
};
INSTANTIATE_TEST_SUITE_P(Tracing, ThreadTest, testing::Bool());

TEST_P(ThreadTest, EachOnItsOwnTreeAndAllOnOne) {
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(kText));
  const auto& shared = static_cast<const JObject&>(*reader.getJson());
  RunTogether([&](int) {
    EXPECT_TRUE(DoAll() && DoAll(&shared));
    for (const SafeString& key : kColliding) EXPECT_TRUE(shared.existed(key));
  });
}

// Each round has a new tag. Two threads' places share a granule of the list,
// and most have an address that malloc does not give.
TEST_P(ThreadTest, ObjectsPassFromThreadToThread) {
  ObjectMonitor::Mark("start");
  alignas(64) static char places[kThreads * 8];
  static std::atomic<JBase*> shelf[kThreads];
  RunTogether([](int number) {
    static std::atomic<int> line{0};
    const debug::Tag tag{"thread_test", ++line, "pass"};
    char* const place = places + 8 * number;
    ObjectMonitor::_IncLeak(place, tag.file, tag.line, tag.function, 8);
    for (std::atomic<JBase*>& it : shelf) {
      JBase* const old = it.exchange(debug::Create<JNumber>(tag, 1));
      if (old != nullptr) old->dispose();
    }
    ObjectMonitor::_DecLeak(place);
  });
  for (std::atomic<JBase*>& it : shelf) it.exchange(nullptr)->dispose();
  std::ostringstream out;
  ObjectMonitor::Report(out, "start", debug::ReportLayout::Tabs);
  const std::string count = std::to_string(kThreads * kRounds * (kThreads + 1));
  const std::string total = "total\t\t\t0\t0\t0\t0\t" + count + "\t" + count +
                            "\nunknown\t\t\t\t\t\t\t\t0\n";
  EXPECT_NE(out.str().find(total), std::string::npos) << out.str();
}

// The last operation throws, which may hang in a child on 32-bit ARM: there the
// C library keeps its lock on the unwinding tables over a fork.
bool UseAll(int line) {
  debug::Destroy(debug::Create<int>(debug::Tag{"thread_test", line, "use"}));
  return DoAll(nullptr, std::end(kOperations) - 1) && Watch();
}

TEST_P(ThreadTest, AChildOfForkCanDoAllThatItsParentCan) {
  if (VORN_SANITIZED) GTEST_SKIP() << "its heap hangs in the child";
  std::atomic<bool> is_over{false};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&, i] {
      for (int line = i; !is_over; line = (line + 4) % 10000) UseAll(line);
    });
  }
  int status = 0;
  for (int i = 0; i < 20 && status == 0; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      alarm(60);  // ends one that hangs
      _exit(UseAll(10000 + i) && UseAll(20000 + i) ? 0 : 1);
    }
    EXPECT_TRUE(waitpid(child, &status, 0) == child && status == 0) << i;
  }
  is_over = true;
  for (std::thread& thread : threads) thread.join();
}

}  // namespace

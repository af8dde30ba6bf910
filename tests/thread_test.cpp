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
const std::string kText = [] {
  std::string text = R"({"list":[1,2.5,-inf,{"deep":[[],{}]}],"t":"a\tb\"c\"")";
  for (const SafeString& key : kColliding) {
    text.append(",\"").append(key).append("\":true");
  }
  return text + "}";
}();

// On a tree of its own, or all but the reading on one that others use as well.
bool DoAll(const JBase* shared = nullptr,
           const Operation* end = std::end(kOperations)) {
  Subject it(kText);
  it.tree = shared;
  return std::all_of(kOperations + (shared != nullptr), end,
                     [&](const auto& operation) { return operation.run(it); });
}

bool Watch() {
  ObjectMonitor::Mark("mark");
  std::ostringstream out;
  return ObjectMonitor::Report(out, "mark");
}

// A child of fork() can do all that its parent can. The last operation throws,
// which may hang in a child on 32-bit ARM: there the C library keeps its lock
// on the unwinding tables over a fork.
bool Fork() {
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);  // ends one that hangs
    debug::Destroy(debug::Create<int>(debug::Tag{"thread_test", 0, "child"}));
    _exit(DoAll(nullptr, std::end(kOperations) - 1) && Watch() ? 0 : 1);
  }
  int status = 0;
  return waitpid(child, &status, 0) == child && status == 0;
}

using ThreadTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, ThreadTest, testing::Bool());

TEST_P(ThreadTest, TreesAndObjectsAreUsedAtOnce) {
  ObjectMonitor::SetTrace(GetParam());
  const std::size_t bytes = MemoryMonitor::LiveBytes();
  JsonReader reader;
  ASSERT_TRUE(reader.fromString(kText.c_str()));
  // Two share a granule of the list, and most have an address that malloc does
  // not give.
  alignas(64) static char places[kThreads * 8];
  std::atomic<JBase*> shelf[kThreads] = {};
  std::vector<std::thread> threads;
  for (char* place = places; place != std::end(places); place += 8) {
    threads.emplace_back([&, place] {
      const auto& shared = static_cast<const JObject&>(*reader.getJson());
      for (int round = 0; round < kRounds; ++round) {
        EXPECT_TRUE(DoAll() && DoAll(&shared) && Watch());
        EXPECT_TRUE(shared.existed(kColliding.back()));
        const debug::Tag tag{"thread_test", round, "pass"};  // new to all
        ObjectMonitor::_IncLeak(place, tag.file, tag.line, tag.function, 8);
        for (std::atomic<JBase*>& it : shelf) {
          JBase* const old = it.exchange(debug::Create<JNumber>(tag, 1));
          if (old != nullptr) old->dispose();
        }
        ObjectMonitor::_DecLeak(place);
        // Where there is a sanitizer, its heap hangs in a child.
        EXPECT_TRUE(VORN_SANITIZED || round % 25 != 0 || Fork());
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (std::atomic<JBase*>& it : shelf) it.load()->dispose();
  reader.transfer()->dispose();
  EXPECT_EQ(ObjectMonitor::LiveCount(), 0u);
  EXPECT_EQ(MemoryMonitor::LiveBytes(), bytes);
}

}  // namespace

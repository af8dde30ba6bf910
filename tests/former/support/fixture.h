#pragma once

#include "monitor.h"

#include <foundation/debug/tracked.h>
#include <foundation/text/safestring.h>

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace support {

// The tag under which the tests create their own objects.
inline constexpr vorn::foundation::debug::Tag kTestTag{"test", 1, "test"};

// Creates a value for a test, which owns the result.
template <class T, class... Arguments>
T* Make(Arguments&&... arguments) {
  return vorn::foundation::debug::Create<T>(
      kTestTag, std::forward<Arguments>(arguments)...);
}

// Takes the log as one text that is the same with tracing off and on: "+TAG #1"
// for a creation, "-#1" for a dispose(), any other release in full.
inline std::string TakeCalls() {
  const std::string creation = "_IncLeak ";
  const std::string disposal =
      std::string(Monitor::Traces() ? "_DecLeakInfoEx " : "_DecLeakEx ") +
      "../../../include/foundation/json/../lang/disposable:22 dispose ";
  std::string calls;
  for (std::string line : Monitor::TakeLog()) {
    if (line == "_Alloc" || line == "_Dealloc") continue;
    for (const std::string& call : {creation, disposal}) {
      if (line.rfind(call, 0) != 0) continue;
      line.replace(0, call.size(), call == creation ? "+" : "-");
    }
    calls += line;
  }
  return calls;
}

// Fails every test that ends with an object, a block or a byte more, or less,
// than it began with.
class LeakTest : public testing::Test {
 protected:
  void SetUp() override {
    Monitor::Reset(false);
    SCOPED_TRACE("");  // GoogleTest keeps memory for these from the first on
    before_ = Monitor::Now();
  }
  void TearDown() override {
    Monitor::StopFailing();
    const Account after = Monitor::Now();
    if (!HasFailure() && !IsSkipped()) {
      EXPECT_EQ(after, before_) << "something was left behind";
    }
    Monitor::Reset(false);
  }

 private:
  Account before_;
};

// The same for tests that run with tracing off and on.
class TracedLeakTest : public LeakTest,
                       public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    LeakTest::SetUp();
    Monitor::Reset(GetParam());
  }
};

// Runs attempt() with request 0, 1, 2, ... of the source failing, until one
// attempt sees no request fail, and returns how many did see one. After each
// attempt() the account must be what it was before, and check(failed) is called
// with all requests granted again; it says whether a request had failed.
// attempt() releases what it makes and lets no exception out.
template <class Attempt, class Check>
std::size_t Sweep(Source source, bool forever, Attempt attempt, Check check) {
  constexpr std::size_t kMost = 1000000;
  for (std::size_t number = 0; number < kMost; ++number) {
    SCOPED_TRACE(testing::Message()
                 << "request " << number << " of source "
                 << static_cast<int>(source)
                 << (forever ? " and all that follow fail" : " fails"));
    const Account before = Monitor::Now();
    Monitor::FailRequest(source, number, forever);
    attempt();
    const bool failed = Monitor::StopFailing() != 0;
    EXPECT_EQ(Monitor::Now(), before);
    check(failed);
    if (!failed || testing::Test::HasFailure()) return number;
  }
  ADD_FAILURE() << "the attempt never passes";
  return kMost;
}

}  // namespace support

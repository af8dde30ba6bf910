// Tracked creation and deletion, dispose() and the scoped pointer: what the
// monitors are told, and in which order.

#include "support/fixture.h"

#include <foundation/generic/scopedpointer.h>
#include <foundation/json/json.h>

namespace {

using namespace support;
using namespace vorn::foundation;
using generic::ScopedPointer;
using json::JObject;

using Log = std::vector<std::string>;

class TrackedTest : public TracedLeakTest {};
INSTANTIATE_TEST_SUITE_P(Tracing, TrackedTest, testing::Bool());

// An object that notes its destruction.
struct Noting : lang::IDisposable {
  ~Noting() override { Monitor::Note("destructor"); }
};

TEST_P(TrackedTest, DisposeTellsTheMonitorBeforeTheDestructorRuns) {
  Make<Noting>()->dispose();
  const std::string place =
      "../../../include/foundation/json/../lang/disposable:22 dispose #1";
  const Log traced = {"_Alloc", "_IncLeak test:1 test #1",
                      "_DecLeakInfoEx " + place, "destructor", "_Dealloc"};
  const Log untraced = {"_IncLeak test:1 test #1", "_DecLeakEx " + place,
                        "destructor"};
  EXPECT_EQ(Monitor::TakeLog(), GetParam() ? traced : untraced);
  EXPECT_EQ(Monitor::TraceQuestions(), 2u);
}

}  // namespace

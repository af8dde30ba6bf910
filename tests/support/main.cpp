// The main function of the tests on the recording monitors.

#include "monitor.h"

#include <gtest/gtest.h>

namespace support {

void Require(bool holds, const char* what) {
  if (holds) return;
  const Monitor::Exempt exemption;
  ADD_FAILURE() << "This does not hold: " << what;
}

namespace {

// Traces if the test's parameter is true. Fails every test that ends with an
// object, a block or a byte more, or less, than it began with.
class LeakCheck : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    const char* const parameter = test.value_param();
    Monitor::Reset(parameter != nullptr && parameter == std::string("true"));
    SCOPED_TRACE("");  // GoogleTest keeps memory for these from the first on
    before_ = Monitor::Now();
  }
  void OnTestEnd(const testing::TestInfo& test) override {
    Monitor::StopFailing();
    const Account after = Monitor::Now();
    const Monitor::Exempt exemption;
    if (test.result()->Passed()) {
      EXPECT_EQ(after, before_) << "something was left behind";
    }
    Monitor::TakeLog();
  }

  Account before_;
};

}  // namespace
}  // namespace support

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new support::LeakCheck);
  return RUN_ALL_TESTS();
}

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

// Traces if the test's parameter is true. Fails every test that ends with more
// blocks, or fewer, than it began with.
class LeakCheck : public testing::EmptyTestEventListener {
  void OnTestStart(const testing::TestInfo& test) override {
    const char* const parameter = test.value_param();
    Monitor::Reset(parameter != nullptr && parameter == std::string("true"));
    SCOPED_TRACE("");  // GoogleTest keeps memory for these from the first on
    before_ = Monitor::Blocks();
  }
  void OnTestEnd(const testing::TestInfo& test) override {
    Monitor::StopFailing();
    Require(Monitor::Blocks() == before_ || test.result()->Failed(),
            "nothing is left behind");
    Monitor::TakeLog();
  }

  std::size_t before_ = 0;
};

}  // namespace
}  // namespace support

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new support::LeakCheck);
  return RUN_ALL_TESTS();
}

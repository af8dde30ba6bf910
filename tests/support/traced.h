#pragma once

#include "monitor.h"

#include <gtest/gtest.h>

#include <string>

namespace support {

// A test that runs with tracing off and on.
class TracedTest : public testing::TestWithParam<bool> {
 protected:
  void SetUp() override { Monitor::Reset(GetParam()); }
};
#define VORN_TRACED_TEST(name)       \
  class name : public TracedTest {}; \
  INSTANTIATE_TEST_SUITE_P(Tracing, name, testing::Bool())

}  // namespace support

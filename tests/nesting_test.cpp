// Nesting at the limit, and far beyond it, on a small stack: every operation
// that recurses, and the bytes of stack that it takes.

#include "support/operations.h"
#include "support/property.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <cstdio>
#include <functional>
#include <string>

namespace {

using namespace support;

// Without optimization, or with a sanitizer, frames are larger.
#if defined(__OPTIMIZE__) && !VORN_SANITIZED
constexpr std::size_t kMost = 256 << 10;
#else
constexpr std::size_t kMost = 4 << 20;
#endif

// Does the work on a thread and returns how many bytes of its stack it touched.
std::size_t RunOnStack(std::function<void()> work) {
  std::string stack(2 * kMost, 'Z');
  const auto run = [](void* argument) -> void* {
    (*static_cast<decltype(work)*>(argument))();
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack.data(), 2 * kMost), 0);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  const std::size_t touched = stack.size() - stack.find_first_not_of('Z');
  EXPECT_LE(touched, kMost);
  return touched;
}

using NestingTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, NestingTest, testing::Bool());

TEST_P(NestingTest, FitsASmallStackAndIsRefusedBeyondTheLimit) {
  const struct {
    const char *name, *open, *close;  // two levels
  } kShapes[] = {{"arrays", "[[", "]]"},
                 {"objects", R"({"a":{"a":)", "}}"},
                 {"mixed", R"([{"a":)", "}]"}};
  std::puts("bytes of stack at 1024 levels");
  for (const auto& [shape, open, close] : kShapes) {
    const auto nested = [open = open, close = close](int pairs) {
      return Repeat(pairs, open) + "0" + Repeat(pairs, close);
    };
    Subject all(nested(512)), beyond(nested(500000));
    for (const auto& [name, run] : kOperations) {
      SCOPED_TRACE(std::string(name) + " " + shape);
      const std::size_t touched =
          RunOnStack([&all, run = run] { EXPECT_TRUE(run(all)); });
      std::printf("  %-8s %-8s %7zu\n", name, shape, touched);
    }
    RunOnStack([&] { EXPECT_FALSE(beyond.Parse()); });
  }
}

}  // namespace

// Nesting at the limit, and far beyond it, on a small stack: every operation
// that recurses, and the bytes of stack that it takes.

#include "support/operations.h"
#include "support/property.h"

#include <gtest/gtest.h>

#include <pthread.h>

#include <cstdio>
#include <functional>
#include <utility>
#include <vector>

namespace {

using namespace support;

// Without optimization, or with a sanitizer, frames are larger.
#if defined(__OPTIMIZE__) && !VORN_SANITIZED
constexpr std::size_t kMost = 256 << 10;
#else
constexpr std::size_t kMost = 4 << 20;
#endif

using Work = std::function<bool()>;

// Does the work on a thread, which succeeds or not, and returns how many bytes
// of the stack were touched.
std::size_t RunOnStack(Work work, bool succeeds) {
  constexpr int kPaint = 0x5A5A5A5A;
  std::vector<int> stack(2 * kMost / sizeof(int), kPaint);
  const auto run = [](void* argument) -> void* {
    return (*static_cast<Work*>(argument))() ? argument : nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack.data(), 2 * kMost), 0);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  void* result;
  pthread_join(thread, &result);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(result != nullptr, succeeds);
  std::size_t untouched = 0;
  while (untouched < stack.size() && stack[untouched] == kPaint) ++untouched;
  const std::size_t touched = (stack.size() - untouched) * sizeof(int);
  EXPECT_LE(touched, kMost);
  return touched;
}

// Two levels of nesting.
const struct {
  const char *name, *open, *close;
} kShapes[] = {{"arrays", "[[", "]]"},
               {"objects", R"({"a":{"a":)", "}}"},
               {"mixed", R"([{"a":)", "}]"}};

using NestingTest = testing::TestWithParam<bool>;  // tracing
INSTANTIATE_TEST_SUITE_P(Tracing, NestingTest, testing::Bool());

TEST_P(NestingTest, FitsASmallStackAndIsRefusedBeyondTheLimit) {
  std::puts("bytes of stack at 1024 levels (each level)");
  for (const auto& shape : kShapes) {
    Subject two, all, beyond;
    const std::pair<Subject&, int> subjects[] = {
        {two, 1}, {all, 512}, {beyond, 500000}};
    for (const auto& [subject, pairs] : subjects) {
      subject.text = (Repeat(pairs, shape.open) + "0").c_str();
      subject.text += Repeat(pairs, shape.close).c_str();
    }
    for (const auto& [name, run] : kOperations) {
      SCOPED_TRACE(std::string(name) + " " + shape.name);
      const std::size_t least = RunOnStack(std::bind(run, std::ref(two)), true);
      const std::size_t most = RunOnStack(std::bind(run, std::ref(all)), true);
      std::printf("  %-8s %-8s %7zu (%zu)\n", name, shape.name, most,
                  (most - least) / 1022);
    }
    RunOnStack(std::bind(kOperations[0].run, std::ref(beyond)), false);
  }
}

}  // namespace

// Nesting at the limit, and far beyond it, on a small stack: every operation
// that recurses, and the bytes of stack that it takes.

#include "support/build.h"
#include "support/operations.h"
#include "support/texts.h"
#include "support/traced.h"

#include <pthread.h>

#include <cstdio>
#include <utility>
#include <vector>

namespace {

using namespace support;

// Optimised code must do with 256 KiB. Without optimisation, or with a
// sanitizer, frames are larger.
constexpr std::size_t kMost = kOptimized ? 256 << 10 : 4 << 20;

struct Task {
  const Operation& operation;
  Subject& subject;
  bool right = false;
};

void* Run(void* argument) {
  Task& task = *static_cast<Task*>(argument);
  task.right = task.operation.run(task.subject);
  return nullptr;
}

// Runs the task on a thread, and returns how many bytes of the stack it
// touched.
std::size_t RunOnStack(Task& task) {
  constexpr int kPaint = 0x5A5A5A5A;
  std::vector<int> stack(2 * kMost / sizeof(int), kPaint);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack.data(), 2 * kMost), 0);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, Run, &task), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  std::size_t untouched = 0;
  while (untouched < stack.size() && stack[untouched] == kPaint) ++untouched;
  return (stack.size() - untouched) * sizeof(int);
}

// Two levels of nesting.
const struct {
  const char *name, *open, *close;
} kShapes[] = {{"arrays", "[[", "]]"},
               {"objects", R"({"a":{"a":)", "}}"},
               {"mixed", R"([{"a":)", "}]"}};

VORN_TRACED_TEST(NestingTest);

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
    for (const Operation& operation : kOperations) {
      Task little{operation, two}, much{operation, all};
      const std::size_t least = RunOnStack(little), most = RunOnStack(much);
      EXPECT_TRUE(little.right && much.right && most <= kMost)
          << operation.name << shape.name;
      std::printf("  %-10s %-8s %7zu (%zu)\n", operation.name, shape.name, most,
                  (most - least) / 1022);
    }
    Task refused{kOperations[0], beyond};
    EXPECT_LE(RunOnStack(refused), kMost);
    EXPECT_FALSE(refused.right);
  }
}

}  // namespace

// Nesting at the limit, and far beyond it, on a small stack: every operation
// that recurses, and the bytes of stack that it takes.

#include "support/build.h"
#include "support/operations.h"
#include "support/texts.h"
#include "support/traced.h"

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>

namespace {

using namespace support;

// Optimised code must do with 256 KiB. Without optimisation, or with a
// sanitizer, frames are larger.
constexpr std::size_t kStack = kOptimized ? 256 << 10 : 4 << 20;

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

// Runs the task on a thread with a small stack, below which there is no memory,
// and returns how many bytes of the stack were touched.
std::size_t RunOnStack(Task& task) {
  constexpr std::size_t kGuard = 1 << 20;
  constexpr int kPaint = 0x5A5A5A5A;
  void* const memory = mmap(nullptr, kGuard + kStack, PROT_NONE,
                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  int* const stack = static_cast<int*>(memory) + kGuard / sizeof(int);
  int* const end = stack + kStack / sizeof(int);
  EXPECT_EQ(mprotect(stack, kStack, PROT_READ | PROT_WRITE), 0);
  std::fill(stack, end, kPaint);
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kStack), 0);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, Run, &task), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  int* touched = stack;
  while (touched != end && *touched == kPaint) ++touched;
  munmap(memory, kGuard + kStack);
  return static_cast<std::size_t>(end - touched) * sizeof(int);
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
    two.text = (std::string(shape.open) + "0" + shape.close).c_str();
    all.text =
        (Repeat(512, shape.open) + "0" + Repeat(512, shape.close)).c_str();
    for (const Operation& operation : kOperations) {
      Task little{operation, two}, much{operation, all};
      const std::size_t least = RunOnStack(little), most = RunOnStack(much);
      EXPECT_TRUE(little.right && much.right) << operation.name << shape.name;
      std::printf("  %-10s %-8s %7zu (%zu)\n", operation.name, shape.name, most,
                  (most - least) / 1022);
    }
    beyond.text = Repeat(500000, shape.open).c_str();
    Task refused{kOperations[0], beyond};
    RunOnStack(refused);
    EXPECT_FALSE(refused.right) << shape.name;
  }
}

}  // namespace

// Nesting at the limit, and far beyond it, on a small stack: every operation
// that recurses, and the bytes of stack that it takes.

#include "support/build.h"
#include "support/texts.h"
#include "support/traced.h"

#include <foundation/json/json.h>

#include <pthread.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

using namespace support;
using namespace vorn::foundation;
using json::JBase;
using json::JsonReader;

// Optimised code must do with 256 KiB. Without optimisation, or with a
// sanitizer, frames are larger.
constexpr std::size_t kStack = kOptimized ? 256 << 10 : 4 << 20;

using Work = std::function<void()>;

// Does the work on a thread with a small stack, below which there is no memory,
// and returns how many bytes of the stack were touched.
std::size_t RunOnStack(Work work) {
  constexpr std::size_t kGuard = 1 << 20;
  constexpr int kPaint = 0x5A5A5A5A;
  void* const memory = mmap(nullptr, kGuard + kStack, PROT_NONE,
                            MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  int* const stack = static_cast<int*>(memory) + kGuard / sizeof(int);
  int* const end = stack + kStack / sizeof(int);
  EXPECT_EQ(mprotect(stack, kStack, PROT_READ | PROT_WRITE), 0);
  std::fill(stack, end, kPaint);
  const auto run = [](void* argument) -> void* {
    (*static_cast<Work*>(argument))();
    return nullptr;
  };
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  EXPECT_EQ(pthread_attr_setstack(&attributes, stack, kStack), 0);
  pthread_t thread;
  EXPECT_EQ(pthread_create(&thread, &attributes, run, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  int* touched = stack;
  while (touched != end && *touched == kPaint) ++touched;
  munmap(memory, kGuard + kStack);
  return static_cast<std::size_t>(end - touched) * sizeof(int);
}

// What the operations work on, one after another, and leave.
struct Subject {
  SafeString text, formatted, compressed, rendered;
  JBase *tree = nullptr, *copy = nullptr;
  bool equal = false;
  json::JsonArchiver archiver;
};

void Parse(Subject& it) {
  JsonReader reader;
  reader.fromString(it.text);
  it.tree = reader.transfer();
}

const struct {
  const char* name;
  void (*run)(Subject&);
} kOperations[] = {
    {"parse", Parse},
    {"format", [](Subject& it) { it.formatted = JsonReader::Format(it.tree); }},
    {"compress",
     [](Subject& it) { it.compressed = JsonReader::Compress(it.tree); }},
    {"clone", [](Subject& it) { it.copy = it.tree->clone(); }},
    {"compare",
     [](Subject& it) { it.equal = JsonReader::IsEqual(it.tree, it.copy); }},
    {"dispose", [](Subject& it) { it.copy->dispose(); }},
    {"load", [](Subject& it) { it.archiver.fromString(it.text); }},
    {"render", [](Subject& it) { it.rendered = it.archiver.compress(); }},
    {"unload", [](Subject& it) { it.archiver.fromString(""); }},
};

// Two levels of nesting.
const struct {
  const char *name, *open, *close;
} kShapes[] = {{"arrays", "[[", "]]"},
               {"objects", R"({"a":{"a":)", "}}"},
               {"mixed", R"([{"a":)", "}]"}};

VORN_TRACED_TEST(NestingTest);

TEST_P(NestingTest, AtTheLimitFitsASmallStack) {
  std::puts("bytes of stack at 1024 levels (each level)");
  for (const auto& shape : kShapes) {
    SCOPED_TRACE(shape.name);
    Subject two, all;
    two.text = SafeString(shape.open) + "0" + shape.close;
    all.text = Repeat(512, shape.open) + "0" + Repeat(512, shape.close);
    for (const auto& operation : kOperations) {
      const std::size_t least = RunOnStack([&] { operation.run(two); });
      const std::size_t most = RunOnStack([&] { operation.run(all); });
      ASSERT_NE(all.tree, nullptr) << operation.name;
      std::printf("  %-8s %-8s %7zu (%zu)\n", operation.name, shape.name, most,
                  (most - least) / 1022);
    }
    EXPECT_EQ(all.compressed, all.text);
    EXPECT_EQ(all.rendered, all.text);
    EXPECT_TRUE(all.equal);
    JsonReader reader;
    reader.fromString(all.formatted);
    EXPECT_TRUE(JsonReader::IsEqual(reader.getJson(), all.tree));
    two.tree->dispose();
    all.tree->dispose();
  }
}

TEST_P(NestingTest, BeyondTheLimitIsRefusedOnASmallStack) {
  for (const auto& shape : kShapes) {
    Subject subject;
    subject.text = Repeat(500000, shape.open);
    RunOnStack([&] { Parse(subject); });
    EXPECT_EQ(subject.tree, nullptr) << shape.name;
  }
}

}  // namespace

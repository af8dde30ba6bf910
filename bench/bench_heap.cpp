// Usage: bench_heap LIBRARY OPERATION FILE
//
// Runs one operation of one library once. Prints three numbers: the heap bytes
// that the result holds, the peak of the heap bytes, the result included, and
// the length of the text that was read or written.

#include <cstdio>
#include <exception>

#include "heap.h"
#include "work.h"

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fprintf(stderr, "Usage: %s LIBRARY OPERATION FILE\n", argv[0]);
    return 2;
  }
  try {
    const std::string text = bench::ReadFile(argv[3]);
    const bench::Work work(bench::FindLibrary(argv[1]),
                           bench::FindOperation(argv[2]), text);
    const std::size_t before = bench::StartPeak();
    const bench::Outcome outcome = work.Run();
    const bench::HeapBytes heap = bench::Heap();
    std::printf("%zu %zu %zu\n", heap.live - before, heap.peak - before,
                outcome.length);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}

// Usage: bench_run LIBRARY OPERATION FILE COUNT
//
// Runs one operation of one library COUNT times, for a program that counts
// instructions. A run with COUNT 0 does everything else: the difference of two
// runs is the cost of the operation.

#include <cstdio>
#include <cstdlib>
#include <exception>

#include "work.h"

int main(int argc, char** argv) {
  if (argc != 5) {
    std::fprintf(stderr, "Usage: %s LIBRARY OPERATION FILE COUNT\n", argv[0]);
    return 2;
  }
  try {
    const std::string text = bench::ReadFile(argv[3]);
    const bench::Work work(bench::FindLibrary(argv[1]),
                           bench::FindOperation(argv[2]), text);
    const int count = std::atoi(argv[4]);
    for (int i = 0; i < count; ++i) work.Run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}

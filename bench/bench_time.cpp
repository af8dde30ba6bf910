// Usage: bench_time [--benchmark_OPTION...] FILE...
//
// Measures the time of every operation of every library on every file. Its
// name is OPERATION/LIBRARY/N for the file number N, from 0.

#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "work.h"

namespace {

void Time(benchmark::State& state, const bench::Library& library,
          bench::Operation operation, const std::string& text) {
  const bench::Work work(library, operation, text);
  for (auto _ : state) benchmark::DoNotOptimize(work.Run().length);
}

void Register(const std::vector<std::string>& texts) {
  for (const bench::OperationName& operation : bench::kOperations) {
    for (const bench::Library& library : bench::Libraries()) {
      for (std::size_t i = 0; i < texts.size(); ++i) {
        const std::string name = std::string(operation.name) + '/' +
                                 library.name + '/' + std::to_string(i);
        benchmark::RegisterBenchmark(
            name.c_str(),
            [&library, operation, &text = texts[i]](benchmark::State& state) {
              Time(state, library, operation.operation, text);
            });
      }
    }
  }
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  try {
    std::vector<std::string> texts;
    for (int i = 1; i < argc; ++i) texts.push_back(bench::ReadFile(argv[i]));
    Register(texts);
    benchmark::RunSpecifiedBenchmarks();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}

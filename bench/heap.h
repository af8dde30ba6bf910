#pragma once

#include <cstddef>

namespace bench {

// The bytes of all allocated blocks: what the allocator reserved for each, and
// its own header in front. A program that links heap.cpp counts the blocks of
// all its parts. For a single thread.
struct HeapBytes {
  std::size_t live;
  std::size_t peak;  // the most since StartPeak()
};

HeapBytes Heap();

// Starts the peak anew at the live bytes, and returns them.
std::size_t StartPeak();

}  // namespace bench

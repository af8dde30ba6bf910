// malloc and its family, which replace those of the C library: each counts, and
// passes the call on to the C library.

#include "heap.h"

#include <malloc.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>

extern "C" {
// The C library's own names for its functions.
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);
void __libc_free(void* block);
}

namespace bench {

namespace {

std::size_t live = 0;
std::size_t peak = 0;

// The size of a block with its flags stands in the word in front of it.
constexpr std::size_t kHeader = sizeof(std::size_t);
constexpr std::size_t kMappedFlag = 2;

std::size_t Spent(void* block) {
  return block == nullptr ? 0 : malloc_usable_size(block) + kHeader;
}

// Whether the block has pages of its own, which move without a copy.
bool IsMapped(const void* block) {
  std::size_t size = 0;
  std::memcpy(&size, static_cast<const char*>(block) - kHeader, sizeof size);
  return (size & kMappedFlag) != 0;
}

void* Counted(void* block) {
  live += Spent(block);
  peak = std::max(peak, live);
  return block;
}

// A block that cannot grow where it is exists twice for a moment.
void* Reallocated(void* block, std::size_t size) {
  const std::size_t before = Spent(block);
  const bool copies = block != nullptr && !IsMapped(block);
  void* grown = __libc_realloc(block, size);
  if (grown == nullptr && size != 0) return nullptr;
  live -= before;
  Counted(grown);
  if (copies && grown != block) peak = std::max(peak, live + before);
  return grown;
}

}  // namespace

HeapBytes Heap() { return {live, peak}; }

std::size_t StartPeak() { return peak = live; }

}  // namespace bench

extern "C" {

void* malloc(std::size_t size) { return bench::Counted(__libc_malloc(size)); }

void* calloc(std::size_t count, std::size_t size) {
  return bench::Counted(__libc_calloc(count, size));
}

void* realloc(void* block, std::size_t size) {
  return bench::Reallocated(block, size);
}

void* memalign(std::size_t alignment, std::size_t size) {
  return bench::Counted(__libc_memalign(alignment, size));
}

void* aligned_alloc(std::size_t alignment, std::size_t size) {
  return memalign(alignment, size);
}

int posix_memalign(void** block, std::size_t alignment, std::size_t size) {
  *block = memalign(alignment, size);
  return *block == nullptr ? ENOMEM : 0;
}

void free(void* block) {
  bench::live -= bench::Spent(block);
  __libc_free(block);
}

}  // extern "C"

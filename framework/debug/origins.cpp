#include "origins.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>

namespace vorn::foundation::debug::internal {

std::atomic<unsigned int> Origins::count_{1};
std::atomic<const Origin*> Origins::chains_[kChains];
std::atomic<Origin*> Origins::blocks_[kMost / kBlock + 1];
Origin Origins::more_{nullptr, 0, nullptr, 0, kMore, "more tags", "", nullptr};

namespace {

// Returns a copy of both texts, one behind the other. Throws std::bad_alloc
// when memory is exhausted.
const char* CopyOf(const char* file, const char* function) {
  const std::size_t size = std::strlen(file) + 1;
  const std::size_t rest = std::strlen(function) + 1;
  auto* const copy = static_cast<char*>(std::malloc(size + rest));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, file, size);
  std::memcpy(copy + size, function, rest);
  return copy;
}

}  // namespace

// Returns the place of the origin with the number. Throws std::bad_alloc when
// memory is exhausted.
Origin* Origins::Place(unsigned int number) {
  std::atomic<Origin*>& block = blocks_[number / kBlock];
  if (block == nullptr) {
    void* const memory = std::malloc(kBlock * sizeof(Origin));
    if (memory == nullptr) throw std::bad_alloc();
    block.store(static_cast<Origin*>(memory), std::memory_order_release);
  }
  return block + number % kBlock;
}

const Origin& Origins::FindOrAdd(const char* file, int line,
                                 const char* function, unsigned int size) {
  const std::lock_guard<std::mutex> lock(mutexes.origins);
  if (const Origin* known = Find(file, line, function, size)) return *known;
  const unsigned int number = count_;
  if (number > kMost) return more_;
  Origin* const place = Place(number);
  const char* const copy =
      CopyOf(file == nullptr ? "" : file, function == nullptr ? "" : function);
  std::atomic<const Origin*>& chain = chains_[HashOf(file, line)];
  const Origin* const added =
      ::new (static_cast<void*>(place)) Origin{file,
                                               line,
                                               function,
                                               size,
                                               number,
                                               copy,
                                               copy + std::strlen(copy) + 1,
                                               chain.load()};
  count_.store(number + 1, std::memory_order_release);
  chain.store(added, std::memory_order_release);
  return *added;
}

}  // namespace vorn::foundation::debug::internal

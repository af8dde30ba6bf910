#pragma once

#include <atomic>
#include <cstdint>

#include "threads.h"

// The origins of objects: every tag and size that objects were created with.
namespace vorn::foundation::debug::internal {

// A tag and a size of objects. An origin is found by the addresses of its
// texts. It is printed from copies, since the library that holds the texts may
// be unloaded. Origins are never released.
struct Origin {
  bool Is(const char* at_file, int at_line, const char* at_function,
          unsigned int of_size) const {
    return file == at_file && line == at_line && function == at_function &&
           size == of_size;
  }

  const char* file;
  int line;
  const char* function;
  unsigned int size;
  unsigned int number;
  const char* file_copy;
  const char* function_copy;
  const Origin* next;                        // with the same hash
  mutable Counter<std::uint64_t> made = {};  // objects since the start
};

// All origins so far, numbered from 1. Origins are found without a lock, and
// added under one.
class Origins {
 public:
  // The largest number that the list of live objects has bits for.
  static constexpr unsigned int kMost = 0x7FFF;

  // The number of the origin "more tags", which exists from the start. It has
  // the objects of all tags beyond kMost, of any size.
  static constexpr unsigned int kMore = 0;

  // Returns the origin, or null if it is new.
  static const Origin* Find(const char* file, int line, const char* function,
                            unsigned int size) {
    const Origin* origin =
        chains_[HashOf(file, line)].load(std::memory_order_acquire);
    while (origin != nullptr && !origin->Is(file, line, function, size)) {
      origin = origin->next;
    }
    return origin;
  }

  // Returns the origin and adds it if it is new. Returns "more tags" once all
  // numbers are used. A null text is an empty one. Throws std::bad_alloc when
  // memory is exhausted.
  static const Origin& FindOrAdd(const char* file, int line,
                                 const char* function, unsigned int size);

  // The number of origins, "more tags" included. All numbers are below it.
  static unsigned int Count() { return count_.load(std::memory_order_acquire); }

  // Returns the origin of that number. REQUIRES: the number is below Count(),
  // or is that of a live object.
  static const Origin& Numbered(unsigned int number) {
    if (number == kMore) return more_;
    return blocks_[number / kBlock].load(
        std::memory_order_acquire)[number % kBlock];
  }

 private:
  static constexpr unsigned int kChains = 256;
  static constexpr unsigned int kBlock = 32;

  static unsigned int HashOf(const char* file, int line) {
    const auto address = reinterpret_cast<std::uintptr_t>(file);
    return (static_cast<unsigned int>(address) * 31 +
            static_cast<unsigned int>(line)) %
           kChains;
  }

  static Origin* Place(unsigned int number);

  static std::atomic<unsigned int> count_;
  static std::atomic<const Origin*> chains_[kChains];
  static std::atomic<Origin*> blocks_[kMost / kBlock + 1];
  static Origin more_;
};

}  // namespace vorn::foundation::debug::internal

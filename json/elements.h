#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include <foundation/debug/allocator.h>

namespace vorn::foundation::json {

class JBase;

// A list of pointers to values, of the size of three pointers. Up to two
// elements are stored inside and need no memory; more are stored in a block.
// The user of the list owns the values.
//
// The first word is the address of the block, which is even. Without a block,
// it is twice the number of elements plus one.
class Elements {
 public:
  Elements() = default;
  Elements(const Elements&) = delete;
  Elements& operator=(const Elements&) = delete;
  ~Elements() {
    if (!IsInside() && rest_.block.capacity != 0) {
      debug::Allocator<JBase*>().deallocate(begin(), rest_.block.capacity);
    }
  }

  std::size_t size() const { return IsInside() ? word_ / 2 : rest_.block.size; }
  bool empty() const { return size() == 0; }

  JBase** begin() {
    if (IsInside()) return rest_.inside;
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address, as a number
    return reinterpret_cast<JBase**>(word_);
  }
  JBase** end() { return begin() + size(); }
  JBase* const* begin() const { return const_cast<Elements*>(this)->begin(); }
  JBase* const* end() const { return begin() + size(); }

  // Makes room for count pointers in total. Throws std::bad_alloc when memory
  // is exhausted, and then changes nothing.
  void Reserve(std::size_t count) {
    if (count <= Capacity()) return;
    JBase** const block = debug::Allocator<JBase*>().allocate(count);
    std::copy(begin(), end(), block);
    Elements former;
    former.Swap(*this);
    HoldBlock(block, former.size(), count);
  }

  // Adds the pointer. Doubles the room if the list is full; throws as Reserve()
  // does.
  void Append(JBase* element) {
    if (size() == Capacity()) Reserve(2 * size());
    *end() = element;
    Resize(size() + 1);
  }

  // Sets the number of pointers. Added ones are not set. REQUIRES: there is
  // room for count pointers.
  void Resize(std::size_t count) {
    if (IsInside()) {
      word_ = 2 * count + 1;
    } else {
      rest_.block.size = count;
    }
  }

  void Swap(Elements& other) {
    std::swap(word_, other.word_);
    std::swap(rest_, other.rest_);
  }

  // Makes the list refer to pointers in a block that it does not own. REQUIRES:
  // the list is empty.
  void Borrow(JBase** first, std::size_t count) { HoldBlock(first, count, 0); }

 private:
  static constexpr std::size_t kMostInside = 2;

  struct Block {
    std::size_t size;
    std::size_t capacity;  // 0 if it is borrowed
  };
  union Rest {
    Block block = {0, 0};
    JBase* inside[kMostInside];
  };

  bool IsInside() const { return word_ % 2 != 0; }
  std::size_t Capacity() const {
    return IsInside() ? kMostInside : rest_.block.capacity;
  }
  void HoldBlock(JBase** block, std::size_t size, std::size_t capacity) {
    word_ = reinterpret_cast<std::uintptr_t>(block);
    rest_.block = {size, capacity};
  }

  std::uintptr_t word_ = 1;
  Rest rest_;
};

}  // namespace vorn::foundation::json

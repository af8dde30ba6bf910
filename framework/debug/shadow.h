#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>

// A shadow of memory: for each granule of memory a slot, a number of 16 bits,
// found by the address of the granule. A granule has the size of malloc's
// smallest block, so no two blocks begin in the same granule. A tree of
// pointers leads to leaves of 8 KiB, each with the slots of 4096 granules. A
// leaf is allocated, with all slots 0, when one of its slots is first needed.
// It is never released. Finding a slot takes no lock, even while other threads
// add leaves.
//
// gdb/libjson-gdb.py reads the tree from `shadow`, by the names in this file.
namespace vorn::foundation::debug::internal {

using Slot = std::atomic<std::uint16_t>;

constexpr unsigned int kGranuleBits = sizeof(void*) == 8 ? 5 : 4;
constexpr unsigned int kSlotBits = 12;
constexpr unsigned int kLeafBits = kGranuleBits + kSlotBits;

struct Leaf {
  Slot slots[1U << kSlotBits];
};

// A node of the tree. kBits of the address, above its lowest kShift bits,
// choose the child.
template <class Child, unsigned int kBits, unsigned int kShift>
struct Node {
  static constexpr unsigned int kTop = kBits + kShift;
  std::atomic<Child*> children[1U << kBits];
};

template <bool kIs64Bit>
struct Tree {
  using Type = Node<Node<Leaf, 8, kLeafBits>, 8, kLeafBits + 8>;
};
template <>
struct Tree<true> {
  using Lower = Node<Leaf, 8, kLeafBits>;
  using Upper = Node<Lower, 8, Lower::kTop>;
  using Type = Node<Upper, 48 - Upper::kTop, Upper::kTop>;
};
using Root = Tree<sizeof(void*) == 8>::Type;
extern Root shadow;

// The bits that are 0 in every address with a slot: the upper 16 of 64 bits,
// none of 32 bits.
constexpr std::uintptr_t kOutside =
    Root::kTop < 8 * sizeof(void*)
        ? ~std::uintptr_t{0} << (Root::kTop % (8 * sizeof(void*)))
        : 0;

[[gnu::always_inline]] inline Slot* FindSlot(Leaf& leaf,
                                             std::uintptr_t address) {
  constexpr std::uintptr_t kMask = (1U << kSlotBits) - 1;
  return &leaf.slots[(address >> kGranuleBits) & kMask];
}

template <class Child, unsigned int kBits, unsigned int kShift>
std::atomic<Child*>& PlaceOf(Node<Child, kBits, kShift>& node,
                             std::uintptr_t address) {
  return node.children[(address >> kShift) & ((1U << kBits) - 1)];
}

// Returns the slot of the address, or null if its leaf was never made.
// REQUIRES: the address has none of the bits kOutside.
template <class Child, unsigned int kBits, unsigned int kShift>
[[gnu::always_inline]] inline Slot* FindSlot(Node<Child, kBits, kShift>& node,
                                             std::uintptr_t address) {
  Child* const child = PlaceOf(node, address).load(std::memory_order_acquire);
  return child == nullptr ? nullptr : FindSlot(*child, address);
}

// Makes the child if it is missing. Returns null when memory is exhausted.
template <class Child>
Child* FindOrMake(std::atomic<Child*>& place) {
  Child* child = place.load(std::memory_order_acquire);
  if (child != nullptr) return child;
  auto* const made = static_cast<Child*>(std::calloc(1, sizeof(Child)));
  if (made == nullptr) return nullptr;
  if (place.compare_exchange_strong(child, made, std::memory_order_acq_rel)) {
    return made;
  }
  std::free(made);  // another thread was first
  return child;
}

inline Slot* FindOrMakeSlot(Leaf& leaf, std::uintptr_t address) {
  return FindSlot(leaf, address);
}

// Like FindSlot(), but makes the leaf. Returns null when memory is exhausted.
template <class Child, unsigned int kBits, unsigned int kShift>
Slot* FindOrMakeSlot(Node<Child, kBits, kShift>& node, std::uintptr_t address) {
  Child* const child = FindOrMake(PlaceOf(node, address));
  return child == nullptr ? nullptr : FindOrMakeSlot(*child, address);
}

// Calls visit(value) for the value of each slot that is not 0. visit() sees all
// that the storing thread did before it stored the value.
template <class Visit>
void ForEachSlot(const Leaf& leaf, Visit visit) {
  for (const Slot& slot : leaf.slots) {
    if (slot.load(std::memory_order_relaxed) == 0) continue;
    const std::uint16_t value = slot.load(std::memory_order_acquire);
    if (value != 0) visit(value);
  }
}

template <class Child, unsigned int kBits, unsigned int kShift, class Visit>
void ForEachSlot(const Node<Child, kBits, kShift>& node, Visit visit) {
  for (const std::atomic<Child*>& place : node.children) {
    const Child* const child = place.load(std::memory_order_acquire);
    if (child != nullptr) ForEachSlot(*child, visit);
  }
}

}  // namespace vorn::foundation::debug::internal

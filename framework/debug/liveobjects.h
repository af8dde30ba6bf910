#pragma once

#include <foundation/debug/objectmonitor.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>

#include "origins.h"
#include "ownmemory.h"
#include "shadow.h"
#include "threads.h"

// The list of live objects. The shadow (shadow.h) has a slot for each granule
// of memory. The slot of an object's address holds the number of the object's
// origin, and one bit for the half of the granule in which the object begins.
// Objects that cannot have a slot are strays, in a map under a mutex:
// - objects at an address without malloc's alignment, or above the 48 bits of
//   the shadow;
// - two objects that begin in one granule, which blocks of malloc never do;
// - objects of the origin "more tags", whose sizes differ.
// The slot of a stray's address, if there is one, holds kElsewhere.
namespace vorn::foundation::debug::internal {

constexpr std::uintptr_t kAlignment = 1U << (kGranuleBits - 1);
constexpr std::uint16_t kElsewhere = 1;  // no slot has the origin 0

struct Stray {
  unsigned int number;  // of the origin
  unsigned int size;
};

using Strays = std::map<std::uintptr_t, Stray, std::less<>,
                        OwnAllocator<std::pair<const std::uintptr_t, Stray>>>;
extern Lasting<Strays> strays;

inline bool IsInShadow(std::uintptr_t address) {
  return (address & (kOutside | (kAlignment - 1))) == 0;
}

// Returns the slot of the address, or null if it has none.
inline Slot* SlotOf(std::uintptr_t address) {
  return IsInShadow(address) ? FindSlot(shadow, address) : nullptr;
}

inline unsigned int HalfOf(std::uintptr_t address) {
  return (address / kAlignment) & 1U;
}

inline std::uint16_t ValueOf(std::uintptr_t address, unsigned int number) {
  return static_cast<std::uint16_t>(number << 1 | HalfOf(address));
}

inline unsigned int NumberOf(std::uint16_t value) { return value >> 1; }

// Whether the value stands for an object at the address.
inline bool IsFrom(std::uint16_t value, std::uintptr_t address) {
  return value > kElsewhere && (value & 1U) == HalfOf(address);
}

// Replaces the value of the slot. Returns false if another thread has changed
// the value meanwhile, for an object in the same granule.
inline bool Change(Slot& slot, std::uint16_t from, std::uint16_t to,
                   bool is_alone) {
  if (is_alone) {
    slot.store(to, std::memory_order_relaxed);
    return true;
  }
  return slot.compare_exchange_strong(from, to, std::memory_order_release,
                                      std::memory_order_relaxed);
}

// Records an object in its slot. Forgets an object at the same address whose
// release was not reported. Returns false, and records nothing, if the object
// has no slot yet or must be a stray.
inline bool RecordInSlot(Slot* slot, std::uintptr_t address,
                         const Origin& origin) {
  if (slot == nullptr) return false;
  const std::uint16_t value = slot->load(std::memory_order_relaxed);
  if (value != 0 && !IsFrom(value, address)) return false;
  const bool is_alone = IsOnlyThread();
  origin.made.Add(1, is_alone);  // before the object counts as alive
  if (Change(*slot, value, ValueOf(address, origin.number), is_alone)) {
    return true;
  }
  origin.made.Subtract(1);
  return false;
}

// Removes an object from its slot and returns the number of its origin, or 0 if
// the object is not in a slot.
inline unsigned int ForgetInSlot(std::uintptr_t address) {
  Slot* const slot = SlotOf(address);
  if (slot == nullptr) return 0;
  const std::uint16_t value = slot->load(std::memory_order_relaxed);
  if (!IsFrom(value, address)) return 0;
  return Change(*slot, value, 0, IsOnlyThread()) ? NumberOf(value) : 0;
}

// Records an object, as a stray if it must be. Throws std::bad_alloc when
// memory is exhausted.
void RecordObject(std::uintptr_t address, const Origin& origin,
                  unsigned int size);

// Removes an object that is not in a slot and returns its block. If the object
// is not in the list, returns a null address and adds 1 to unknown_releases.
LeakInfo ForgetStray(void* object);
extern Counter<std::size_t> unknown_releases;

// Calls visit(number, size) for each object, with the number of its origin.
// Objects that other threads record or release meanwhile may be counted or left
// out.
template <class Visit>
void ForEachObject(Visit visit) {
  const std::lock_guard<std::mutex> lock(mutexes.strays);
  ForEachSlot(shadow, [&](std::uint16_t value) {
    if (value == kElsewhere) return;
    const unsigned int number = NumberOf(value);
    visit(number, Origins::Numbered(number).size);
  });
  for (const auto& [address, stray] : *strays) visit(stray.number, stray.size);
}

}  // namespace vorn::foundation::debug::internal

#include "liveobjects.h"

#include <new>

namespace vorn::foundation::debug::internal {

Root shadow;
Lasting<Strays> strays;
Counter<std::size_t> unknown_releases;

namespace {

// The address of the other half of the granule.
std::uintptr_t Beside(std::uintptr_t address) { return address ^ kAlignment; }

// Sets the slot to kElsewhere. An object in the other half of the granule
// becomes a stray. Throws std::bad_alloc when memory is exhausted.
void Vacate(Slot& slot, std::uintptr_t address) {
  std::uint16_t value = slot.load(std::memory_order_acquire);
  for (;;) {
    const bool moves = IsFrom(value, Beside(address));
    if (moves) {
      const Origin& origin = Origins::Numbered(NumberOf(value));
      (*strays)[Beside(address)] = Stray{origin.number, origin.size};
    }
    if (slot.compare_exchange_strong(value, kElsewhere)) return;
    if (moves) strays->erase(Beside(address));  // released meanwhile
  }
}

// Whether the object may be in the map. Takes no lock, so that releasing an
// object of malloc's takes none.
bool MayBeStray(std::uintptr_t address) {
  if (!IsInShadow(address)) return true;
  const Slot* const slot = FindSlot(shadow, address);
  return slot != nullptr && *slot == kElsewhere;
}

}  // namespace

void RecordObject(std::uintptr_t address, const Origin& origin,
                  unsigned int size) {
  Slot* slot = nullptr;
  if (IsInShadow(address)) {
    slot = FindOrMakeSlot(shadow, address);
    if (slot == nullptr) throw std::bad_alloc();
    const bool has_number = origin.number != Origins::kMore;
    if (has_number && RecordInSlot(slot, address, origin)) return;
  }
  const std::lock_guard<std::mutex> lock(mutexes.strays);
  if (slot != nullptr) Vacate(*slot, address);
  (*strays)[address] = Stray{origin.number, size};
  origin.made.Add(1);
}

LeakInfo ForgetStray(void* object) {
  const auto address = reinterpret_cast<std::uintptr_t>(object);
  if (MayBeStray(address)) {
    const std::lock_guard<std::mutex> lock(mutexes.strays);
    const auto found = strays->find(address);
    if (found != strays->end()) {
      const unsigned int size = found->second.size;
      strays->erase(found);
      Slot* const slot = SlotOf(address);
      const bool is_alone = strays->count(Beside(address)) == 0;
      if (slot != nullptr && is_alone) *slot = 0;
      return LeakInfo{static_cast<unsigned char*>(object), size};
    }
  }
  unknown_releases.Add(1);
  return LeakInfo{nullptr, 0};
}

}  // namespace vorn::foundation::debug::internal

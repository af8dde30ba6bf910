// Two tables: the tags that objects were created under, each once, and the list
// of live objects, a word each: its address and the number of its tag. Their
// memory comes from malloc directly, so that it never shows among the memory
// that they account for.

#include <foundation/debug/objectmonitor.h>

#include "guardedblock.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <new>
#include <ostream>
#include <thread>
#include <utility>

namespace vorn::foundation::debug {

namespace {

std::atomic<bool> trace{false};

// A lock for a few instructions, with no more than a flag to it.
class SpinLock {
 public:
  void lock() {
    while (flag_.test_and_set(std::memory_order_acquire)) {
      std::this_thread::yield();
    }
  }
  void unlock() { flag_.clear(std::memory_order_release); }

 private:
  std::atomic_flag flag_ = ATOMIC_FLAG_INIT;
};

// Tags ------------------------------------------------------------------------

// Where objects of one size are created. Never released.
struct Origin {
  bool Is(const char* at_file, int at_line, const char* at_function,
          unsigned int of_size) const {
    return file == at_file && line == at_line && function == at_function &&
           size == of_size;
  }

  const char* file = nullptr;
  int line = 0;
  const char* function = nullptr;
  unsigned int size = 0;
  std::uint16_t number = 0;
  const Origin* next = nullptr;  // with the same hash
};

// All origins so far. They are found without a lock, and added under one.
class Origins {
 public:
  // The origin, which is added if it is new. Throws std::bad_alloc when memory
  // is exhausted, or the numbers are.
  static const Origin& Of(const char* file, int line, const char* function,
                          unsigned int size) {
    std::atomic<const Origin*>& chain = chains_[HashOf(file, line)];
    const Origin* origin = chain.load(std::memory_order_acquire);
    while (origin != nullptr && !origin->Is(file, line, function, size)) {
      origin = origin->next;
    }
    return origin != nullptr ? *origin
                             : Add(chain, {file, line, function, size});
  }

  static const Origin& Numbered(unsigned int number) {
    return blocks_[number / kBlock].load(
        std::memory_order_acquire)[number % kBlock];
  }

 private:
  static constexpr unsigned int kChains = 256;
  static constexpr unsigned int kBlock = 256;
  static constexpr unsigned int kMost = 1U << 16;

  static unsigned int HashOf(const char* file, int line) {
    const auto address = reinterpret_cast<std::uintptr_t>(file);
    return (static_cast<unsigned int>(address) * 31 +
            static_cast<unsigned int>(line)) %
           kChains;
  }

  [[gnu::cold]] static const Origin& Add(std::atomic<const Origin*>& chain,
                                         Origin origin);

  static std::mutex mutex_;
  static unsigned int count_;
  static std::atomic<const Origin*> chains_[kChains];
  static std::atomic<Origin*> blocks_[kMost / kBlock];
};

std::mutex Origins::mutex_;
unsigned int Origins::count_ = 0;
std::atomic<const Origin*> Origins::chains_[kChains];
std::atomic<Origin*> Origins::blocks_[kMost / kBlock];

const Origin& Origins::Add(std::atomic<const Origin*>& chain, Origin origin) {
  const std::lock_guard<std::mutex> lock(mutex_);
  // Another thread may have been faster.
  origin.next = chain.load(std::memory_order_relaxed);
  for (const Origin* known = origin.next; known != nullptr;
       known = known->next) {
    if (known->Is(origin.file, origin.line, origin.function, origin.size)) {
      return *known;
    }
  }
  if (count_ == kMost) throw std::bad_alloc();
  std::atomic<Origin*>& block = blocks_[count_ / kBlock];
  if (count_ % kBlock == 0) {
    void* memory = std::malloc(kBlock * sizeof(Origin));
    if (memory == nullptr) throw std::bad_alloc();
    block.store(static_cast<Origin*>(memory), std::memory_order_release);
  }
  origin.number = static_cast<std::uint16_t>(count_);
  Origin* const place = block.load(std::memory_order_relaxed) + count_ % kBlock;
  const Origin* const added = ::new (static_cast<void*>(place)) Origin(origin);
  ++count_;
  chain.store(added, std::memory_order_release);
  return *added;
}

// Live objects ----------------------------------------------------------------

// An object in the list: 48 bits of address, which is all that user space has,
// and 16 of the origin's number. No object has the address 0.
class Entry {
 public:
  Entry() = default;
  Entry(const void* object, unsigned int origin)
      : word_(std::uint64_t{reinterpret_cast<std::uintptr_t>(object)} << 16 |
              origin) {}

  bool IsFree() const { return word_ == 0; }
  bool Is(const void* object) const {
    return word_ >> 16 == reinterpret_cast<std::uintptr_t>(object);
  }
  std::uintptr_t Address() const {
    return static_cast<std::uintptr_t>(word_ >> 16);
  }
  const Origin& origin() const { return Origins::Numbered(word_ & 0xFFFF); }

 private:
  std::uint64_t word_ = 0;
};

// The upper bits choose the part of the list, the others the place in it.
std::uint32_t HashOf(std::uintptr_t address) {
  constexpr std::uint64_t kGoldenRatio = 0x9E3779B97F4A7C15U;
  return static_cast<std::uint32_t>((std::uint64_t{address} * kGoldenRatio) >>
                                    32);
}

// A part of the list with a lock of its own: a table with open addressing and
// linear probing. It is filled and grows so that an object costs at most 22.9
// bytes where there are 64 bits, and 16 where there are 32.
class alignas(64) Part {
 public:
  std::unique_lock<SpinLock> Lock() { return std::unique_lock(lock_); }

  // Adds an object. One that is in the list already was released behind the
  // monitor's back. Throws std::bad_alloc when the table cannot grow.
  void Add(std::uint32_t hash, const void* object, unsigned int origin) {
    if (count_ >= limit_) Grow();
    Entry* entry = Home(hash);
    while (!entry->IsFree() && !entry->Is(object)) entry = After(entry);
    if (entry->IsFree()) ++count_;
    *entry = Entry(object, origin);
  }

  // Removes the object and returns its entry; a free one when it is not there.
  Entry Remove(std::uint32_t hash, const void* object) {
    if (count_ == 0) return Entry();
    Entry* entry = Home(hash);
    while (!entry->Is(object)) {
      if (entry->IsFree()) return Entry();
      entry = After(entry);
    }
    const Entry removed = *entry;
    --count_;
    CloseGap(entry);
    return removed;
  }

  unsigned int count() const { return count_; }

  template <class Visit>
  void ForEach(Visit visit) const {
    for (const Entry* entry = entries_; entry != end_; ++entry) {
      if (!entry->IsFree()) visit(*entry);
    }
  }

 private:
  Entry* Home(std::uint32_t hash) const {
    // The part's own bits are the same for all its objects.
    const auto size = static_cast<std::uint64_t>(end_ - entries_);
    return entries_ + (static_cast<std::uint32_t>(hash << 4) * size >> 32);
  }
  Entry* After(Entry* entry) const {
    return ++entry == end_ ? entries_ : entry;
  }

  void CloseGap(Entry* gap);
  [[gnu::cold]] void Grow();

  static constexpr bool kRoomy = sizeof(void*) == 8;
  static constexpr std::size_t kFullPercent = kRoomy ? 70 : 75;

  SpinLock lock_;
  unsigned int count_ = 0;
  unsigned int limit_ = 0;  // of count_, before the table grows
  Entry* entries_ = nullptr;
  Entry* end_ = nullptr;
};

// Moves up what would no longer be found behind the gap.
void Part::CloseGap(Entry* gap) {
  for (Entry* entry = After(gap); !entry->IsFree(); entry = After(entry)) {
    const Entry* const home = Home(HashOf(entry->Address()));
    const bool passes_gap = gap <= entry ? home <= gap || home > entry
                                         : home <= gap && home > entry;
    if (!passes_gap) continue;
    *gap = *entry;
    gap = entry;
  }
  *gap = Entry();
}

void Part::Grow() {
  const auto old_size = static_cast<std::size_t>(end_ - entries_);
  const std::size_t size = old_size + (kRoomy ? old_size : old_size / 2) + 16;
  void* const memory = std::calloc(size, sizeof(Entry));
  if (memory == nullptr) throw std::bad_alloc();
  Entry* const old_entries = entries_;
  Entry* const old_end = end_;
  entries_ = static_cast<Entry*>(memory);
  end_ = entries_ + size;
  limit_ = static_cast<unsigned int>(size * kFullPercent / 100);
  for (Entry* entry = old_entries; entry != old_end; ++entry) {
    if (entry->IsFree()) continue;
    Entry* place = Home(HashOf(entry->Address()));
    while (!place->IsFree()) place = After(place);
    *place = *entry;
  }
  std::free(old_entries);
}

constexpr unsigned int kParts = 16;
Part parts[kParts];
std::atomic<std::size_t> unknown_releases{0};

Part& PartOf(std::uint32_t hash) { return parts[hash >> 28]; }

// Takes the object out of the list and returns its entry.
Entry Forget(const void* object) {
  const std::uint32_t hash = HashOf(reinterpret_cast<std::uintptr_t>(object));
  Part& part = PartOf(hash);
  const auto lock = part.Lock();
  return part.Remove(hash, object);
}

void Release(const void* object) {
  if (Forget(object).IsFree()) ++unknown_releases;
}

LeakInfo ReleaseBlock(void* object) {
  const Entry entry = Forget(object);
  if (entry.IsFree()) {
    ++unknown_releases;
    return LeakInfo{nullptr, 0};
  }
  return LeakInfo{static_cast<unsigned char*>(object), entry.origin().size};
}

template <class Visit>
void ForEachObject(Visit visit) {
  for (Part& part : parts) {
    const auto lock = part.Lock();
    part.ForEach(visit);
  }
}

}  // namespace

// The monitor -----------------------------------------------------------------

bool ObjectMonitor::_IsTrace() { return trace.load(std::memory_order_relaxed); }

unsigned char* ObjectMonitor::_Alloc(unsigned int size) {
  return AllocateGuarded(size);
}

void ObjectMonitor::_Dealloc(unsigned char* address, unsigned int size) {
  if (address != nullptr) FreeGuarded(address, size, "ObjectMonitor::_Dealloc");
}

void ObjectMonitor::_IncLeak(void* object, const char* file, int line,
                             const char* function, unsigned int size) {
  if (object == nullptr) return;
  const Origin& origin = Origins::Of(file, line, function, size);
  const std::uint32_t hash = HashOf(reinterpret_cast<std::uintptr_t>(object));
  Part& part = PartOf(hash);
  const auto lock = part.Lock();
  part.Add(hash, object, origin.number);
}

void ObjectMonitor::_DecLeak(void* object) { Release(object); }

void ObjectMonitor::_DecLeakEx(void* object, const char*, int, const char*) {
  Release(object);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) {
  return ReleaseBlock(object);
}

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char*, int,
                                       const char*) {
  return ReleaseBlock(object);
}

// The report ------------------------------------------------------------------

namespace {

template <class T>
struct OwnAllocator {
  using value_type = T;
  OwnAllocator() = default;
  template <class U>
  OwnAllocator(const OwnAllocator<U>&) {}
  T* allocate(std::size_t count) {
    void* memory = std::malloc(count * sizeof(T));
    if (memory == nullptr) throw std::bad_alloc();
    return static_cast<T*>(memory);
  }
  void deallocate(T* memory, std::size_t) { std::free(memory); }
  template <class U>
  bool operator==(const OwnAllocator<U>&) const {
    return true;
  }
  template <class U>
  bool operator!=(const OwnAllocator<U>&) const {
    return false;
  }
};

// By tag alone: objects of several sizes may be created in one place.
struct TagOrder {
  bool operator()(const Origin* a, const Origin* b) const {
    if (const int order = std::strcmp(a->file, b->file)) return order < 0;
    if (a->line != b->line) return a->line < b->line;
    return std::strcmp(a->function, b->function) < 0;
  }
};

struct Total {
  void Add(const Origin& origin) {
    ++objects;
    bytes += origin.size;
  }

  std::size_t objects = 0;
  std::size_t bytes = 0;
};

using Totals = std::map<const Origin*, Total, TagOrder,
                        OwnAllocator<std::pair<const Origin* const, Total>>>;

Total TotalOfAll() {
  Total total;
  ForEachObject([&](Entry entry) { total.Add(entry.origin()); });
  return total;
}

}  // namespace

void ObjectMonitor::SetTrace(bool on) {
  trace.store(on, std::memory_order_relaxed);
}

std::size_t ObjectMonitor::LiveCount() {
  std::size_t count = 0;
  for (Part& part : parts) {
    const auto lock = part.Lock();
    count += part.count();
  }
  return count;
}

std::size_t ObjectMonitor::LiveBytes() { return TotalOfAll().bytes; }

void ObjectMonitor::Report(std::ostream& out) {
  Totals totals;
  Total all;
  ForEachObject([&](Entry entry) {
    totals[&entry.origin()].Add(entry.origin());
    all.Add(entry.origin());
  });
  for (const auto& [tag, total] : totals) {
    out << tag->file << ':' << tag->line << ' ' << tag->function << ": "
        << total.objects << " objects, " << total.bytes << " bytes\n";
  }
  out << "total: " << all.objects << " objects, " << all.bytes << " bytes\n";
  if (unknown_releases != 0) {
    out << "releases of unknown objects: " << unknown_releases << '\n';
  }
}

}  // namespace vorn::foundation::debug

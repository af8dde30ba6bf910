// Two tables: the tags that objects were created under, each once, and the list
// of live objects, a word each: its address and the number of its tag. A mark
// is a copy of what they count, and a report what that has come to since. All
// their memory comes from malloc directly, so that it never shows among the
// memory that they account for.
//
// gdb/libjson-gdb.py reads both tables by the names that they have here.

#include <foundation/debug/objectmonitor.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <mutex>
#include <new>
#include <ostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "guardedblock.h"
#include "threads.h"

namespace vorn::foundation::debug {

namespace {

std::atomic<bool> trace{false};

// A lock for a few instructions, with no more than a flag to it.
class SpinLock {
 public:
  bool try_lock() { return !flag_.test_and_set(std::memory_order_acquire); }
  void lock() {
    while (!try_lock()) std::this_thread::yield();
  }
  void unlock() { flag_.clear(std::memory_order_release); }

 private:
  std::atomic_flag flag_ = ATOMIC_FLAG_INIT;
};

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
  bool operator!=(const OwnAllocator<U>&) const {  // GCOVR_EXCL_LINE: a vector
    return false;  // GCOVR_EXCL_LINE: wants it, but has no use for it
  }
};

// Tags ------------------------------------------------------------------------

// Where objects of one size are created. Found by the addresses of the texts,
// and printed from copies, since the library that they are in may be unloaded.
// Never released.
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
  const char* file_copy = nullptr;
  const char* function_copy = nullptr;
  const Origin* next = nullptr;                   // with the same hash
  mutable internal::Counter<std::uint64_t> made;  // objects, so far
};

// All origins so far. They are found without a lock, and added under one.
class Origins {
 public:
  // The origin, or null if it is new.
  static const Origin* Find(const char* file, int line, const char* function,
                            unsigned int size) {
    const Origin* origin =
        chains_[HashOf(file, line)].load(std::memory_order_acquire);
    while (origin != nullptr && !origin->Is(file, line, function, size)) {
      origin = origin->next;
    }
    return origin;
  }

  // The origin, which is added if it is new; kMore once the numbers are used
  // up. Throws std::bad_alloc when memory is exhausted.
  static const Origin& FindOrAdd(const char* file, int line,
                                 const char* function, unsigned int size);

  // How many there are, with the numbers from 0.
  static unsigned int Count() { return count_.load(std::memory_order_acquire); }

  static const Origin& Numbered(unsigned int number) {
    return blocks_[number / kBlock].load(
        std::memory_order_acquire)[number % kBlock];
  }

  // The last number, of the one origin for all tags without a number. Its
  // objects are of several sizes.
  static constexpr unsigned int kMore = 0xFFFF;

 private:
  static constexpr unsigned int kChains = 256;
  static constexpr unsigned int kBlock = 256;

  static unsigned int HashOf(const char* file, int line) {
    const auto address = reinterpret_cast<std::uintptr_t>(file);
    return (static_cast<unsigned int>(address) * 31 +
            static_cast<unsigned int>(line)) %
           kChains;
  }

  static const Origin& Add(const char* file, int line, const char* function,
                           unsigned int size,
                           std::atomic<const Origin*>& chain);

  static std::mutex mutex_;
  static std::atomic<unsigned int> count_;
  static std::atomic<const Origin*> chains_[kChains];
  static std::atomic<Origin*> blocks_[kMore / kBlock + 1];
};

std::mutex Origins::mutex_;
std::atomic<unsigned int> Origins::count_{0};
std::atomic<const Origin*> Origins::chains_[kChains];
std::atomic<Origin*> Origins::blocks_[kMore / kBlock + 1];

// A copy of both texts, one behind the other. Throws std::bad_alloc when memory
// is exhausted.
const char* CopyOf(const char* file, const char* function) {
  const std::size_t size = std::strlen(file) + 1;
  const std::size_t rest = std::strlen(function) + 1;
  auto* const copy = static_cast<char*>(std::malloc(size + rest));
  if (copy == nullptr) throw std::bad_alloc();
  std::memcpy(copy, file, size);
  std::memcpy(copy + size, function, rest);
  return copy;
}

const Origin& Origins::FindOrAdd(const char* file, int line,
                                 const char* function, unsigned int size) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (const Origin* known = Find(file, line, function, size)) return *known;
  if (count_ < kMore) {
    return Add(file, line, function, size, chains_[HashOf(file, line)]);
  }
  std::atomic<const Origin*> none{nullptr};
  if (count_ == kMore) Add("more tags", 0, nullptr, 0, none);
  return Numbered(kMore);
}

const Origin& Origins::Add(const char* file, int line, const char* function,
                           unsigned int size,
                           std::atomic<const Origin*>& chain) {
  const unsigned int number = count_;
  std::atomic<Origin*>& block = blocks_[number / kBlock];
  if (block == nullptr) {
    void* memory = std::malloc(kBlock * sizeof(Origin));
    if (memory == nullptr) throw std::bad_alloc();
    block.store(static_cast<Origin*>(memory), std::memory_order_release);
  }
  const char* const copy =
      CopyOf(file == nullptr ? "" : file, function == nullptr ? "" : function);
  Origin* const place = block.load(std::memory_order_relaxed) + number % kBlock;
  const Origin* const added = ::new (static_cast<void*>(place))
      Origin{file,
             line,
             function,
             size,
             static_cast<std::uint16_t>(number),
             copy,
             copy + std::strlen(copy) + 1,
             chain.load(),
             {}};
  count_.store(number + 1, std::memory_order_release);
  chain.store(added, std::memory_order_release);
  return *added;
}

// Live objects ----------------------------------------------------------------

// A place in the list: free, given up by an object that was released, or taken
// by one: 48 bits of its address, which is all that user space has, and 16 of
// its origin's number. No object has the address 0.
class Entry {
 public:
  Entry() = default;
  Entry(const void* object, const Origin& origin)
      : word_(std::uint64_t{reinterpret_cast<std::uintptr_t>(object)} << 16 |
              origin.number) {}

  bool IsFree() const { return word_ == 0; }
  bool IsTaken() const { return word_ >> 16 != 0; }
  bool IsOf(const void* object) const {
    return word_ >> 16 == reinterpret_cast<std::uintptr_t>(object);
  }
  void GiveUp() { word_ = 1; }

  std::uintptr_t Address() const {
    return static_cast<std::uintptr_t>(word_ >> 16);
  }
  unsigned int number() const { return word_ & 0xFFFF; }
  const Origin& origin() const { return Origins::Numbered(number()); }

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
  SpinLock& lock() { return lock_; }

  bool HasRoom() const { return used_ < limit_; }

  // Makes room for one object more. Throws std::bad_alloc when memory is
  // exhausted.
  void MakeRoom();

  // Adds an object. One that is in the list already was released behind the
  // monitor's back. REQUIRES: HasRoom().
  void Add(std::uint32_t hash, const void* object, const Origin& origin) {
    origin.made.Add(1);
    Entry* place = nullptr;
    Entry* entry = Home(hash);
    for (; !entry->IsFree() && !entry->IsOf(object); entry = After(entry)) {
      if (place == nullptr && !entry->IsTaken()) place = entry;
    }
    if (entry->IsOf(object)) {
      place = entry;
    } else {
      ++count_;
      if (place == nullptr) ++used_;
    }
    if (place == nullptr) place = entry;
    *place = Entry(object, origin);
  }

  // Removes the object and returns its entry; a free one when it is not there.
  Entry Remove(std::uint32_t hash, const void* object) {
    if (count_ == 0) return Entry();
    Entry* entry = Home(hash);
    while (!entry->IsOf(object)) {
      if (entry->IsFree()) return Entry();
      entry = After(entry);
    }
    const Entry removed = *entry;
    entry->GiveUp();
    if (--count_ == 0) FreeGivenUp();
    return removed;
  }

  unsigned int count() const { return count_; }

  template <class Visit>
  void ForEach(Visit visit) const {
    for (const Entry* entry = entries_; entry != end_; ++entry) {
      if (entry->IsTaken()) visit(*entry);
    }
  }

 private:
  static constexpr bool kRoomy = sizeof(void*) == 8;
  static constexpr std::size_t kLeastPercent = kRoomy ? 35 : 50;
  static constexpr std::size_t kFullPercent = kRoomy ? 70 : 75;

  Entry* Home(std::uint32_t hash) const {
    // The upper bits are the same for all objects of the part.
    const auto size = static_cast<std::uint64_t>(end_ - entries_);
    return entries_ + (static_cast<std::uint32_t>(hash << 4) * size >> 32);
  }
  Entry* After(Entry* entry) const {
    return ++entry == end_ ? entries_ : entry;
  }

  void FreeGivenUp();

  SpinLock lock_;
  unsigned int count_ = 0;  // of the places that are taken
  unsigned int used_ = 0;   // of those and the ones given up
  unsigned int limit_ = 0;  // of used_, before the table is built anew
  Entry* entries_ = nullptr;
  Entry* end_ = nullptr;
};

// Frees the places given up once none is taken, if they are so many that it
// pays.
void Part::FreeGivenUp() {
  if (used_ < limit_ / 4) return;
  std::fill(entries_, end_, Entry());
  used_ = 0;
}

// Builds the table anew, without the places given up. It never shrinks.
void Part::MakeRoom() {
  const std::size_t size =
      std::max(static_cast<std::size_t>(end_ - entries_),
               std::size_t{count_} * 100 / kLeastPercent + 16);
  void* const memory = std::calloc(size, sizeof(Entry));
  if (memory == nullptr) throw std::bad_alloc();
  Entry* const old_entries =
      std::exchange(entries_, static_cast<Entry*>(memory));
  Entry* const old_end = std::exchange(end_, entries_ + size);
  limit_ = static_cast<unsigned int>(size * kFullPercent / 100);
  used_ = count_;
  for (const Entry* entry = old_entries; entry != old_end; ++entry) {
    if (!entry->IsTaken()) continue;
    Entry* place = Home(HashOf(entry->Address()));
    while (!place->IsFree()) place = After(place);
    *place = *entry;
  }
  std::free(old_entries);
}

// The sizes of the objects whose tags have no number.
class MoreSizes {
 public:
  // Throws std::bad_alloc when memory is exhausted.
  static void Set(const void* object, unsigned int size) {
    const std::lock_guard<std::mutex> lock(mutex_);
    All()[object] = size;
  }
  static unsigned int Of(const void* object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = All().find(object);
    return found == All().end() ? 0 : found->second;
  }
  static void Forget(const void* object) {
    const std::lock_guard<std::mutex> lock(mutex_);
    All().erase(object);
  }

 private:
  using Map =
      std::map<const void*, unsigned int, std::less<>,
               OwnAllocator<std::pair<const void* const, unsigned int>>>;

  static Map& All() {
    alignas(Map) static unsigned char place[sizeof(Map)];
    static Map* const map = ::new (static_cast<void*>(place)) Map;
    return *map;
  }

  static std::mutex mutex_;
};

std::mutex MoreSizes::mutex_;

unsigned int SizeOf(Entry entry) {
  if (entry.number() != Origins::kMore) return entry.origin().size;
  return MoreSizes::Of(reinterpret_cast<const void*>(entry.Address()));
}

constexpr unsigned int kParts = 16;
Part parts[kParts];
internal::Counter<std::size_t> unknown_releases;

Part& PartOf(std::uint32_t hash) { return parts[hash >> 28]; }

using Guard = std::lock_guard<SpinLock>;

// Takes the object out of the list and returns its entry.
Entry Forget(const void* object) {
  const std::uint32_t hash = HashOf(reinterpret_cast<std::uintptr_t>(object));
  Part& part = PartOf(hash);
  const Guard guard(part.lock());
  return part.Remove(hash, object);
}

// Returns the object's block, a null address if the object is not in the list.
LeakInfo Release(void* object) {
  const Entry entry = Forget(object);
  if (entry.IsFree()) {
    unknown_releases.Add(1);
    return LeakInfo{nullptr, 0};
  }
  const LeakInfo block{static_cast<unsigned char*>(object), SizeOf(entry)};
  if (entry.number() == Origins::kMore) MoreSizes::Forget(object);
  return block;
}

template <class Visit>
void ForEachObject(Visit visit) {
  for (Part& part : parts) {
    const Guard guard(part.lock());
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

namespace {

// The long way of recording an object: its origin may be new, its part of the
// list full or locked.
[[gnu::noinline]] void Record(const void* object, const char* file, int line,
                              const char* function, unsigned int size) {
  const Origin& origin = Origins::FindOrAdd(file, line, function, size);
  const std::uint32_t hash = HashOf(reinterpret_cast<std::uintptr_t>(object));
  Part& part = PartOf(hash);
  const Guard guard(part.lock());
  if (!part.HasRoom()) part.MakeRoom();
  if (origin.number == Origins::kMore) MoreSizes::Set(object, size);
  part.Add(hash, object, origin);
}

}  // namespace

void ObjectMonitor::_IncLeak(void* object, const char* file, int line,
                             const char* function, unsigned int size) {
  if (object == nullptr) return;
  const Origin* const origin = Origins::Find(file, line, function, size);
  const std::uint32_t hash = HashOf(reinterpret_cast<std::uintptr_t>(object));
  Part& part = PartOf(hash);
  if (origin == nullptr || !part.lock().try_lock()) {
    return Record(object, file, line, function, size);
  }
  const bool room = part.HasRoom();
  if (room) part.Add(hash, object, *origin);
  part.lock().unlock();
  if (!room) Record(object, file, line, function, size);
}

void ObjectMonitor::_DecLeak(void* object) { Release(object); }

void ObjectMonitor::_DecLeakEx(void* object, const char*, int, const char*) {
  Release(object);
}

LeakInfo ObjectMonitor::_DecLeakInfo(void* object) { return Release(object); }

LeakInfo ObjectMonitor::_DecLeakInfoEx(void* object, const char*, int,
                                       const char*) {
  return Release(object);
}

void ObjectMonitor::SetTrace(bool on) {
  trace.store(on, std::memory_order_relaxed);
}

std::size_t ObjectMonitor::LiveCount() {
  std::size_t count = 0;
  for (Part& part : parts) {
    const Guard guard(part.lock());
    count += part.count();
  }
  return count;
}

std::size_t ObjectMonitor::LiveBytes() {
  std::size_t bytes = 0;
  ForEachObject([&](Entry entry) { bytes += SizeOf(entry); });
  return bytes;
}

// Counts and marks ------------------------------------------------------------

namespace {

// Of one origin: the objects that were ever made, and those of them that are
// alive. All others were freed, so that a release has nothing to count.
struct Count {
  std::uint64_t made = 0;
  std::size_t alive = 0;
  std::size_t bytes = 0;  // of those alive
};

// How things stand: the counts by the numbers of the origins, and the releases
// of unknown objects.
struct State {
  std::vector<Count, OwnAllocator<Count>> counts;
  std::size_t unknown = 0;
};

// Nothing is counted as alive that is not counted as made.
State StateNow() {
  State state{decltype(State::counts)(Origins::Count()),
              unknown_releases.Get()};
  ForEachObject([&](Entry entry) {
    if (entry.number() < state.counts.size()) {
      Count& count = state.counts[entry.number()];
      ++count.alive;
      count.bytes += SizeOf(entry);
    }
  });
  unsigned int number = 0;
  for (Count& count : state.counts) {
    count.made = Origins::Numbered(number++).made.Get();
  }
  return state;
}

using Name =
    std::basic_string<char, std::char_traits<char>, OwnAllocator<char>>;

// The marks, to be used one thread at a time. They are never destroyed, so that
// there can be reports until the very end.
class Marks {
 public:
  static void Set(const char* name, State&& state) {
    const std::lock_guard<std::mutex> lock(mutex_);
    All()[name] = std::move(state);
  }

  // The state of the mark, or an empty one for null. False if there is no such
  // mark.
  static bool Get(const char* name, State& state) {
    if (name == nullptr) return true;
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto mark = All().find(name);
    if (mark == All().end()) return false;
    state = mark->second;
    return true;
  }

 private:
  using Map = std::map<Name, State, std::less<>,
                       OwnAllocator<std::pair<const Name, State>>>;

  static Map& All() {
    alignas(Map) static unsigned char place[sizeof(Map)];
    static Map* const map = ::new (static_cast<void*>(place)) Map;
    return *map;
  }

  static std::mutex mutex_;
};

std::mutex Marks::mutex_;

}  // namespace

void ObjectMonitor::Mark(const char* name) { Marks::Set(name, StateNow()); }

// The reports -----------------------------------------------------------------

namespace {

// A line: how things stand with a tag, and what has changed.
struct Row {
  void Add(const Row& other) {
    objects += other.objects;
    more_objects += other.more_objects;
    bytes += other.bytes;
    more_bytes += other.more_bytes;
    made += other.made;
    freed += other.freed;
  }
  bool IsOfNote() const { return objects != 0 || made != 0 || freed != 0; }

  const Origin* tag = nullptr;
  long long objects = 0;
  long long more_objects = 0;
  long long bytes = 0;
  long long more_bytes = 0;
  long long made = 0;
  long long freed = 0;
};

using Rows = std::vector<Row, OwnAllocator<Row>>;

Row RowOf(const Origin& origin, const Count& now, const Count& then) {
  Row row;
  row.tag = &origin;
  row.objects = static_cast<long long>(now.alive);
  row.more_objects = row.objects - static_cast<long long>(then.alive);
  row.bytes = static_cast<long long>(now.bytes);
  row.more_bytes = row.bytes - static_cast<long long>(then.bytes);
  row.made = static_cast<long long>(now.made - then.made);
  row.freed = row.made - row.more_objects;
  return row;
}

// By tag alone: objects of several sizes may be created in one place, and the
// same texts may lie at several addresses.
bool TagOrder(const Row& a, const Row& b) {
  if (const int order = std::strcmp(a.tag->file_copy, b.tag->file_copy))
    return order < 0;
  if (a.tag->line != b.tag->line) return a.tag->line < b.tag->line;
  return std::strcmp(a.tag->function_copy, b.tag->function_copy) < 0;
}

bool GrowthOrder(const Row& a, const Row& b) {
  if (a.more_bytes != b.more_bytes) return a.more_bytes > b.more_bytes;
  return TagOrder(a, b);
}

// A row for each tag with anything to tell, in the order of the tags.
Rows RowsOf(const State& now, const State& then) {
  Rows rows;
  rows.reserve(now.counts.size());
  for (unsigned int i = 0; i < now.counts.size(); ++i) {
    const Count before = i < then.counts.size() ? then.counts[i] : Count();
    const Row row = RowOf(Origins::Numbered(i), now.counts[i], before);
    if (row.IsOfNote()) rows.push_back(row);
  }
  std::sort(rows.begin(), rows.end(), TagOrder);
  std::size_t tags = 0;
  for (const Row& row : rows) {
    if (tags > 0 && !TagOrder(rows[tags - 1], row)) {
      rows[tags - 1].Add(row);
    } else {
      rows[tags++] = row;
    }
  }
  rows.resize(tags);
  return rows;
}

Row TotalOf(const Rows& rows) {
  Row total;
  for (const Row& row : rows) total.Add(row);
  return total;
}

// Writes a text and figures as printf() does, whatever the stream does with
// numbers.
template <class... Figures>
void Print(std::ostream& out, const char* format, Figures... figures) {
  char line[200];
  std::snprintf(line, sizeof line, format, figures...);
  out << line;
}

void PrintFigures(std::ostream& out, const char* format, const Row& row) {
  Print(out, format, row.objects, row.more_objects, row.bytes, row.more_bytes,
        row.made, row.freed);
}

void PrintTag(std::ostream& out, const Origin& tag) {
  out << tag.file_copy;
  Print(out, ":%d ", tag.line);
  out << tag.function_copy;
}

// Nothing as long as there are none.
void PrintUnknown(std::ostream& out, std::size_t unknown) {
  if (unknown != 0) Print(out, "releases of unknown objects: %zu\n", unknown);
}

void PrintText(std::ostream& out, const char* mark, const Rows& rows,
               std::size_t unknown) {
  constexpr char kFormat[] = "%9lld %+9lld %11lld %+11lld %11lld %11lld  ";
  if (mark != nullptr) out << "since " << mark << ":\n";
  Print(out, "%9s %9s %11s %11s %11s %11s  %s\n", "objects", "change", "bytes",
        "change", "made", "freed", "created at");
  for (const Row& row : rows) {
    PrintFigures(out, kFormat, row);
    PrintTag(out, *row.tag);
    out << '\n';
  }
  PrintFigures(out, kFormat, TotalOf(rows));
  out << "total\n";
  PrintUnknown(out, unknown);
}

void PrintTabs(std::ostream& out, const Rows& rows, std::size_t unknown) {
  constexpr char kFormat[] = "\t%lld\t%lld\t%lld\t%lld\t%lld\t%lld\n";
  out << "file\tline\tfunction\tobjects\tobjects_change\tbytes\tbytes_change\t"
         "made\tfreed\n";
  for (const Row& row : rows) {
    out << row.tag->file_copy;
    Print(out, "\t%d\t", row.tag->line);
    out << row.tag->function_copy;
    PrintFigures(out, kFormat, row);
  }
  out << "total\t\t";
  PrintFigures(out, kFormat, TotalOf(rows));
  Print(out, "unknown\t\t\t\t\t\t\t\t%zu\n", unknown);
}

}  // namespace

void ObjectMonitor::Report(std::ostream& out) {
  constexpr char kFormat[] = ": %lld objects, %lld bytes\n";
  const State now = StateNow();
  const Rows rows = RowsOf(now, now);  // of tags with live objects alone
  for (const Row& row : rows) {
    PrintTag(out, *row.tag);
    Print(out, kFormat, row.objects, row.bytes);
  }
  const Row total = TotalOf(rows);
  out << "total";
  Print(out, kFormat, total.objects, total.bytes);
  PrintUnknown(out, now.unknown);
}

bool ObjectMonitor::Report(std::ostream& out, const char* mark,
                           ReportLayout layout) {
  State then;
  if (!Marks::Get(mark, then)) return false;
  const State now = StateNow();
  Rows rows = RowsOf(now, then);
  std::sort(rows.begin(), rows.end(), GrowthOrder);
  const std::size_t unknown = now.unknown - then.unknown;
  if (layout == ReportLayout::Text) {
    PrintText(out, mark, rows, unknown);
  } else {
    PrintTabs(out, rows, unknown);
  }
  return true;
}

}  // namespace vorn::foundation::debug

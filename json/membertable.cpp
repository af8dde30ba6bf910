// Keys and nodes, the index, the buckets, then the table.

#include "membertable.h"

#include <sys/auxv.h>

#include <bits/functional_hash.h>
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <unordered_map>
#include <utility>

namespace vorn::foundation::json {

namespace {

using debug::Allocator;

// The standard library's hash of strings, with its seed. It determines the
// order. std::hash has no specialization for strings with our allocator.
constexpr std::size_t kSeed = 0xc70f6907U;

// The most members of a chain without an index. By chance, one of a million
// buckets has a longer chain.
constexpr unsigned int kLongChain = 8;

// The same for members of one hash, unless others come between them.
constexpr unsigned int kMostOfOneHash = 2;

using Node = MemberTable::Node;

std::size_t Hash(std::string_view text) {
  return std::_Hash_bytes(text.data(), text.size(), kSeed);
}

std::size_t SizeOfNode(std::size_t length) { return sizeof(Node) + length; }

}  // namespace

// Keys and nodes --------------------------------------------------------------

MemberTable::Key::Key(std::string_view text) : text_(text), hash_(Hash(text)) {}

MemberTable::Handle MemberTable::Make(const Key& key) {
  const std::string_view text = key.text();
  char* block = Allocator<char>().allocate(SizeOfNode(text.size()));
  Handle node(::new (static_cast<void*>(block))
                  Node(key.hash(), text.size(), false));
  text.copy(block + sizeof(Node), text.size());
  return node;
}

// The block of a batch goes with the last of its nodes, and not before the
// batch is finished. In front of each node stands where the block begins.
struct MemberTable::Batch::Head {
  std::size_t size;   // of the block
  std::size_t users;  // its nodes, and the batch
};

void MemberTable::Release::operator()(Node* node) const {
  if (node->shared_) {
    auto* const head = reinterpret_cast<Batch::Head**>(node)[-1];
    node->~Node();
    return Batch::Drop(head);
  }
  const std::size_t size = SizeOfNode(node->length_);
  node->~Node();
  void* block = node;
  Allocator<char>().deallocate(static_cast<char*>(block), size);
}

std::size_t MemberTable::Batch::SizeOf(std::string_view key) {
  const std::size_t size = sizeof(Head*) + SizeOfNode(key.size());
  return (size + alignof(Node) - 1) / alignof(Node) * alignof(Node);
}

void MemberTable::Batch::Start(std::size_t size) {
  Finish();
  size += sizeof(Head);
  char* const block = Allocator<char>().allocate(size);
  head_ = ::new (static_cast<void*>(block)) Head{size, 1};
  next_ = block + sizeof(Head);
  left_ = size - sizeof(Head);
}

MemberTable::Handle MemberTable::Batch::Make(const Key& key) {
  const std::string_view text = key.text();
  const std::size_t size = SizeOf(text);
  if (size > left_) return MemberTable::Make(key);
  ::new (static_cast<void*>(next_)) Head*(head_);
  char* const place = next_ + sizeof(Head*);
  Handle node(::new (static_cast<void*>(place))
                  Node(key.hash(), text.size(), true));
  ++head_->users;
  text.copy(place + sizeof(Node), text.size());
  next_ += size;
  left_ -= size;
  return node;
}

MemberTable::Handle MemberTable::Batch::MakeLike(const Node& member) {
  if (left_ == 0) {
    std::size_t size = 0, count = 0;
    for (const Node* node = &member; node != nullptr; node = node->next()) {
      const std::size_t added = SizeOf(node->key());
      if (added > kLargest - size) break;
      size += added;
      ++count;
    }
    if (count > 1) Start(size);
  }
  return Make(Key(member));
}

void MemberTable::Batch::Finish() {
  if (head_ != nullptr) Drop(std::exchange(head_, nullptr));
  left_ = 0;
}

void MemberTable::Batch::Drop(Head* head) {
  if (--head->users != 0) return;
  void* const block = head;
  Allocator<char>().deallocate(static_cast<char*>(block), head->size);
}

// A keyed hash ----------------------------------------------------------------

namespace {

#ifdef __SIZEOF_INT128__
__extension__ using Product = unsigned __int128;
#else
using Product = std::uint64_t;
#endif
static_assert(sizeof(Product) == 2 * sizeof(std::size_t));

std::size_t Fold(std::size_t first, std::size_t second) {
  const Product product = static_cast<Product>(first) * second;
  constexpr auto kBits = 4 * sizeof(Product);
  return static_cast<std::size_t>(product ^ (product >> kBits));
}

}  // namespace

// A hash with a secret: without the secret nobody can make texts of one hash.
// Each step multiplies the next two words, one combined with the secret, the
// other with the state.
class KeyedHash {
 public:
  // The secret is of this process and of this object.
  KeyedHash() {
    // NOLINTNEXTLINE(performance-no-int-to-ptr): an address, as a number
    const void* random = reinterpret_cast<void*>(getauxval(AT_RANDOM));
    if (random != nullptr) std::memcpy(secret_, random, sizeof secret_);
    for (std::size_t& word : secret_) {
      word ^= reinterpret_cast<std::uintptr_t>(this);
    }
  }

  std::size_t operator()(std::string_view text) const {
    std::size_t state = secret_[0] ^ text.size();
    for (; text.size() > sizeof(Words); text.remove_prefix(sizeof(Words))) {
      Words words;
      std::memcpy(words, text.data(), sizeof words);
      state = Step(state, words);
    }
    Words last = {};
    std::memcpy(last, text.data(), text.size());
    return Fold(Step(state, last) ^ secret_[0], secret_[1]);
  }

 private:
  using Words = std::size_t[2];

  std::size_t Step(std::size_t state, const Words& words) const {
    return Fold(words[0] ^ secret_[1], words[1] ^ state);
  }

  Words secret_ = {};
};

// The index -------------------------------------------------------------------

// Maps each member to its predecessor in the list. The first member of a chain
// is not in the index: its predecessor is stored in the bucket.
//
// A hash table with open addressing. It has two entries for each bucket, and
// there are fewer members than buckets, so it is at most half full. The entries
// are in several parts, so that no request is larger than that for the buckets.
class MemberTable::Index {
 public:
  struct Release {
    void operator()(Index* index) const;
  };
  using Owner = std::unique_ptr<Index, Release>;

  struct Entry {
    Link* before;  // null in an empty entry
    std::size_t hash;
  };

  // Returns the index for a table with so many buckets. Throws std::bad_alloc
  // when memory is exhausted.
  static Owner Make(std::size_t buckets);

  // REQUIRES: the member is not in the index.
  void Add(const Node& node, Link* before);

  // Returns the entry of the member of that key, or null.
  Entry* Find(const Key& key);

  // REQUIRES: the entry is not empty.
  void Remove(Entry* entry);

 private:
  static constexpr std::size_t kParts = 4;

  explicit Index(std::size_t buckets) : size_(kParts * (buckets / 2)) {}

  Entry& At(std::size_t place) {
    return parts_[place % kParts][place / kParts];
  }
  std::size_t HomeOf(const Entry& entry) const { return entry.hash % size_; }
  std::size_t Next(std::size_t place) const {
    return place + 1 != size_ ? place + 1 : 0;
  }

  const std::size_t size_;
  Entry* parts_[kParts] = {};  // owned
  const KeyedHash hash_;
};

MemberTable::Index::Owner MemberTable::Index::Make(std::size_t buckets) {
  void* const block = Allocator<Index>().allocate(1);
  Owner index(::new (block) Index(buckets));
  const std::size_t size = index->size_ / kParts;
  for (Entry*& part : index->parts_) part = Allocator<Entry>().allocate(size);
  for (Entry* part : index->parts_) std::fill_n(part, size, Entry());
  return index;
}

void MemberTable::Index::Release::operator()(Index* index) const {
  for (Entry* part : index->parts_) {
    if (part == nullptr) break;
    Allocator<Entry>().deallocate(part, index->size_ / kParts);
  }
  index->~Index();
  Allocator<Index>().deallocate(index, 1);
}

void MemberTable::Index::Add(const Node& node, Link* before) {
  const Entry entry{before, hash_(node.key())};
  std::size_t place = HomeOf(entry);
  while (At(place).before != nullptr) place = Next(place);
  At(place) = entry;
}

MemberTable::Index::Entry* MemberTable::Index::Find(const Key& key) {
  const Entry wanted{nullptr, hash_(key.text())};
  for (std::size_t place = HomeOf(wanted);; place = Next(place)) {
    Entry& entry = At(place);
    if (entry.before == nullptr) return nullptr;
    if (entry.hash != wanted.hash) continue;
    const Node& node = *entry.before->next;
    // A member's own key need not be compared.
    const bool same = node.KeyBytes() == key.text().data();
    if (same || node.Has(key)) return &entry;
  }
}

// Moves later entries up, so that all are still found from their home.
void MemberTable::Index::Remove(Entry* entry) {
  std::size_t hole = HomeOf(*entry);
  while (&At(hole) != entry) hole = Next(hole);
  std::size_t place = hole;
  for (;;) {
    place = Next(place);
    Entry& moved = At(place);
    if (moved.before == nullptr) break;
    const std::size_t home = HomeOf(moved);
    const bool stays = hole < place ? hole < home && home <= place
                                    : hole < home || home <= place;
    if (stays) continue;
    At(hole) = moved;
    hole = place;
  }
  At(hole).before = nullptr;
}

// The buckets -----------------------------------------------------------------

// The buckets follow the struct in the same block.
struct MemberTable::Buckets {
  // The predecessor of the bucket's first member in the list, or null if the
  // bucket is empty; while members are counted, their number.
  union Bucket {
    Link* before;
    std::size_t length;
  };

  explicit Buckets(std::size_t number) : count(number) {}

  // Returns buckets whose content is not set. Throws std::bad_alloc when memory
  // is exhausted.
  static BucketsOwner Make(std::size_t count);

  void AddIndex() {
    index = Index::Make(count);
    crowded = true;
  }

  Bucket* begin() { return reinterpret_cast<Bucket*>(this + 1); }
  Link*& operator[](std::size_t bucket) { return begin()[bucket].before; }
  void Clear() { std::fill_n(begin(), count, Bucket{nullptr}); }

  // The size of the block, in pointers.
  static std::size_t Size(std::size_t count) {
    static_assert(sizeof(Buckets) % sizeof(Bucket) == 0);
    return sizeof(Buckets) / sizeof(Bucket) + count;
  }

  Index::Owner index;  // none as long as no chain was long
  const std::size_t count;
  bool crowded = false;  // whether more buckets need an index
};

MemberTable::BucketsOwner MemberTable::Buckets::Make(std::size_t count) {
  void* const block = Allocator<Link*>().allocate(Size(count));
  return BucketsOwner(::new (block) Buckets(count));
}

void MemberTable::ReleaseBuckets::operator()(Buckets* buckets) const {
  const std::size_t size = Buckets::Size(buckets->count);
  buckets->~Buckets();
  void* const block = buckets;
  Allocator<Link*>().deallocate(static_cast<Link**>(block), size);
}

// The table -------------------------------------------------------------------

MemberTable::~MemberTable() {
  clear();
  BucketsOwner(buckets_).reset();
}

std::vector<SafeString, Allocator<SafeString>> MemberTable::keys() const {
  std::vector<SafeString, Allocator<SafeString>> keys(count_);
  auto key = keys.begin();
  for (const Node* node = first(); node != nullptr; node = node->next()) {
    *key++ = SafeString(node->key());
  }
  return keys;
}

MemberTable::Node* MemberTable::find(const Key& key) const {
  const Link* before = const_cast<MemberTable*>(this)->FindBefore(key);
  return before != nullptr ? before->next : nullptr;
}

bool MemberTable::IsIndexed() const {
  return buckets_ != nullptr && buckets_->index != nullptr;
}

// Returns the predecessor of the bucket's first member, or null if it is empty.
MemberTable::Link* MemberTable::BeforeBucket(std::size_t bucket) {
  if (buckets_ != nullptr) return (*buckets_)[bucket];
  Link* before = &head_;
  while (before->next != nullptr && BucketOf(before->next) != bucket) {
    before = before->next;
  }
  return before->next != nullptr ? before : nullptr;
}

// Returns the predecessor of the member of that key, or null if there is none.
MemberTable::Link* MemberTable::FindBefore(const Key& key) {
  if (buckets_ == nullptr) return FindBeforeInList(key);
  const std::size_t bucket = BucketOf(key.hash());
  Link* before = (*buckets_)[bucket];
  if (before == nullptr) return nullptr;
  if (buckets_->index != nullptr) return FindBeforeInIndex(key, before);
  do {
    if (before->next->Has(key)) return before;
    before = before->next;
  } while (IsIn(before->next, bucket));
  return nullptr;
}

MemberTable::Link* MemberTable::FindBeforeInList(const Key& key) {
  Link* before = &head_;
  while (before->next != nullptr && !before->next->Has(key)) {
    before = before->next;
  }
  return before->next != nullptr ? before : nullptr;
}

// The same for the chain behind the link.
MemberTable::Link* MemberTable::FindBeforeInIndex(const Key& key, Link* chain) {
  if (chain->next->Has(key)) return chain;
  const Index::Entry* const entry = buckets_->index->Find(key);
  return entry != nullptr ? entry->before : nullptr;
}

MemberTable::Handle MemberTable::take(const Key& key) {
  Link* const before = FindBefore(key);
  if (before == nullptr) return nullptr;
  if (IsIndexed()) RemoveFromIndex(before);
  Handle node(before->next);
  Unlink(before);
  --count_;
  return node;
}

void MemberTable::Unlink(Link* before) {
  Node* const node = before->next;
  Node* const next = node->next();
  before->next = next;
  if (buckets_ == nullptr) return;
  const std::size_t bucket = BucketOf(node);
  if (IsIn(next, bucket)) return;
  if (next != nullptr) (*buckets_)[BucketOf(next)] = before;
  if ((*buckets_)[bucket] == before) (*buckets_)[bucket] = nullptr;
}

void MemberTable::put(Handle& node) {
  std::size_t bucket = BucketOf(node.get());
  Link* before = BeforeBucket(bucket);
  const bool full = before != nullptr && IsFull(before, *node);
  if (count_ >= bucket_count_) {  // more where putBack() filled it
    Grow(*node, full);
    bucket = BucketOf(node.get());
    before = BeforeBucket(bucket);
  } else if (full) {
    AddIndex();
  }
  LinkIn(node.release(), bucket, before);
  ++count_;
}

// The chain had room for the member when it was put in. A value whose disposal
// added members may have taken that room; put() then grows the table.
void MemberTable::putBack(Handle node) {
  const std::size_t bucket = BucketOf(node.get());
  LinkIn(node.release(), bucket, BeforeBucket(bucket));
  ++count_;
}

// Inserts the node into the list behind before, the predecessor of the bucket's
// first member, or at the front if the bucket is empty.
void MemberTable::LinkIn(Node* node, std::size_t bucket, Link* before) {
  if (before == nullptr) {
    before = &head_;
    if (buckets_ != nullptr) {
      if (head_.next != nullptr) (*buckets_)[BucketOf(head_.next)] = node;
      (*buckets_)[bucket] = before;
    }
  } else if (IsIndexed()) {
    buckets_->index->Add(*before->next, node);
  }
  node->Link::next = before->next;
  before->next = node;
}

// Takes the number of buckets that the standard map takes for one more member,
// and relinks the members in their order. All that may fail is done before the
// order changes.
void MemberTable::Grow(const Node& added, bool full) {
  std::__detail::_Prime_rehash_policy policy;
  const std::size_t count =
      policy._M_need_rehash(bucket_count_, count_, 1).second;
  BucketsOwner buckets = Buckets::Make(count);
  const bool crowded = buckets_ != nullptr && buckets_->crowded;
  if (crowded || full || WillBeLong(*buckets, added)) {
    // If AddIndex() throws, the next attempt does not count again.
    if (buckets_ != nullptr) buckets_->crowded = true;
    buckets->AddIndex();
  }
  Replace(buckets);
  Relink();
}

void MemberTable::Replace(BucketsOwner& buckets) {
  BucketsOwner(std::exchange(buckets_, buckets.release())).reset();
  // The allocator has refused more than this can count.
  bucket_count_ = static_cast<unsigned int>(buckets_->count);
}

void MemberTable::Relink() {
  buckets_->Clear();
  Node* node = std::exchange(head_.next, nullptr);
  while (node != nullptr) {
    Node* const next = node->next();
    const std::size_t bucket = BucketOf(node);
    LinkIn(node, bucket, (*buckets_)[bucket]);
    node = next;
  }
}

void MemberTable::clear() {
  if (buckets_ != nullptr) {
    buckets_->index.reset();
    buckets_->crowded = false;
    buckets_->Clear();
  }
  while (head_.next != nullptr) {
    const Handle node(head_.next);
    head_.next = node->next();
  }
  count_ = 0;
}

// The index of the table ------------------------------------------------------

// Whether the chain takes no more member of that hash without an index.
bool MemberTable::IsFull(const Link* chain, const Node& added) const {
  const Node* node = chain->next;
  if (count_ < kLongChain && node->hash_ != added.hash_) return false;
  if (IsIndexed()) return false;
  const std::size_t bucket = BucketOf(node);
  unsigned int length = 0, same = 0;
  for (; IsIn(node, bucket); node = node->next()) {
    if (node->hash_ == added.hash_) ++same;
    ++length;
  }
  return length >= kLongChain || same >= kMostOfOneHash;
}

// Whether a chain becomes long when the members and the added one are in these
// buckets. Counts in the buckets.
bool MemberTable::WillBeLong(Buckets& buckets, const Node& added) const {
  Buckets::Bucket none;
  none.length = 0;
  std::fill_n(buckets.begin(), buckets.count, none);
  const auto count = [&buckets](const Node& node) {
    return ++buckets.begin()[node.hash_ % buckets.count].length;
  };
  for (const Node* node = first(); node != nullptr; node = node->next()) {
    if (count(*node) > kLongChain) return true;
  }
  return count(added) > kLongChain;
}

// Puts all members into an index, and into new buckets of the same number: the
// few members of a table that has none yet have no buckets.
void MemberTable::AddIndex() {
  BucketsOwner buckets = Buckets::Make(bucket_count_);
  buckets->AddIndex();
  buckets->Clear();
  std::size_t former = bucket_count_;  // none
  Link* before = &head_;
  for (Node* node = first(); node != nullptr; node = node->next()) {
    const std::size_t bucket = BucketOf(node);
    if (bucket != former) {
      (*buckets)[bucket] = before;
    } else {
      buckets->index->Add(*node, before);
    }
    former = bucket;
    before = node;
  }
  Replace(buckets);
}

// Before the member behind the link is removed.
void MemberTable::RemoveFromIndex(Link* before) {
  Index& index = *buckets_->index;
  const Node* const node = before->next;
  const std::size_t bucket = BucketOf(node);
  const bool first = (*buckets_)[bucket] == before;
  if (!first) index.Remove(index.Find(Key(*node)));
  if (!IsIn(node->next(), bucket)) return;
  Index::Entry* const next = index.Find(Key(*node->next()));
  if (first) {
    index.Remove(next);
  } else {
    next->before = before;
  }
}

}  // namespace vorn::foundation::json

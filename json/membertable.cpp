// Keys and nodes, the table, then the index of long chains.

#include "membertable.h"

#include <bits/functional_hash.h>
#include <algorithm>
#include <map>
#include <new>
#include <unordered_map>
#include <utility>

namespace vorn::foundation::json {

namespace {

using debug::Allocator;

// The standard library's hash of strings, with its seed: it decides the order,
// and std::hash knows no strings of our allocator.
constexpr std::size_t kSeed = 0xc70f6907U;

// Another seed, for the order of the index: what shares one hash hardly ever
// shares the other.
constexpr std::size_t kIndexSeed = 0x9e3779b9U;

// A chain of more members than this is indexed. By chance such a chain comes
// about once in a million buckets.
constexpr unsigned int kLongChain = 8;

using Node = MemberTable::Node;

std::size_t Hash(std::string_view text, std::size_t seed) {
  return std::_Hash_bytes(text.data(), text.size(), seed);
}

std::size_t SizeOfNode(std::size_t length) { return sizeof(Node) + length; }

}  // namespace

// Keys and nodes --------------------------------------------------------------

MemberTable::Key::Key(std::string_view text)
    : text_(text), hash_(Hash(text, kSeed)) {}

MemberTable::Handle MemberTable::Make(const Key& key) {
  const std::string_view text = key.text();
  char* block = Allocator<char>().allocate(SizeOfNode(text.size()));
  Handle node(::new (static_cast<void*>(block)) Node(key.hash(), text.size()));
  text.copy(block + sizeof(Node), text.size());
  return node;
}

void MemberTable::Release::operator()(Node* node) const {
  const std::size_t size = SizeOfNode(node->length_);
  node->~Node();
  void* block = node;
  Allocator<char>().deallocate(static_cast<char*>(block), size);
}

// Buckets ---------------------------------------------------------------------

// The members of long chains, each with what precedes it in the list; of the
// first member of a chain only the bucket knows that. Either all members of a
// chain are in the index or none.
//
// The members are spread by another hash over ordered maps: who makes keys that
// share that one, too, gains no more than the depth of a balanced tree.
class MemberTable::Index {
 public:
  // Throws std::bad_alloc when memory is exhausted.
  void Add(std::string_view key, Link* before);

  // What precedes the member of that key, to be read or set; null when the
  // member is not in the index. REQUIRES: some member is.
  Link** Find(std::string_view key);

  void Remove(std::string_view key);
  void Clear() { *this = Index(); }

 private:
  using Part = std::map<std::string_view, Link*, std::less<std::string_view>,
                        Allocator<std::pair<const std::string_view, Link*>>>;
  using Parts = std::vector<Part, Allocator<Part>>;

  static constexpr std::size_t kMembersPerPart = 4;  // on average, at most

  static Part& PartOf(std::string_view key, Parts& parts) {
    return parts[Hash(key, kIndexSeed) % parts.size()];
  }
  void Spread();

  Parts parts_;
  std::size_t count_ = 0;
};

void MemberTable::Index::Add(std::string_view key, Link* before) {
  if (count_ >= kMembersPerPart * parts_.size()) Spread();
  PartOf(key, parts_).emplace(key, before);
  ++count_;
}

MemberTable::Link** MemberTable::Index::Find(std::string_view key) {
  Part& part = PartOf(key, parts_);
  const auto found = part.find(key);
  return found != part.end() ? &found->second : nullptr;
}

void MemberTable::Index::Remove(std::string_view key) {
  count_ -= PartOf(key, parts_).erase(key);
}

// Spreads the members over as many maps as there are members.
void MemberTable::Index::Spread() {
  Parts parts(count_ + kLongChain);
  for (Part& part : parts_) {
    while (!part.empty()) {
      auto member = part.extract(part.begin());
      PartOf(member.key(), parts).insert(std::move(member));
    }
  }
  parts_.swap(parts);
}

// The buckets, each with what precedes its first member in the list, or null
// when it is empty. They stand behind the struct in the same block.
struct MemberTable::Buckets {
  Index index;

  Link** begin() { return reinterpret_cast<Link**>(this + 1); }
  Link*& operator[](std::size_t bucket) { return begin()[bucket]; }

  // The size of the block, in pointers.
  static std::size_t Size(std::size_t count) {
    static_assert(sizeof(Buckets) % sizeof(Link*) == 0);
    return sizeof(Buckets) / sizeof(Link*) + count;
  }
};

void MemberTable::ReleaseBuckets() {
  if (buckets_ == nullptr) return;
  buckets_->~Buckets();
  void* block = std::exchange(buckets_, nullptr);
  Allocator<Link*>().deallocate(static_cast<Link**>(block),
                                Buckets::Size(bucket_count_));
}

// The table -------------------------------------------------------------------

MemberTable::~MemberTable() {
  clear();
  ReleaseBuckets();
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

// What precedes the first member of the bucket; null when there is none.
MemberTable::Link* MemberTable::BeforeBucket(std::size_t bucket) {
  if (buckets_ != nullptr) return (*buckets_)[bucket];
  Link* before = &head_;
  while (before->next != nullptr && BucketOf(before->next) != bucket) {
    before = before->next;
  }
  return before->next != nullptr ? before : nullptr;
}

// What precedes the member of that key; null when there is none.
MemberTable::Link* MemberTable::FindBefore(const Key& key) {
  if (buckets_ == nullptr) return FindBeforeInList(key);
  const std::size_t bucket = BucketOf(key.hash());
  Link* before = (*buckets_)[bucket];
  if (before == nullptr) return nullptr;
  if (before->next->indexed_) return FindBeforeInIndex(key, before);
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

// The same for the chain behind the link, which is in the index.
MemberTable::Link* MemberTable::FindBeforeInIndex(const Key& key, Link* chain) {
  if (chain->next->Has(key)) return chain;
  Link** const before = buckets_->index.Find(key.text());
  return before != nullptr ? *before : nullptr;
}

MemberTable::Handle MemberTable::take(const Key& key) {
  Link* const before = FindBefore(key);
  if (before == nullptr) return nullptr;
  Handle node(before->next);
  Unlink(before);
  --count_;
  ForgetRemoved(node.get(), before);
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
  if (count_ == bucket_count_) Grow();
  Node* const added = node.release();
  ++count_;
  if (LinkIn(added) && buckets_ != nullptr) ExtendChain(added);
}

// Gives the node its place in the list. Returns whether its bucket had members.
bool MemberTable::LinkIn(Node* node) {
  const std::size_t bucket = BucketOf(node);
  Link* before = BeforeBucket(bucket);
  const bool chained = before != nullptr;
  if (!chained) {
    before = &head_;
    if (buckets_ != nullptr) {
      if (head_.next != nullptr) (*buckets_)[BucketOf(head_.next)] = node;
      (*buckets_)[bucket] = before;
    }
  }
  node->Link::next = before->next;
  before->next = node;
  return chained;
}

// Takes as many buckets as the policy of the standard map asks for one member
// more, and puts the members in their order into the new buckets.
void MemberTable::Grow() {
  std::__detail::_Prime_rehash_policy policy;
  const std::size_t count =
      policy._M_need_rehash(bucket_count_, count_, 1).second;
  void* block = Allocator<Link*>().allocate(Buckets::Size(count));
  auto* const buckets = ::new (block) Buckets;
  std::fill_n(buckets->begin(), count, nullptr);
  ReleaseBuckets();
  buckets_ = buckets;
  // The allocator has refused more than this can count.
  bucket_count_ = static_cast<unsigned int>(count);
  Relink();
}

void MemberTable::Relink() {
  Node* node = std::exchange(head_.next, nullptr);
  while (node != nullptr) {
    Node* const next = node->next();
    node->indexed_ = false;
    LinkIn(node);
    node = next;
  }
  for (node = head_.next; node != nullptr;) node = IndexIfLong(node);
}

void MemberTable::clear() {
  if (buckets_ != nullptr) {
    buckets_->index.Clear();
    std::fill_n(buckets_->begin(), bucket_count_, nullptr);
  }
  while (head_.next != nullptr) {
    const Handle node(head_.next);
    head_.next = node->next();
  }
  count_ = 0;
}

// The index of long chains ----------------------------------------------------

void MemberTable::AddToIndex(Node* node, Link* before) {
  buckets_->index.Add(node->key(), before);
  node->indexed_ = true;
}

// When the index cannot be kept, whatever the reason.
void MemberTable::DropIndex() {
  buckets_->index.Clear();
  for (Node* node = first(); node != nullptr; node = node->next()) {
    node->indexed_ = false;
  }
}

// After a member was put in front of a chain.
void MemberTable::ExtendChain(Node* node) {
  Node* const second = node->next();
  if (!second->indexed_) {
    IndexIfLong(node);
    return;
  }
  try {
    AddToIndex(node, nullptr);
    *buckets_->index.Find(second->key()) = node;
  } catch (...) {
    DropIndex();
  }
}

// After a member was removed that stood behind the link.
void MemberTable::ForgetRemoved(Node* node, Link* before) {
  if (!node->indexed_) return;
  Index& index = buckets_->index;
  index.Remove(node->key());
  node->indexed_ = false;
  const Node* const next = node->next();
  if (IsIn(next, BucketOf(node))) *index.Find(next->key()) = before;
}

// Indexes the chain that begins with this member if it is long. Returns the
// member behind the chain, or null.
MemberTable::Node* MemberTable::IndexIfLong(Node* first) {
  const std::size_t bucket = BucketOf(first);
  unsigned int length = 0;
  Node* end = first;
  for (; IsIn(end, bucket); end = end->next()) ++length;
  if (length <= kLongChain) return end;
  try {
    Link* before = nullptr;
    for (Node* node = first; node != end; node = node->next()) {
      AddToIndex(node, before);
      before = node;
    }
  } catch (...) {
    DropIndex();
  }
  return end;
}

}  // namespace vorn::foundation::json

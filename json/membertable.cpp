#include "membertable.h"

#include <bits/functional_hash.h>
#include <cstring>
#include <limits>
#include <new>
#include <unordered_map>
#include <utility>

namespace vorn::foundation::json {

namespace {

using debug::Allocator;

// The standard library's hash of strings, with its seed: it decides the order,
// and std::hash knows no strings of our allocator.
constexpr std::size_t kSeed = 0xc70f6907U;

// With up to this many buckets the list is searched from its front.
constexpr unsigned int kFewBuckets = 16;

std::size_t NodeSize(std::size_t length) {
  return sizeof(MemberTable::Node) + length;
}

}  // namespace

// Keys and nodes --------------------------------------------------------------

MemberTable::Key::Key(std::string_view text)
    : text_(text), hash_(std::_Hash_bytes(text.data(), text.size(), kSeed)) {}

MemberTable::Handle MemberTable::Make(const Key& key) {
  const std::string_view text = key.text();
  // The allocator refuses any block that the count of an int cannot hold.
  constexpr std::size_t kLongest =
      std::numeric_limits<unsigned int>::max() - sizeof(Node);
  if (text.size() > kLongest) throw std::bad_alloc();
  char* block = Allocator<char>().allocate(NodeSize(text.size()));
  Handle node(::new (static_cast<void*>(block))
                  Node(key.hash(), static_cast<unsigned int>(text.size())));
  text.copy(block + sizeof(Node), text.size());
  return node;
}

void MemberTable::Release::operator()(Node* node) const {
  const std::size_t size = NodeSize(node->length_);
  node->~Node();
  void* block = node;
  Allocator<char>().deallocate(static_cast<char*>(block), size);
}

// The table -------------------------------------------------------------------

MemberTable::~MemberTable() {
  clear();
  if (buckets_ != nullptr) {
    Allocator<Link*>().deallocate(buckets_, bucket_count_);
  }
}

std::vector<SafeString, debug::Allocator<SafeString>> MemberTable::keys()
    const {
  std::vector<SafeString, debug::Allocator<SafeString>> keys;
  keys.reserve(count_);
  for (const Node* node = first(); node != nullptr; node = node->next()) {
    keys.emplace_back(node->key());
  }
  return keys;
}

MemberTable::Node* MemberTable::find(const Key& key) const {
  const Link* before = const_cast<MemberTable*>(this)->FindBefore(key);
  return before != nullptr ? before->next : nullptr;
}

// What precedes the first member of the bucket; null when there is none.
MemberTable::Link* MemberTable::BeforeBucket(std::size_t bucket) {
  if (buckets_ != nullptr) return buckets_[bucket];
  Link* before = &head_;
  while (before->next != nullptr && BucketOf(before->next) != bucket) {
    before = before->next;
  }
  return before->next != nullptr ? before : nullptr;
}

// What precedes the member of that key; null when there is none.
MemberTable::Link* MemberTable::FindBefore(const Key& key) {
  Link* before = &head_;
  if (buckets_ == nullptr) {
    while (before->next != nullptr && !before->next->Has(key)) {
      before = before->next;
    }
    return before->next != nullptr ? before : nullptr;
  }
  const std::size_t bucket = key.hash() % bucket_count_;
  before = buckets_[bucket];
  if (before == nullptr) return nullptr;
  while (!before->next->Has(key)) {
    before = before->next;
    if (before->next == nullptr || BucketOf(before->next) != bucket) {
      return nullptr;
    }
  }
  return before;
}

MemberTable::Handle MemberTable::take(const Key& key) {
  Link* const before = FindBefore(key);
  if (before == nullptr) return nullptr;
  Handle node(before->next);
  Node* const next = node->next();
  if (buckets_ != nullptr) {
    const std::size_t bucket = BucketOf(node.get());
    const bool last = next == nullptr || BucketOf(next) != bucket;
    if (last && next != nullptr) buckets_[BucketOf(next)] = before;
    if (last && buckets_[bucket] == before) buckets_[bucket] = nullptr;
  }
  before->next = next;
  --count_;
  return node;
}

MemberTable::Node* MemberTable::put(Handle node) {
  // The policy asks for buckets before the first member and when there are as
  // many members as buckets.
  if (bucket_count_ == 1 || count_ >= bucket_count_) Grow();
  LinkIn(node.get());
  ++count_;
  return node.release();
}

// Gives the node, whose bucket is known from its hash, its place in the list.
void MemberTable::LinkIn(Node* node) {
  const std::size_t bucket = BucketOf(node);
  Link* before = BeforeBucket(bucket);
  if (before == nullptr) {
    before = &head_;
    if (buckets_ != nullptr) {
      if (head_.next != nullptr) buckets_[BucketOf(head_.next)] = node;
      buckets_[bucket] = before;
    }
  }
  node->Link::next = before->next;
  before->next = node;
}

// Takes as many buckets as the policy of the standard map asks for one member
// more, and puts the members in their order into the new buckets.
void MemberTable::Grow() {
  std::__detail::_Prime_rehash_policy policy;
  policy._M_next_resize = bucket_count_ == 1 ? 0 : bucket_count_;
  const std::size_t wanted =
      policy._M_need_rehash(bucket_count_, count_, 1).second;
  if (wanted > std::numeric_limits<unsigned int>::max()) throw std::bad_alloc();
  Link** buckets = nullptr;
  if (wanted > kFewBuckets) {
    buckets = Allocator<Link*>().allocate(wanted);
    std::memset(buckets, 0, wanted * sizeof(Link*));
  }
  if (buckets_ != nullptr) {
    Allocator<Link*>().deallocate(buckets_, bucket_count_);
  }
  buckets_ = buckets;
  bucket_count_ = static_cast<unsigned int>(wanted);
  Node* node = std::exchange(head_.next, nullptr);
  while (node != nullptr) {
    Node* const next = node->next();
    LinkIn(node);
    node = next;
  }
}

void MemberTable::clear() {
  while (head_.next != nullptr) {
    const Handle node(head_.next);
    head_.next = node->next();
  }
  count_ = 0;
  if (buckets_ != nullptr) {
    std::memset(buckets_, 0, bucket_count_ * sizeof(Link*));
  }
}

}  // namespace vorn::foundation::json

#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include <foundation/debug/allocator.h>
#include <foundation/text/safestring.h>

#include "sametext.h"

namespace vorn::foundation::json {

// The members of an object or an object archiver: a table from unique keys to
// values. The table enumerates the members in exactly the order of
// std::unordered_map of the GNU standard library. It owns keys and nodes, in
// memory of the tracked allocator. The user of the table owns the values.
//
// As in that map, the members form one forward list. The members of a bucket
// are consecutive and form its chain. A new member is inserted in front of the
// first one of its bucket, or at the front of the list if its bucket is empty.
// A small table has no buckets: the list is searched.
//
// The hash is public, so anybody can make keys of one bucket. Before a chain
// grows long, the table gets an index with a secret hash. If there is no memory
// for the index, the member that needs it is refused.
class MemberTable {
 public:
  class Node;

  // A key together with its hash, so that one hash serves several operations.
  // Does not own the text.
  class Key {
   public:
    explicit Key(std::string_view text);
    explicit Key(const Node& node);

    std::string_view text() const { return text_; }
    std::size_t hash() const { return hash_; }

   private:
    std::string_view text_;
    std::size_t hash_;
  };

  // The predecessor of a node: another node, or the head of the table.
  struct Link {
    Node* next = nullptr;
  };

  // One member. The bytes of its key follow it in the same block.
  class Node : private Link {
   public:
    // Returns the next member in the order of enumeration, or null. The table
    // keeps ownership.
    Node* next() const { return Link::next; }

    std::string_view key() const { return {KeyBytes(), length_}; }

    bool Has(const Key& key) const {
      return hash_ == key.hash() && SameText(this->key(), key.text());
    }

    void* value = nullptr;

   private:
    friend class MemberTable;
    friend class Key;

    // No text takes up more than half of the address space.
    static constexpr std::size_t kLongestKey = ~std::size_t{0} >> 1;

    Node(std::size_t hash, std::size_t length, bool shared)
        : hash_(hash), length_(length & kLongestKey), shared_(shared) {}

    const char* KeyBytes() const {
      return reinterpret_cast<const char*>(this + 1);
    }

    std::size_t hash_;
    std::size_t length_ : std::numeric_limits<std::size_t>::digits - 1;
    std::size_t shared_ : 1;  // whether it is in the block of a batch
  };

  struct Release {
    void operator()(Node* node) const;
  };

  // Owns a node that is in no table.
  using Handle = std::unique_ptr<Node, Release>;

  MemberTable() = default;
  MemberTable(const MemberTable&) = delete;
  MemberTable& operator=(const MemberTable&) = delete;
  ~MemberTable();

  // Returns the first member in the order of enumeration, or null. The table
  // keeps ownership.
  Node* first() const { return head_.next; }

  unsigned int size() const { return count_; }

  // Returns copies of all keys, in the order of enumeration.
  std::vector<SafeString, debug::Allocator<SafeString>> keys() const;

  // Returns the member of that key, or null. The table keeps ownership; valid
  // until the member is taken out or the table is cleared or destroyed.
  Node* find(const Key& key) const;

  // Removes the member of that key and returns it, or null if there is none.
  // The order of the others stays.
  Handle take(const Key& key);

  // Returns a node with a copy of the key and a null value. Throws
  // std::bad_alloc when memory is exhausted.
  static Handle Make(const Key& key);

  // Makes several nodes in one block. Each node is released separately. The
  // block is released with its last node, if the batch has finished the block.
  class Batch {
   public:
    // The largest block, in bytes: about 16 nodes. One remaining node keeps the
    // whole block.
    static constexpr std::size_t kLargest = 960;

    // Returns the bytes that a node of the key takes of a block.
    static std::size_t SizeOf(std::string_view key);

    Batch() = default;
    Batch(const Batch&) = delete;
    Batch& operator=(const Batch&) = delete;
    ~Batch() { Finish(); }

    // Starts a new block for nodes of that total size. Throws std::bad_alloc
    // when memory is exhausted.
    void Start(std::size_t size);

    // Makes a node in the block or, if the block has no room, in a block of its
    // own. Throws as MemberTable::Make() does.
    Handle Make(const Key& key);

    // Makes a node with the key of the member. If the block is full, first
    // starts a block for this member and those behind it.
    Handle MakeLike(const Node& member);

   private:
    friend struct Release;
    struct Head;

    static void Drop(Head* head);
    void Finish();

    Head* head_ = nullptr;  // of the block; the batch is one of its users
    char* next_ = nullptr;  // the place of the next node
    std::size_t left_ = 0;  // bytes of room in the block
  };

  // Inserts the node and takes ownership of it. Throws std::bad_alloc when
  // memory is exhausted, and then changes nothing. REQUIRES: no member has its
  // key.
  void put(Handle& node);

  // Inserts a node that was taken from this table. Needs no memory. REQUIRES:
  // the table has not grown since, and no member has its key.
  void putBack(Handle node);

  // Removes all members. The buckets and their memory stay.
  void clear();

 private:
  // The number of buckets of an empty map. A table with so few does not store
  // them: it searches the list from the front.
  static constexpr unsigned int kFirstBuckets = 13;

  class Index;
  struct Buckets;
  struct ReleaseBuckets {
    void operator()(Buckets* buckets) const;
  };
  using BucketsOwner = std::unique_ptr<Buckets, ReleaseBuckets>;

  // A division by a constant is much faster on small devices.
  std::size_t BucketOf(std::size_t hash) const {
    return buckets_ == nullptr ? hash % kFirstBuckets : hash % bucket_count_;
  }
  std::size_t BucketOf(const Node* node) const { return BucketOf(node->hash_); }
  bool IsIn(const Node* node, std::size_t bucket) const {
    return node != nullptr && BucketOf(node) == bucket;
  }

  bool IsIndexed() const;

  Link* BeforeBucket(std::size_t bucket);
  Link* FindBefore(const Key& key);
  Link* FindBeforeInList(const Key& key);
  Link* FindBeforeInIndex(const Key& key, Link* chain);

  void LinkIn(Node* node, std::size_t bucket, Link* before);
  void Unlink(Link* before);
  void Grow(const Node& added, bool full);
  void Replace(BucketsOwner& buckets);
  void Relink();

  bool IsFull(const Link* chain, const Node& added) const;
  bool WillBeLong(Buckets& buckets, const Node& added) const;
  void AddIndex();
  void RemoveFromIndex(Link* before);

  Link head_;
  Buckets* buckets_ = nullptr;  // owned; none before the table has grown
  unsigned int count_ = 0;
  unsigned int bucket_count_ = kFirstBuckets;
};

inline MemberTable::Key::Key(const Node& node)
    : text_(node.key()), hash_(node.hash_) {}

}  // namespace vorn::foundation::json

// A node of the hash table: one entry, or an empty bucket. What follows the header in memory is the
// entry itself, or a pointer to a separate copy when it is larger than the table's inline size.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace qv {

struct HashNode {
  static constexpr uint8_t kLive = 0x01;   // holds an entry
  static constexpr uint8_t kMoved = 0x02;  // its entry now belongs to a node elsewhere

  HashNode* next;  // in the chain of its bucket
  uint64_t hash;   // as the hash function gave it at insertion
  uint32_t size;   // of the entry, bytes
  uint8_t flags;

  bool IsLive() const { return (flags & kLive) != 0; }
};
static_assert(sizeof(HashNode) == 24, "entries begin at a multiple of 8");

// The sizes that all nodes of one table share, and the access to what they hold.
class NodeShape {
 public:
  explicit NodeShape(uint32_t inline_size);

  uint32_t inline_size() const { return inline_size_; }
  // Bytes of a node, a multiple of 8; 0 when no address space could hold one.
  size_t node_size() const { return node_size_; }
  bool IsInline(uint32_t size) const { return size <= inline_size_; }

  const void* Entry(const HashNode* node) const {
    return IsInline(node->size) ? node + 1 : Copy(node);
  }
  // Takes over `copy` for an entry that is not inline; otherwise copies the entry's bytes.
  void Store(HashNode* node, const void* entry, uint32_t size, void* copy) const;
  // Frees the separate copy, if the node has one that belongs to it.
  void ReleaseEntry(HashNode* node) const;
  // Makes `to` hold the entry of `from`, which is marked moved. The chain of `to` stays.
  void HandOver(HashNode* from, HashNode* to) const;

 private:
  static void* Copy(const HashNode* node) {
    void* copy;
    std::memcpy(&copy, node + 1, sizeof copy);
    return copy;
  }

  uint32_t inline_size_;
  size_t node_size_;
};

// The nodes of a table that are not heads of buckets, from blocks that go only with the table. A
// node costs no allocation of its own, and one that comes back is the next to be used.
class NodePool {
 public:
  NodePool() = default;
  ~NodePool();
  NodePool(const NodePool&) = delete;
  NodePool& operator=(const NodePool&) = delete;

  // Null when there is no memory. The node's bytes are undefined.
  HashNode* Take(size_t node_size);
  void Put(HashNode* node);
  // Nodes that were taken and are not back.
  uint64_t in_use() const { return in_use_; }

 private:
  struct Block {
    Block* next;
  };
  bool AddBlock(size_t node_size);

  Block* blocks_ = nullptr;
  HashNode* free_ = nullptr;
  char* fresh_ = nullptr;  // nodes of the newest block that were never used
  uint32_t fresh_count_ = 0;
  uint32_t block_nodes_ = 0;  // nodes of the newest block
  uint64_t in_use_ = 0;
};

}  // namespace qv

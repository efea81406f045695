#include "containers/hash_node.h"

#include <algorithm>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr size_t kAlignment = 8;
constexpr size_t kBlockHeader = 16;   // keeps the nodes behind it aligned
constexpr uint32_t kFirstBlock = 8;   // nodes; a table of few entries stays small
constexpr size_t kFullBlock = 16384;  // bytes; blocks double until they are so large

}  // namespace

NodeShape::NodeShape(uint32_t inline_size) : inline_size_(inline_size) {
  const uint64_t data = std::max<uint64_t>(inline_size, sizeof(void*));
  const uint64_t size = sizeof(HashNode) + (data + kAlignment - 1) / kAlignment * kAlignment;
  node_size_ = size > SIZE_MAX / 2 ? 0 : static_cast<size_t>(size);
}

void NodeShape::Store(HashNode* node, const void* entry, uint32_t size, void* copy) const {
  node->size = size;
  if (!IsInline(size)) {
    std::memcpy(node + 1, &copy, sizeof copy);
  } else if (size > 0) {
    std::memmove(node + 1, entry, size);  // a caller may store an entry over itself
  }
}

void NodeShape::ReleaseEntry(HashNode* node) const {
  if (!IsInline(node->size) && (node->flags & HashNode::kMoved) == 0) {
    GlobalHooks().release(Copy(node));
  }
}

void NodeShape::HandOver(HashNode* from, HashNode* to) const {
  to->hash = from->hash;
  to->size = from->size;
  to->flags = HashNode::kLive;
  std::memcpy(to + 1, from + 1, IsInline(from->size) ? from->size : sizeof(void*));
  from->flags |= HashNode::kMoved;
}

NodePool::~NodePool() {
  while (blocks_ != nullptr) {
    Block* block = blocks_;
    blocks_ = block->next;
    GlobalHooks().release(block);
  }
}

bool NodePool::AddBlock(size_t node_size) {
  const size_t most = std::max<size_t>(kFullBlock / node_size, 1);
  const uint32_t wanted = block_nodes_ == 0 ? kFirstBlock : block_nodes_ * 2;
  const auto nodes = static_cast<uint32_t>(std::min<size_t>(wanted, most));
  void* memory = GlobalHooks().allocate(kBlockHeader + nodes * node_size);
  if (memory == nullptr) return false;
  auto* block = static_cast<Block*>(memory);
  block->next = blocks_;
  blocks_ = block;
  fresh_ = static_cast<char*>(memory) + kBlockHeader;
  fresh_count_ = nodes;
  block_nodes_ = nodes;
  return true;
}

HashNode* NodePool::Take(size_t node_size) {
  HashNode* node = free_;
  if (node != nullptr) {
    free_ = node->next;
  } else {
    if (fresh_count_ == 0 && !AddBlock(node_size)) return nullptr;
    node = reinterpret_cast<HashNode*>(fresh_);
    fresh_ += node_size;
    --fresh_count_;
  }
  ++in_use_;
  return node;
}

void NodePool::Put(HashNode* node) {
  node->next = free_;
  free_ = node;
  --in_use_;
}

}  // namespace qv

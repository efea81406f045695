#include "base/buffer_pool.h"

#include <utility>

#include "base/hooks.h"

namespace qv {

BufferPool::~BufferPool() {
  FreeAll();
  // Also seen by who comes too late: the compiler may not leave the store out.
  *const_cast<volatile uint32_t*>(&magic_) = 0;
}

char* BufferPool::Get(uint32_t* index) {
  if (index == nullptr) return nullptr;
  *index = kNoBufferIndex;
  if (!IsAlive()) return nullptr;
  ScopedLock hold(lock_);
  return Take(index);
}

void BufferPool::Put(uint32_t* index) {
  if (index == nullptr || !IsAlive()) return;
  ScopedLock hold(lock_);
  GiveBack(*index);
}

BufferPool::Figures BufferPool::GetFigures() {
  ScopedLock hold(lock_);
  return {capacity_, free_};
}

void BufferPool::FreeUnused() {
  ScopedLock hold(lock_);
  for (Chunk* chunk = chunks_; chunk != nullptr; chunk = chunk->next) {
    for (Entry& entry : chunk->entries) {
      if (!entry.in_use) GlobalHooks().release(std::exchange(entry.data, nullptr));
    }
  }
  if (free_ != capacity_) return;
  while (chunks_ != nullptr) GlobalHooks().release(std::exchange(chunks_, chunks_->next));
  capacity_ = free_ = first_candidate_ = 0;
}

void BufferPool::FreeAll() {
  ScopedLock hold(lock_);
  for (uint32_t index = 0; index < capacity_; ++index) GiveBack(index);
  FreeUnused();
}

// --- all below: with the lock held ---

// The entry of a valid index, else null.
BufferPool::Entry* BufferPool::EntryAt(uint32_t index) {
  if (index >= capacity_) return nullptr;
  Chunk* chunk = chunks_;
  for (; index >= kGrowth; index -= kGrowth) chunk = chunk->next;
  return &chunk->entries[index];
}

bool BufferPool::Grow() {
  auto* chunk = static_cast<Chunk*>(GlobalHooks().allocate(sizeof(Chunk)));
  if (chunk == nullptr) return false;
  *chunk = {};
  Chunk** end = &chunks_;
  while (*end != nullptr) end = &(*end)->next;
  *end = chunk;
  capacity_ += kGrowth;
  free_ += kGrowth;
  return true;
}

// The index of the first free entry; there is one.
uint32_t BufferPool::FirstFree() {
  uint32_t index = first_candidate_;
  while (EntryAt(index)->in_use) ++index;
  first_candidate_ = index;
  return index;
}

char* BufferPool::Take(uint32_t* index) {
  if (free_ == 0 && !Grow()) return nullptr;
  const uint32_t found = FirstFree();
  Entry& entry = *EntryAt(found);
  if (entry.data == nullptr) {
    entry.data = static_cast<char*>(GlobalHooks().allocate(element_size_));
    if (entry.data == nullptr) return nullptr;
  }
  entry.in_use = 1;
  --free_;
  ++first_candidate_;
  *index = found;
  return entry.data;
}

void BufferPool::GiveBack(uint32_t index) {
  Entry* entry = EntryAt(index);
  if (entry == nullptr || !entry->in_use) return;
  entry->in_use = 0;
  ++free_;
  if (index < first_candidate_) first_candidate_ = index;
}

}  // namespace qv

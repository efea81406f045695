#include "base/buffer_pool.h"

#include <cstring>
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
  Entry* entry = TakeEntry(index);
  while (entry == nullptr) {
    if (!Grow()) return nullptr;
    entry = TakeEntry(index);
  }
  if (entry->data == nullptr) {
    entry->data = static_cast<char*>(GlobalHooks().allocate(element_size_));
  }
  char* data = entry->data;
  if (data == nullptr) {
    Put(index);
    *index = kNoBufferIndex;
  }
  return data;
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
  char* buffers;
  Chunk* chunks;
  {
    ScopedLock hold(lock_);
    buffers = UnlinkFreeBuffers();
    chunks = UnlinkTable();
  }
  while (buffers != nullptr) {
    char* next;
    std::memcpy(&next, buffers, sizeof next);
    GlobalHooks().release(std::exchange(buffers, next));
  }
  while (chunks != nullptr) GlobalHooks().release(std::exchange(chunks, chunks->next));
}

void BufferPool::FreeAll() {
  {
    ScopedLock hold(lock_);
    for (uint32_t index = 0; index < capacity_; ++index) GiveBack(index);
  }
  FreeUnused();
}

// Adds entries, unless another thread has just given one back or added some. False without memory.
bool BufferPool::Grow() {
  auto* chunk = static_cast<Chunk*>(GlobalHooks().allocate(sizeof(Chunk)));
  if (chunk == nullptr) return false;
  *chunk = {};
  {
    ScopedLock hold(lock_);
    if (free_ == 0) {
      Chunk** end = &chunks_;
      while (*end != nullptr) end = &(*end)->next;
      *end = std::exchange(chunk, nullptr);
      capacity_ += kGrowth;
      free_ += kGrowth;
    }
  }
  GlobalHooks().release(chunk);
  return true;
}

// Takes the first free entry, null when there is none.
BufferPool::Entry* BufferPool::TakeEntry(uint32_t* index) {
  ScopedLock hold(lock_);
  if (free_ == 0) return nullptr;
  while (EntryAt(first_candidate_)->in_use) ++first_candidate_;
  *index = first_candidate_++;
  --free_;
  Entry* entry = EntryAt(*index);
  entry->in_use = 1;
  return entry;
}

// --- all below: with the lock held ---

// The entry of a valid index, else null.
BufferPool::Entry* BufferPool::EntryAt(uint32_t index) {
  if (index >= capacity_) return nullptr;
  Chunk* chunk = chunks_;
  for (; index >= kGrowth; index -= kGrowth) chunk = chunk->next;
  return &chunk->entries[index];
}

// Takes the buffers that are not in use out of the table, chained through their first bytes.
char* BufferPool::UnlinkFreeBuffers() {
  char* chain = nullptr;
  for (Chunk* chunk = chunks_; chunk != nullptr; chunk = chunk->next) {
    for (Entry& entry : chunk->entries) {
      if (entry.in_use || entry.data == nullptr) continue;
      std::memcpy(entry.data, &chain, sizeof chain);
      chain = std::exchange(entry.data, nullptr);
    }
  }
  return chain;
}

// Takes the table away when no entry is in use; else null.
BufferPool::Chunk* BufferPool::UnlinkTable() {
  if (free_ != capacity_) return nullptr;
  capacity_ = free_ = first_candidate_ = 0;
  return std::exchange(chunks_, nullptr);
}

void BufferPool::GiveBack(uint32_t index) {
  Entry* entry = EntryAt(index);
  if (entry == nullptr || !entry->in_use) return;
  entry->in_use = 0;
  ++free_;
  if (index < first_candidate_) first_candidate_ = index;
}

}  // namespace qv

// Random operations on handles beside a simple model of them; the table is checked after each.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "memory/handle_bytes.h"
#include "memory/handles.h"
#include "tests/memory/memory_fixture.h"

namespace {

using test::World;

struct ModelHandle {
  std::string bytes;
  int locks = 0;
  bool purgeable = false, purged = false;
};

// What the table does, said with a map and two lists.
class Model {
 public:
  std::map<ZRHandle, ModelHandle> live;
  std::vector<ZRHandle> dead;  // once live, or never

  ZRHandle Make(std::string bytes) {
    if (free_.empty()) {
      for (uint32_t i = 2340; i > 0; --i) free_.push_back(entries_ + i - 1);
      entries_ += 2340;
    }
    const ZRHandle handle = 0x50000000u | stamp_ << 20 | free_.back();
    free_.pop_back();
    stamp_ = (stamp_ + 1) % 256;
    std::erase(dead, handle);  // a stale number that is live again
    live[handle].bytes = std::move(bytes);
    return handle;
  }
  void Dispose(ZRHandle handle) {
    free_.push_back(handle & 0xFFFFF);
    live.erase(handle);
    dead.push_back(handle);
  }
  uint32_t Purge() {
    uint32_t total = 0;
    for (auto& [handle, item] : live) {
      if (!item.purgeable || item.purged || item.locks > 0) continue;
      item.purged = true;
      total += static_cast<uint32_t>(item.bytes.size());
    }
    return total;
  }

 private:
  std::vector<uint32_t> free_;
  uint32_t entries_ = 0, stamp_ = 0;
};

class HandleModelTest : public test::MemoryTest {
 protected:
  HandleModelTest() { UseSettings("HeapTracebacks=0\r\nHeapLocks=0\r\n"); }

  void Step();

  uint32_t Below(uint32_t limit) { return static_cast<uint32_t>(random_() % limit); }
  std::string RandomBytes(uint32_t limit) {
    std::string bytes(Below(4) == 0 ? 0 : Below(limit), '\0');
    for (char& byte : bytes) byte = static_cast<char>(random_());
    return bytes;
  }
  // A live handle, rarely another number.
  ZRHandle Pick() {
    if (model_.live.empty() || Below(12) == 0) {
      return Below(4) == 0 ? static_cast<ZRHandle>(random_())
                           : model_.dead[Below(static_cast<uint32_t>(model_.dead.size()))];
    }
    return std::next(model_.live.begin(), Below(static_cast<uint32_t>(model_.live.size())))->first;
  }
  ModelHandle* Find(ZRHandle handle) {
    auto found = model_.live.find(handle);
    return found == model_.live.end() ? nullptr : &found->second;
  }
  static uint32_t Size(const std::string& bytes) { return static_cast<uint32_t>(bytes.size()); }

  // What a size change answers; 0 when it is carried out.
  static ZRError ResizeError(const ModelHandle* item) {
    return item == nullptr ? ZRErrMemHandle : item->locks > 0 ? ZRErrMemLocked : 0;
  }

  void Make(ZRHandle, ModelHandle*);
  void Copy(ZRHandle handle, ModelHandle* item);
  void Dispose(ZRHandle handle, ModelHandle* item);
  void Lock(ZRHandle handle, ModelHandle* item);
  void Unlock(ZRHandle handle, ModelHandle* item);
  void Resize(ZRHandle handle, ModelHandle* item);
  void Set(ZRHandle handle, ModelHandle* item);
  void Append(ZRHandle handle, ModelHandle* item);
  void Delete(ZRHandle handle, ModelHandle* item);
  void Mark(ZRHandle handle, ModelHandle* item);
  void Purge(ZRHandle, ModelHandle*);
  void CompareBytes(ZRHandle handle, const ModelHandle& item);

  std::mt19937 random_{20};
  Model model_;
  size_t live_limit_ = 60;   // few handles in many states, later many handles
  bool complained_ = false;  // the step just made is one that is reported
};

void HandleModelTest::Make(ZRHandle, ModelHandle*) {
  const std::string bytes = RandomBytes(200);
  ZRHandle handle = 0;
  FailAllocation(Below(10) == 0 && !bytes.empty() ? 1 : 0);
  const ZRError error = ZRHandleFromBytes(bytes.data(), &handle, Size(bytes));
  if (World().failing == 1) {
    ASSERT_EQ(error, ZRErrMemFull);
  } else {
    ASSERT_EQ(error, 0);
    ASSERT_EQ(handle, model_.Make(bytes));
  }
  FailAllocation(0);
}

void HandleModelTest::Copy(ZRHandle handle, ModelHandle* item) {
  complained_ = handle != 0 && (item == nullptr || item->purged);
  const ZRHandle copy = ZRCopyHandle(handle);
  const bool possible = item != nullptr && !item->purged;
  ASSERT_EQ(copy, possible ? model_.Make(item->bytes) : 0);
}

void HandleModelTest::Dispose(ZRHandle handle, ModelHandle* item) {
  complained_ = handle != 0 && item == nullptr;
  ZRHandle variable = handle;
  ZRDisposeHandle(&variable);
  ASSERT_EQ(variable, item == nullptr ? handle : 0);
  if (item != nullptr) model_.Dispose(handle);
}

void HandleModelTest::Lock(ZRHandle handle, ModelHandle* item) {
  complained_ = handle != 0 && (item == nullptr || item->purged);
  void* block = ZRLockHandle(handle);
  ASSERT_EQ(block != nullptr, item != nullptr && !item->purged);
  if (block == nullptr) return;
  ++item->locks;
  ASSERT_EQ(std::memcmp(block, item->bytes.data(), item->bytes.size()), 0);
}

void HandleModelTest::Unlock(ZRHandle handle, ModelHandle* item) {
  complained_ = handle != 0 && (item == nullptr || item->locks == 0);
  ZRUnlockHandle(handle);
  if (item != nullptr && item->locks > 0) --item->locks;
}

void HandleModelTest::Resize(ZRHandle handle, ModelHandle* item) {
  const uint32_t size = Below(300);
  const bool reallocate = Below(2) == 0;
  const ZRError error = ResizeError(item);
  complained_ = error != 0;
  ASSERT_EQ(reallocate ? ZRReallocateHandle(handle, size) : ZRSetHandleSize(handle, size), error);
  if (error != 0) return;
  const uint32_t old = item->purged ? 0 : Size(item->bytes);
  item->purged = item->purged && !reallocate;
  item->bytes.resize(size);
  if (item->purged) return;
  auto* block = static_cast<char*>(ZRLockHandle(handle));
  for (uint32_t i = old; i < size; ++i) block[i] = item->bytes[i] = static_cast<char>(random_());
  if (old == 0) std::memcpy(block, item->bytes.data(), size);
  ZRUnlockHandle(handle);
}

void HandleModelTest::Set(ZRHandle handle, ModelHandle* item) {
  const std::string bytes = RandomBytes(300);
  ZRError error = ResizeError(item);
  if (error == 0) item->bytes = bytes;
  if (error == 0 && item->purged && !bytes.empty()) error = ZRErrMemHandle;
  complained_ = error != 0;
  ASSERT_EQ(ZRSetHandleBytes(bytes.data(), handle, Size(bytes)), error);
}

void HandleModelTest::Append(ZRHandle handle, ModelHandle* item) {
  const std::string bytes = RandomBytes(50);
  ZRError error = bytes.empty() ? 0 : ResizeError(item);
  if (error == 0 && item != nullptr) item->bytes += bytes;
  if (error == 0 && item != nullptr && item->purged && !bytes.empty()) error = ZRErrMemHandle;
  complained_ = error != 0;
  ASSERT_EQ(ZRAppendHandleBytes(bytes.data(), handle, Size(bytes)), error);
}

// Not of a locked handle: its bytes move although the deletion is refused.
void HandleModelTest::Delete(ZRHandle handle, ModelHandle* item) {
  if (item == nullptr || item->locks > 0) return;
  const uint32_t size = Size(item->bytes), offset = Below(size + 2), count = Below(size + 2);
  ZRError error = 0;
  if (count > 0 && offset + count > size) error = ZRErrMemParam;
  if (count > 0 && offset + count < size && item->purged) {
    error = ZRErrMemParam;
    complained_ = true;
  }
  ASSERT_EQ(ZRDeleteHandleBytes(handle, offset, count), error);
  if (error == 0 && count > 0) item->bytes.erase(offset, count);
}

void HandleModelTest::Mark(ZRHandle handle, ModelHandle* item) {
  complained_ = item == nullptr;
  const bool purgeable = Below(2) == 0;
  purgeable ? ZRMarkHandlePurgeable(handle) : ZRMarkHandleUnpurgeable(handle);
  if (item != nullptr) item->purgeable = purgeable;
}

void HandleModelTest::Purge(ZRHandle, ModelHandle*) {
  if (Below(20) != 0) return;
  const uint32_t total = model_.Purge(), difference = Below(3);
  ASSERT_EQ(ZRPurgeHandles(total + difference), difference == 0);
}

void HandleModelTest::CompareBytes(ZRHandle handle, const ModelHandle& item) {
  ASSERT_EQ(ZRGetHandleSize(handle), item.bytes.size());
  ASSERT_EQ(ZRIsHandlePurged(handle), item.purged);
  ASSERT_EQ(ZRIsHandleLocked(handle), item.locks > 0);
  if (item.purged) return;
  std::string bytes(item.bytes.size(), '#');
  uint32_t count = Size(bytes) + 1;
  ASSERT_EQ(ZRGetHandleBytes(handle, bytes.data(), &count), 0);
  ASSERT_EQ(bytes, item.bytes);
}

void HandleModelTest::Step() {
  World().current = Below(3);
  complained_ = false;
  const ZRHandle handle = Pick();
  ModelHandle* item = Find(handle);
  if (model_.live.size() > live_limit_) return Dispose(handle, item);
  using Self = HandleModelTest;
  constexpr void (Self::*kOperations[])(ZRHandle, ModelHandle*) = {
      &Self::Make,   &Self::Make,   &Self::Copy,   &Self::Dispose, &Self::Lock,
      &Self::Lock,   &Self::Unlock, &Self::Unlock, &Self::Resize,  &Self::Set,
      &Self::Append, &Self::Delete, &Self::Mark,   &Self::Purge};
  (this->*kOperations[Below(std::size(kOperations))])(handle, item);
}

TEST_F(HandleModelTest, RandomOperations) {
  model_.dead = {0, 0x10000000, 0x500FFFFF, 0x50000900};
  for (int step = 0; step < 30000; ++step) {
    SCOPED_TRACE(step);
    if (step == 15000) live_limit_ = 10000;
    Step();
    ASSERT_EQ(TakeLog().empty(), !complained_);
    ASSERT_TRUE(qv::CheckHandleTable());
    ASSERT_EQ(ZRCountHandles(), model_.live.size());
    if (step % 64 == 0) {
      for (const auto& [handle, item] : model_.live) CompareBytes(handle, item);
    }
    if (HasFatalFailure()) return;
  }
  EXPECT_GT(model_.live.size(), 1000u) << "the walk has gone somewhere";
  EXPECT_GT(model_.dead.size(), 1000u);
}

}  // namespace

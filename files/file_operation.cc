// Transfers that are under way, and how they end.
#include "files/file_blocks.h"
#include "tasks/scheduler.h"
#include "tasks/task_info.h"
#include "tasks/waits.h"

namespace qv {
namespace {

// The event that ends a wait for a block.
constexpr uint32_t kBlockEvent = 0x10000;

// The events that the task had stay as they are, and so do those that others send it meanwhile.
void WaitForBlockEvent() {
  TCB* task = ZRTaskFindTask(ZRTaskCurrent());
  const uint32_t before = task->events;
  ZRTaskWaitEvents(kBlockEvent);
  task->events = (task->events & ~kBlockEvent) | (before & ~kMessageEvent);
}

void Wake(TaskId task) {
  if (task != 0) ZRTaskSignal(task, kBlockEvent);
}

}  // namespace

FileOperation::FileOperation(FileBlocks* blocks, Kind kind)
    : TaskCleanup(EndKilled), blocks_(blocks), kind_(kind) {
  if (blocks == nullptr) return;
  if (HasTask()) task_ = ZRTaskCurrent();
  next_ = blocks->operations_;
  if (next_ != nullptr) next_->previous_ = this;
  blocks->operations_ = this;
  if (kind == kRead) ++blocks->reads_;
  if (kind == kClose) ++blocks->closes_;
  if (kind == kWrite && blocks->writes_++ > 0) blocks->concurrent_writes_ = true;
}

FileOperation::~FileOperation() { Leave(); }

void FileOperation::Leave() {
  if (blocks_ == nullptr) return;
  (previous_ != nullptr ? previous_->next_ : blocks_->operations_) = next_;
  if (next_ != nullptr) next_->previous_ = previous_;
  if (kind_ == kRead) --blocks_->reads_;
  if (kind_ == kClose) --blocks_->closes_;
  if (kind_ == kWrite && --blocks_->writes_ == 0) blocks_->concurrent_writes_ = false;
  blocks_ = nullptr;
}

void FileOperation::EndKilled(TaskCleanup* self) {
  auto* operation = static_cast<FileOperation*>(self);
  if (operation->is_waiting_) {
    operation->LeaveChain();
  } else if (CacheItem* item = operation->item_) {
    operation->EndRead();
    FreeItem(item);
  }
  const bool changes = operation->kind_ == kWrite || operation->kind_ == kClose;
  if (changes && operation->blocks_ != nullptr) {
    operation->blocks_->Drop(nullptr);
  }
  operation->Leave();
}

// The file object goes. A reader keeps its item, which it will free.
void FileOperation::Orphan() {
  Leave();
  is_orphan_ = true;
  next_ = previous_ = nullptr;
  if (!is_waiting_) return;
  item_ = nullptr;
  remembered_ = 0;
  Wake(task_);
}

// --- one task reads ---

void FileOperation::BeginRead(CacheItem* item) {
  if (item->owner != nullptr) item->owner->SetSize(item, kBlockBytes);
  item->reading = true;
  item->free_when_done = false;
  item_ = item;
  file_grew_ = false;
}

void FileOperation::EndRead() {
  CacheItem* item = item_;
  item_ = nullptr;
  item->reading = false;
  for (FileOperation* each = blocks_ != nullptr ? blocks_->operations_ : nullptr; each != nullptr;
       each = each->next_) {
    if (each->item_ == item) each->item_ = nullptr;
  }
  const TaskId waiter = item->waiter;
  item->waiter = 0;
  Wake(waiter);
}

bool FileOperation::IsOutdated(uint32_t size) const {
  return item_->free_when_done || (file_grew_ && size < kBlockBytes);
}

// --- the others wait ---

bool FileOperation::WaitFor(CacheItem* item) {
  if (!HasTask() || !ZRTaskSwitchingAllowed()) return false;
  item_ = item;
  remembered_ = item->waiter;
  item->waiter = task_;
  is_waiting_ = true;
  WaitForBlockEvent();
  LeaveChain();
  return true;
}

void FileOperation::LeaveChain() {
  is_waiting_ = false;
  CacheItem* item = item_;
  item_ = nullptr;
  const TaskId before = remembered_;
  remembered_ = 0;
  if (item != nullptr && item->waiter == task_) {
    item->waiter = before;  // woken by somebody else, as the last that began to wait
  } else if (FileOperation* after = blocks_ != nullptr ? blocks_->WhoRemembers(task_) : nullptr) {
    after->remembered_ = before;  // by somebody else, in the middle of the chain
  } else {
    Wake(before);
  }
}

bool FileBlocks::HasOthersThan(const FileOperation& operation) const {
  return operations_ != &operation || operation.next_ != nullptr;
}

FileOperation* FileBlocks::WhoRemembers(TaskId task) const {
  FileOperation* each = operations_;
  while (each != nullptr && each->remembered_ != task) each = each->next_;
  return each;
}

void FileOperation::TrimBetweenPieces(uint64_t items) {
  --blocks_->reads_;
  for (; items > 0 && FileCacheIsOverLimit(); --items) TrimFileCache();
  ++blocks_->reads_;
}

}  // namespace qv

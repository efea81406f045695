// What is written about misuse, by case and setting.
#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>

#include "diag/system/memory_status.h"
#include "memory/handle_bytes.h"
#include "memory/handles.h"
#include "memory/raw_blocks.h"
#include "tests/memory/memory_fixture.h"

namespace {

using test::Lines;
using test::World;

constexpr TaskId kAnna = 11, kBert = 22, kNameless = 33;
// The first handle of a new table, and others made of it.
constexpr ZRHandle kFirst = 0x50000000, kBadTag = 0x60000000, kBadIndex = 0x5000FFFF,
                   kFree = 0x50100001, kStale = 0x50700000;

class HandleReportsTest : public test::MemoryTest {
 protected:
  ~HandleReportsTest() override { EXPECT_TRUE(qv::CheckHandleTable()); }

  // A new table with one handle of 10 bytes.
  static void Start(const std::string& settings) {
    UseSettings(settings);
    World().names = {{0, "Main"}, {kAnna, "Anna"}, {kBert, "Bert"}};
    EXPECT_EQ(ZRNewHandle(10), kFirst);
  }
  static void LockAs(TaskId task, ZRHandle handle = kFirst) {
    World().current = task;
    ZRLockHandle(handle);
  }
  static void UnlockAs(TaskId task) {
    World().current = task;
    ZRUnlockHandle(kFirst);
  }
  static void ResizeAs(TaskId task) {
    World().current = task;
    EXPECT_EQ(ZRSetHandleSize(kFirst, 20), ZRErrMemLocked);
  }

  struct Row {
    const char* name;
    const char* settings;
    std::function<void()> misuse;
    Lines expected;
  };
  static void Check(const std::vector<Row>& rows) {
    for (const Row& row : rows) {
      SCOPED_TRACE(row.name);
      Start(row.settings);
      row.misuse();
      EXPECT_EQ(TakeLog(), row.expected);
      EXPECT_TRUE(qv::CheckHandleTable());
      Start(row.settings);
      World().kernel_thread = false;
      row.misuse();
      EXPECT_EQ(TakeLog(), Lines{}) << "on another thread than the kernel's";
    }
  }
};

constexpr char kQuiet[] = "HeapTracebacks=0\r\n";

TEST_F(HandleReportsTest, InvalidHandles) {
  Check({
      {"tag",
       "",
       [] { ZRLockHandle(kBadTag); },
       {"Error: Attempt to use invalid handle value (60000000).", "[traceback 1]"}},
      {"tag, no traceback",
       kQuiet,
       [] { ZRLockHandle(kBadTag); },
       {"Error: Attempt to use invalid handle value (60000000)."}},
      {"no checks, no traceback",
       "HeapChecks=0\r\n",
       [] { ZRLockHandle(kBadTag); },
       {"Error: Attempt to use invalid handle value (60000000)."}},
      {"index",
       kQuiet,
       [] { ZRLockHandle(kBadIndex); },
       {"Error: Attempt to use invalid handle index (5000FFFF)."}},
      {"freed",
       kQuiet,
       [] { ZRLockHandle(kFree); },
       {"Error: Attempt to use freed handle (50100001)."}},
      {"stale",
       kQuiet,
       [] { ZRLockHandle(kStale); },
       {"Error: Attempt to use an unowned handle (50700000)."}},
      {"unlock",
       "",
       [] { ZRUnlockHandle(kStale); },
       {"Error: Attempt to use an unowned handle (50700000).", "[traceback 1]",
        "Error: Attempt to unlock invalid handle (50700000).", "[traceback 1]"}},
      {"unlock without a lock",
       "",
       [] { ZRUnlockHandle(kFirst); },
       {"Error: Attempt to unlock handle (50000000) with bad refcount (0).", "[traceback 1]"}},
      {"disposed twice",
       kQuiet,
       [] {
         ZRHandle handle = kFirst, again = kFirst;
         ZRDisposeHandle(&handle);
         ZRDisposeHandle(&again);
         EXPECT_EQ(again, kFirst);
       },
       {"Error: Attempt to use freed handle (50000000)."}},
      {"size",
       kQuiet,
       [] { EXPECT_EQ(ZRGetHandleSize(kFree), 0u); },
       {"Error: Attempt to use freed handle (50100001)."}},
      {"append looks twice",
       kQuiet,
       [] { EXPECT_EQ(ZRAppendHandleBytes("a", kFree, 1), ZRErrMemHandle); },
       {"Error: Attempt to use freed handle (50100001).",
        "Error: Attempt to use freed handle (50100001)."}},
  });
}

TEST_F(HandleReportsTest, HandleZero) {
  const std::string complaint = "Error: Attempt to use invalid handle value (00000000).";
  Check({
      {"lock", kQuiet, [] { EXPECT_EQ(ZRLockHandle(0), nullptr); }, {}},
      {"unlock", kQuiet, [] { ZRUnlockHandle(0); }, {}},
      {"dispose",
       kQuiet,
       [] {
         ZRHandle none = 0;
         ZRDisposeHandle(&none);
         ZRDisposeHandle(nullptr);
       },
       {}},
      {"size", kQuiet, [] { EXPECT_EQ(ZRGetHandleSize(0), 0u); }, {}},
      {"copy", kQuiet, [] { EXPECT_EQ(ZRCopyHandle(0), 0u); }, {}},
      {"resize", kQuiet, [] { EXPECT_EQ(ZRSetHandleSize(0, 1), ZRErrMemHandle); }, {complaint}},
      {"reallocate",
       kQuiet,
       [] { EXPECT_EQ(ZRReallocateHandle(0, 1), ZRErrMemHandle); },
       {complaint}},
      {"purgeable", kQuiet, [] { ZRMarkHandlePurgeable(0); }, {complaint}},
      {"unpurgeable", kQuiet, [] { ZRMarkHandleUnpurgeable(0); }, {complaint}},
      {"locked?", kQuiet, [] { EXPECT_EQ(ZRIsHandleLocked(0), 0); }, {complaint}},
      {"purged?", kQuiet, [] { EXPECT_EQ(ZRIsHandlePurged(0), 0); }, {complaint}},
  });
}

TEST_F(HandleReportsTest, LocksOfALockedHandle) {
  auto anna_then = [](TaskId task) {
    return [task] {
      LockAs(kAnna);
      World().site = {9, 9};  // a later lock is not captured
      LockAs(task);
    };
  };
  auto tracked = [anna_then](std::vector<uintptr_t> site) {
    return [anna_then, site] {
      World().site = site;
      anna_then(kBert)();
    };
  };
  const std::string by_bert =
      "Error: Attempt by Bert to lock a handle (50000000) already locked by Anna.";
  const std::string anna_stands =
      "       The handle (50000000) was locked by Anna. Traceback follows...";
  Check({
      {"silent", "", anna_then(kBert), {}},
      {"itself",
       "HeapLocks=1\r\n",
       anna_then(kAnna),
       {"Error: Nested attempt by Anna to lock a handle (50000000) already locked by this task.",
        "[traceback 1]"}},
      {"another",
       "HeapLocks=1\r\n",
       anna_then(kBert),
       {by_bert, "[traceback 1]", anna_stands, "[task 11]"}},
      {"another, always with a traceback",
       "HeapLocks=1\r\nHeapTracebacks=0\r\n",
       anna_then(kBert),
       {by_bert, "[traceback 1]", anna_stands, "[task 11]"}},
      {"site known",
       "TrackLockers=1\r\n",
       tracked({7, 8, 9, 10, 11}),
       {by_bert, "[traceback 1]", "Handle (50000000) was locked by Anna at: ", "[site 7 8 9 10]"}},
      {"site not found",
       "TrackLockers=1\r\n",
       tracked({}),
       {by_bert, "[traceback 1]", anna_stands, "[task 11]"}},
      {"owner without a name",
       "HeapLocks=1\r\n",
       [] {
         LockAs(kNameless);
         LockAs(kBert);
       },
       {"Error: Attempt by Bert to lock a handle (50000000) already locked by <unknown>.",
        "[traceback 1]",
        "       The handle (50000000) was locked by <unknown>. Traceback follows...", "[task 33]"}},
  });
}

TEST_F(HandleReportsTest, NobodyIsKnownToHoldTheLock) {
  Start("HeapLocks=1\r\n");
  LockAs(kAnna);
  LockAs(kBert);
  UnlockAs(kAnna);
  TakeLog();
  LockAs(kBert);
  EXPECT_EQ(
      TakeLog(),
      (Lines{"Error: Attempt by Bert to lock a handle (50000000) already locked by <unknown>.",
             "[traceback 1]",
             "       The handle (50000000) was locked by <unknown>. Traceback follows..."}));
}

// Off the kernel's thread a first lock has no site, and a further one forgets it.
TEST_F(HandleReportsTest, OtherThreadsForgetTheSite) {
  Start("TrackLockers=1\r\n");
  World().site = {7};
  LockAs(kAnna);
  World().kernel_thread = false;
  LockAs(kBert);
  World().kernel_thread = true;
  LockAs(kBert);
  EXPECT_EQ(TakeLog().back(), "[task 11]");
}

TEST_F(HandleReportsTest, ResizesOfALockedHandle) {
  const std::string by_bert =
      "Error: Attempt by Bert to resize a handle (50000000) locked (1) by Anna from 10 to 20.";
  auto bert_after_anna = [] {
    World().site = {7, 8};
    LockAs(kAnna);
    ResizeAs(kBert);
  };
  Check({
      {"itself",
       kQuiet,
       [] {
         LockAs(kAnna);
         LockAs(kAnna);
         ResizeAs(kAnna);
       },
       {"Error: Nested attempt by Anna to resize a locked (2) handle (50000000) from 10 to 20."}},
      {"itself, traceback",
       "",
       [] {
         LockAs(kAnna);
         ResizeAs(kAnna);
       },
       {"Error: Nested attempt by Anna to resize a locked (1) handle (50000000) from 10 to 20.",
        "[traceback 1]"}},
      {"no task at all",
       kQuiet,
       [] {
         LockAs(0);
         ResizeAs(0);
       },
       {"Error: Nested attempt by Main to resize a locked (1) handle (50000000) from 10 to 20."}},
      {"nobody known",
       "",
       [] {
         LockAs(kAnna);
         LockAs(kBert);
         UnlockAs(kAnna);
         ResizeAs(kBert);
       },
       {"Error: Attempt by Bert to resize a handle (50000000) locked (1) from 10 to 20.",
        "[traceback 1]"}},
      {"another, no traceback", kQuiet, bert_after_anna, {by_bert}},
      {"another",
       "",
       bert_after_anna,
       {by_bert, "[traceback 1]",
        "       The handle (50000000) was locked by Anna. Traceback follows...", "[task 11]"}},
      {"another, site known",
       "TrackLockers=1\r\nHeapTracebacks=0\r\n",
       bert_after_anna,
       {by_bert, "[traceback 1]",
        "       The handle (50000000) was locked by Anna at:", "[site 7 8]"}},
  });
}

// The first holder is the owner until it has undone its own locks.
TEST_F(HandleReportsTest, OwnershipFollowsTheNesting) {
  Start(kQuiet);
  LockAs(kAnna);
  LockAs(kAnna);
  LockAs(kBert);
  UnlockAs(kAnna);
  ResizeAs(kBert);
  UnlockAs(kAnna);
  ResizeAs(kBert);
  UnlockAs(kBert);
  LockAs(kBert);
  ResizeAs(kAnna);
  EXPECT_EQ(
      TakeLog(),
      (Lines{
          "Error: Attempt by Bert to resize a handle (50000000) locked (2) by Anna from 10 to 20.",
          "Error: Attempt by Bert to resize a handle (50000000) locked (1) from 10 to 20.",
          "Error: Attempt by Anna to resize a handle (50000000) locked (1) by Bert from 10 to 20.",
      }));
}

// Locks that strangers undo: the next owner starts afresh, and an unlock without a task stays sane.
TEST_F(HandleReportsTest, UnlocksByStrangersDoNotStickToTheNextOwner) {
  Start(kQuiet);
  LockAs(kAnna);
  UnlockAs(kBert);
  LockAs(kBert);
  LockAs(kAnna);
  UnlockAs(kBert);
  ResizeAs(kAnna);
  UnlockAs(0);
  LockAs(kBert);
  LockAs(kAnna);
  UnlockAs(kBert);
  ResizeAs(kAnna);
  const std::string nobody =
      "Error: Attempt by Anna to resize a handle (50000000) locked (1) from 10 to 20.";
  EXPECT_EQ(TakeLog(), (Lines{nobody, nobody}));
}

TEST_F(HandleReportsTest, PurgedHandles) {
  auto lock_purged = [] {
    ZRMarkHandlePurgeable(kFirst);
    ZRPurgeHandles(0);
    EXPECT_EQ(ZRLockHandle(kFirst), nullptr);
  };
  const std::string complaint = "Error: Attempt to lock purged handle (50000000).";
  Check({{"traceback", "", lock_purged, {complaint, "[traceback 1]"}},
         {"no traceback", kQuiet, lock_purged, {complaint}}});
}

TEST_F(HandleReportsTest, ShortMemory) {
  for (const std::string settings : {"", kQuiet}) {
    for (uint32_t size : {3u, 20u}) {
      SCOPED_TRACE(settings + std::to_string(size));
      Start(settings);
      FailAllocation(1);
      EXPECT_EQ(ZRSetHandleSize(kFirst, size), ZRErrMemFull);
      EXPECT_EQ(ZRGetHandleSize(kFirst), 10u);
      Lines log = TakeLog();
      ASSERT_EQ(log.size(), settings.empty() ? 3u : 2u);
      EXPECT_EQ(log[0], "Error: Attempt to grow handle (50000000) from 10 to " +
                            std::to_string(size) + " failed.");
      double app, virt, phys, addr;
      char rest;
      EXPECT_EQ(
          std::sscanf(log[1].c_str(), "Memory available: App=%lf, Virt=%lf, Phys=%lf, Addr=%lf%c",
                      &app, &virt, &phys, &addr, &rest),
          4)
          << log[1];
      EXPECT_GT(phys, 0);
      EXPECT_LE(app, virt);
      World().kernel_thread = false;
      FailAllocation(1);
      EXPECT_EQ(ZRSetHandleSize(kFirst, size), ZRErrMemFull);
      EXPECT_EQ(TakeLog(), Lines{});
    }
  }
}

// What writes a message may make so many handles that the table moves.
TEST_F(HandleReportsTest, MessagesMayMoveTheTable) {
  Start("HeapLocks=1\r\n");
  LockAs(kAnna);
  qv::GlobalHooks().print_traceback = [](uint32_t) {
    for (int i = 0; i < 3000; ++i) ASSERT_NE(ZRNewHandle(0), 0u);
  };
  World().current = kBert;
  EXPECT_NE(ZRLockHandle(kFirst), nullptr);
  EXPECT_EQ(ZRSetHandleSize(kFirst, 1), ZRErrMemLocked);
  UnlockAs(kBert);
  UnlockAs(kAnna);
  EXPECT_EQ(ZRIsHandleLocked(kFirst), 0);
  EXPECT_EQ(ZRCountHandles(), 6001u);
}

}  // namespace

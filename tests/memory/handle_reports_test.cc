// What is written about misuse, by case and setting.
#include <gtest/gtest.h>

#include <cstdlib>

#include "memory/handle_bytes.h"
#include "memory/handles.h"
#include "tests/memory/memory_fixture.h"

namespace {

using test::Lines;
using test::World;

// The first handle of a new table, and others made of it.
constexpr ZRHandle kFirst = 0x50000000, kFree = 0x50100001, kStale = 0x50700000;

constexpr char kQuiet[] = "HeapTracebacks=0\r\n", kLocks[] = "HeapLocks=1\r\n",
               kSites[] = "TrackLockers=1\r\n", kTraceback[] = "[traceback 1]";

class HandleReportsTest : public test::MemoryTest {
 protected:
  ~HandleReportsTest() override { EXPECT_TRUE(qv::CheckHandleTable()); }

  // A new table with one handle of 10 bytes.
  static void Start(const std::string& settings) {
    UseSettings(settings);
    World().names = {{0, "Main"}, {'A', "Anna"}, {'B', "Bert"}};
    EXPECT_EQ(ZRNewHandle(10), kFirst);
  }
  // What the misuse writes; on other threads than the kernel's nothing.
  template <typename Misuse>
  static Lines Report(const std::string& settings, Misuse misuse) {
    Start(settings);
    World().kernel_thread = false;
    misuse();
    EXPECT_EQ(TakeLog(), Lines{}) << "on another thread";
    Start(settings);
    misuse();
    EXPECT_TRUE(qv::CheckHandleTable());
    return TakeLog();
  }
};

TEST_F(HandleReportsTest, InvalidHandles) {
  const struct {
    ZRHandle handle;
    const char* complaint;
  } kRows[] = {{0x60000000, "Error: Attempt to use invalid handle value (60000000)."},
               {0x5000FFFF, "Error: Attempt to use invalid handle index (5000FFFF)."},
               {kFree, "Error: Attempt to use freed handle (50100001)."},
               {kStale, "Error: Attempt to use an unowned handle (50700000)."}};
  for (const auto& row : kRows) {
    const auto lock = [&row] { EXPECT_EQ(ZRLockHandle(row.handle), nullptr); };
    EXPECT_EQ(Report("", lock), (Lines{row.complaint, kTraceback}));
    EXPECT_EQ(Report(kQuiet, lock), Lines{row.complaint});
    EXPECT_EQ(Report("HeapChecks=0\r\n", lock), Lines{row.complaint});
  }
}

TEST_F(HandleReportsTest, CallsThatLookAtAHandle) {
  const struct {
    const char* name;
    void (*call)(ZRHandle);
    size_t about_freed, about_zero;  // complaints
  } kRows[] = {
      {"lock", [](ZRHandle handle) { EXPECT_EQ(ZRLockHandle(handle), nullptr); }, 1, 0},
      {"dispose", [](ZRHandle handle) { ZRDisposeHandle(&handle); }, 1, 0},
      {"size", [](ZRHandle handle) { EXPECT_EQ(ZRGetHandleSize(handle), 0u); }, 1, 0},
      {"copy", [](ZRHandle handle) { EXPECT_EQ(ZRCopyHandle(handle), 0u); }, 1, 0},
      {"resize", [](ZRHandle handle) { ZRSetHandleSize(handle, 1); }, 1, 1},
      {"reallocate", [](ZRHandle handle) { ZRReallocateHandle(handle, 1); }, 1, 1},
      {"purgeable", ZRMarkHandlePurgeable, 1, 1},
      {"unpurgeable", ZRMarkHandleUnpurgeable, 1, 1},
      {"locked?", [](ZRHandle handle) { EXPECT_EQ(ZRIsHandleLocked(handle), 0); }, 1, 1},
      {"purged?", [](ZRHandle handle) { EXPECT_EQ(ZRIsHandlePurged(handle), 0); }, 1, 1},
      {"append looks twice", [](ZRHandle handle) { ZRAppendHandleBytes("a", handle, 1); }, 2, 1},
  };
  const std::string freed = "Error: Attempt to use freed handle (50100001).";
  const std::string zero = "Error: Attempt to use invalid handle value (00000000).";
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Report(kQuiet, [&row] { row.call(kFree); }), Lines(row.about_freed, freed));
    EXPECT_EQ(Report(kQuiet, [&row] { row.call(0); }), Lines(row.about_zero, zero));
  }
  EXPECT_EQ(Report(kQuiet, [] { ZRDisposeHandle(nullptr); }), Lines{});
}

TEST_F(HandleReportsTest, Unlocks) {
  EXPECT_EQ(Report("", [] { ZRUnlockHandle(0); }), Lines{});
  EXPECT_EQ(Report("", [] { ZRUnlockHandle(kStale); }),
            (Lines{"Error: Attempt to use an unowned handle (50700000).", kTraceback,
                   "Error: Attempt to unlock invalid handle (50700000).", kTraceback}));
  EXPECT_EQ(
      Report("", [] { ZRUnlockHandle(kFirst); }),
      (Lines{"Error: Attempt to unlock handle (50000000) with bad refcount (0).", kTraceback}));
}

// Calls of tasks: L lock, U unlock, R resize, which is refused; in small letters on another thread
// than the kernel's. The task's letter follows; 0 is no task at all, N one without a name.
void Perform(const std::string& calls) {
  for (size_t at = 0; at < calls.size(); at += 3) {
    const bool kernel_thread = World().kernel_thread;
    const char call = calls[at], task = calls[at + 1];
    World().kernel_thread = kernel_thread && call < 'a';
    World().current = task == '0' ? 0 : static_cast<TaskId>(task);
    switch (call & ~0x20) {
      case 'L':
        ZRLockHandle(kFirst);
        World().site = {9, 9};  // only the first lock is captured
        break;
      case 'U':
        ZRUnlockHandle(kFirst);
        break;
      case 'R':
        EXPECT_EQ(ZRSetHandleSize(kFirst, 20), ZRErrMemLocked);
        break;
    }
    World().kernel_thread = kernel_thread;
  }
}

TEST_F(HandleReportsTest, LockedHandles) {
  using Site = std::vector<uintptr_t>;
  const std::string lock_by_bert =
      "Error: Attempt by Bert to lock a handle (50000000) already locked by ";
  const std::string resize_by_bert =
      "Error: Attempt by Bert to resize a handle (50000000) locked (1) by Anna from 10 to 20.";
  const std::string anna_resizes =
      "Error: Attempt by Anna to resize a handle (50000000) locked (1) from 10 to 20.";
  const std::string was_locked = "       The handle (50000000) was locked by ";
  const Lines anna_stands = {lock_by_bert + "Anna.", kTraceback,
                             was_locked + "Anna. Traceback follows...", "[task 65]"};
  const struct {
    const char *name, *settings, *calls;
    Lines expected;
    Site site = {};  // of the first lock
  } kRows[] = {
      {"locks: silent", "", "LA LB", {}},
      {"locks: itself",
       kLocks,
       "LA LA",
       {"Error: Nested attempt by Anna to lock a handle (50000000) already locked by this task.",
        kTraceback}},
      {"locks: another", kLocks, "LA LB", anna_stands},
      {"locks: always with a traceback", "HeapLocks=1\r\nHeapTracebacks=0\r\n", "LA LB",
       anna_stands},
      {"locks: site known",
       kSites,
       "LA LB",
       {lock_by_bert + "Anna.", kTraceback,
        "Handle (50000000) was locked by Anna at: ", "[site 7 8 9 10]"},
       {7, 8, 9, 10, 11}},
      {"locks: site not found", kSites, "LA LB", anna_stands},
      {"locks: a lock off the kernel's thread forgets the site",
       kSites,
       "LA lB LB",
       anna_stands,
       {7}},
      {"locks: owner without a name",
       kLocks,
       "LN LB",
       {lock_by_bert + "<unknown>.", kTraceback, was_locked + "<unknown>. Traceback follows...",
        "[task 78]"}},
      {"locks: nobody is known to hold it",
       kLocks,
       "LA lB UA LB",
       {lock_by_bert + "<unknown>.", kTraceback, was_locked + "<unknown>. Traceback follows..."}},
      {"sizes: itself",
       kQuiet,
       "LA LA RA",
       {"Error: Nested attempt by Anna to resize a locked (2) handle (50000000) from 10 to 20."}},
      {"sizes: itself, traceback",
       "",
       "LA RA",
       {"Error: Nested attempt by Anna to resize a locked (1) handle (50000000) from 10 to 20.",
        kTraceback}},
      {"sizes: no task at all",
       kQuiet,
       "L0 R0",
       {"Error: Nested attempt by Main to resize a locked (1) handle (50000000) from 10 to 20."}},
      {"sizes: nobody known", "", "LA LB UA RA", {anna_resizes, kTraceback}},
      {"sizes: another, no traceback", kQuiet, "LA RB", {resize_by_bert}},
      {"sizes: another",
       "",
       "LA RB",
       {resize_by_bert, kTraceback, was_locked + "Anna. Traceback follows...", "[task 65]"},
       {7, 8}},
      {"sizes: another, site known",
       "TrackLockers=1\r\nHeapTracebacks=0\r\n",
       "LA RB",
       {resize_by_bert, kTraceback, was_locked + "Anna at:", "[site 7 8]"},
       {7, 8}},
      {"owner until its own locks are undone",
       kQuiet,
       "LA LA LB UA RB UA RA UB LB RA",
       {"Error: Attempt by Bert to resize a handle (50000000) locked (2) by Anna from 10 to 20.",
        anna_resizes,
        "Error: Attempt by Anna to resize a handle (50000000) locked (1) by Bert from 10 to 20."}},
      {"unlocks by strangers, or nobody, do not stick to the next owner",
       kQuiet,
       "LA UB LB LA UB RA U0 LB LA UB RA",
       {anna_resizes, anna_resizes}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const auto perform = [&row] {
      World().site = row.site;
      Perform(row.calls);
    };
    EXPECT_EQ(Report(row.settings, perform), row.expected);
  }
}

TEST_F(HandleReportsTest, PurgedHandles) {
  const auto lock_purged = [] {
    ZRMarkHandlePurgeable(kFirst);
    ZRPurgeHandles(0);
    EXPECT_EQ(ZRLockHandle(kFirst), nullptr);
  };
  const std::string complaint = "Error: Attempt to lock purged handle (50000000).";
  EXPECT_EQ(Report("", lock_purged), (Lines{complaint, kTraceback}));
  EXPECT_EQ(Report(kQuiet, lock_purged), Lines{complaint});
}

TEST_F(HandleReportsTest, ShortMemory) {
  for (const std::string settings : {"", kQuiet}) {
    for (uint32_t size : {3u, 20u}) {
      SCOPED_TRACE(settings + std::to_string(size));
      const Lines log = Report(settings, [size] {
        FailAllocation(1);
        EXPECT_EQ(ZRSetHandleSize(kFirst, size), ZRErrMemFull);
        EXPECT_EQ(ZRGetHandleSize(kFirst), 10u);
      });
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
    }
  }
}

// What writes a message may make so many handles that the table moves.
TEST_F(HandleReportsTest, MessagesMayMoveTheTable) {
  Start(kLocks);
  Perform("LA");
  qv::GlobalHooks().print_traceback = [](uint32_t) {
    for (int i = 0; i < 3000; ++i) ASSERT_NE(ZRNewHandle(0), 0u);
  };
  Perform("LB");
  EXPECT_EQ(ZRSetHandleSize(kFirst, 1), ZRErrMemLocked);
  Perform("UB UA");
  EXPECT_EQ(ZRIsHandleLocked(kFirst), 0);
  EXPECT_EQ(ZRCountHandles(), 6001u);
}

}  // namespace

#include "memory/memory_settings.h"

#include <gtest/gtest.h>

#include "memory/checked_allocations.h"
#include "memory/handle_bytes.h"
#include "tests/memory/memory_fixture.h"
#include "tests/test_platform.h"

namespace {

class MemorySettingsTest : public test::MemoryTest {};

struct Values {
  int32_t check_free, heap_checks, heap_tracebacks, heap_locks, track_lockers;
  bool operator==(const Values&) const = default;
};
std::ostream& operator<<(std::ostream& out, const Values& v) {
  return out << v.check_free << ' ' << v.heap_checks << ' ' << v.heap_tracebacks << ' '
             << v.heap_locks << ' ' << v.track_lockers;
}
Values Current() {
  const qv::MemorySettings& now = qv::CurrentMemorySettings();
  return {now.check_free, now.heap_checks, now.heap_tracebacks, now.heap_locks, now.track_lockers};
}

TEST_F(MemorySettingsTest, DefaultsDependOnEachOther) {
  const struct {
    const char* lines;
    Values expected;
  } kRows[] = {
      {"", {0, 1, 1, 0, 0}},
      {"HeapChecks=0\r\n", {0, 0, 0, 0, 0}},
      {"HeapChecks=5\r\n", {0, 5, 1, 0, 0}},
      {"HeapChecks=-2\r\n", {0, -2, 1, 0, 0}},
      {"HeapChecks=0\r\nHeapTracebacks=7\r\n", {0, 0, 7, 0, 0}},
      {"HeapTracebacks=0\r\nHeapLocks=3\r\n", {0, 1, 0, 3, 0}},
      {"HeapChecks=0\r\nHeapTracebacks=0\r\nHeapLocks=0\r\nTrackLockers=4\r\n", {0, 0, 1, 1, 4}},
      {"CheckFree=2\r\n", {2, 1, 1, 0, 0}}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.lines);
    UseSettings(row.lines);
    EXPECT_EQ(qv::CurrentMemorySettings().heap_checks, -1) << "nothing is read before it is due";
    ZRCountHandles();
    EXPECT_EQ(Current(), row.expected);
  }
}

// Whichever call comes first reads them.
TEST_F(MemorySettingsTest, EveryFirstOperationReads) {
  const struct {
    const char* name;
    void (*call)();
  } kRows[] = {{"new", [] { ZRNewHandle(0); }},
               {"lock", [] { ZRLockHandle(1); }},
               {"set bytes", [] { ZRSetHandleBytes("", 1, 1); }},
               {"purge", [] { ZRPurgeHandles(0); }},
               {"free", [] { ZRAMEMFree(nullptr); }},
               {"check", [] { CheckFreeMem(nullptr); }},
               {"valid", [] { ZRAMEMValidPointer(nullptr, 0); }}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    UseSettings("HeapChecks=7\r\n");
    row.call();
    EXPECT_EQ(qv::CurrentMemorySettings().heap_checks, 7);
  }
}

void Rewrite(const char* lines) {
  ASSERT_TRUE(test::WriteWholeFile(test::TempFolder() + "\\memory.ini",
                                   std::string("[Debug]\r\n") + lines));
}

// A stored -1 looks like "not read": four keys are read by every operation until it changes.
TEST_F(MemorySettingsTest, MinusOneIsReadAgain) {
  UseSettings("CheckFree=0\r\nHeapChecks=-1\r\nHeapLocks=1\r\n");
  ZRCountHandles();
  EXPECT_EQ(Current(), (Values{0, -1, 1, 1, 0}));
  Rewrite("CheckFree=1\r\nHeapChecks=2\r\n");
  ZRCountHandles();
  EXPECT_EQ(Current(), (Values{0, 2, 1, 0, 0})) << "CheckFree is read once";
  Rewrite("HeapChecks=3\r\n");
  ZRCountHandles();
  EXPECT_EQ(Current(), (Values{0, 2, 1, 0, 0}));
}

}  // namespace

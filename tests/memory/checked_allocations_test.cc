#include "memory/checked_allocations.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "base/scratch_pool.h"
#include "memory/raw_blocks.h"
#include "platform/address_limits.h"
#include "platform/windows_api.h"
#include "tests/memory/memory_fixture.h"

namespace {

using test::Lines;
using test::World;

class CheckedAllocationsTest : public test::MemoryTest {
 protected:
  static constexpr char kTraceback[] = "[traceback 1]";

  static uint32_t Word(const void* at) {
    uint32_t word;
    std::memcpy(&word, at, sizeof word);
    return word;
  }
  static void SetWord(void* at, uint32_t word) { std::memcpy(at, &word, sizeof word); }
  static char* Allocate(uint32_t size) { return static_cast<char*>(ZRAMEMAlloc(size)); }
  static void* Address(uintptr_t address) { return reinterpret_cast<void*>(address); }

  // %p and %08lX of an address.
  static std::string Pointer(const void* pointer) {
    char text[20];
    std::snprintf(text, sizeof text, "%0*llX", static_cast<int>(2 * sizeof pointer),
                  static_cast<unsigned long long>(reinterpret_cast<uintptr_t>(pointer)));
    return text;
  }
  static std::string Low(const void* pointer) {
    const std::string digits = Pointer(pointer);
    return digits.substr(digits.size() - 8);
  }

  static void ExpectRefused(void* pointer, const std::string& message) {
    const auto before = World().blocks;
    TakeLog();
    ZRAMEMFree(pointer);
    EXPECT_EQ(TakeLog(), (Lines{message, kTraceback}));
    World().kernel_thread = false;
    CheckFreeMem(pointer);
    World().kernel_thread = true;
    EXPECT_EQ(TakeLog(), Lines{}) << "another thread writes nothing";
    EXPECT_EQ(World().blocks, before) << "and nothing is released";
  }
};

TEST_F(CheckedAllocationsTest, PlainBlocks) {
  char* empty = Allocate(0);
  EXPECT_NE(empty, nullptr);
  char* block = Allocate(100);
  std::memset(block, 0x55, 100);
  EXPECT_EQ(World().blocks, (std::set<void*>{empty, block}));
  EXPECT_EQ(World().last_size, 100u);
  ZRAMEMFree(empty);
  ZRAMEMFree(nullptr);
  EXPECT_EQ(World().blocks, (std::set<void*>{block}));
  void* variable = block;
  ZRAMEMFreeAndClear(&variable);
  EXPECT_EQ(variable, nullptr);
  ZRAMEMFreeAndClear(&variable);
  ZRAMEMFreeAndClear(nullptr);
  EXPECT_EQ(World().blocks.size(), 0u);
  FailAllocation(1);
  EXPECT_EQ(ZRAMEMAlloc(100), nullptr);
  EXPECT_EQ(TakeLog(), Lines{});
}

TEST_F(CheckedAllocationsTest, TheLayoutOfACheckedBlock) {
  for (uint32_t size : {0u, 1u, 3u, 4u, 5u, 100u}) {
    SCOPED_TRACE(size);
    UseSettings("CheckFree=1\r\n");
    const uint32_t rounded = (size + 3) / 4 * 4;
    char* data = Allocate(size);
    EXPECT_EQ(World().last_size, rounded + 12);
    EXPECT_EQ(World().blocks, (std::set<void*>{data - 8}));
    std::memset(data, 0x55, size);
    EXPECT_EQ(Word(data - 8), 0xBEEFFEEDu);
    EXPECT_EQ(Word(data - 4), rounded);
    EXPECT_EQ(Word(data + rounded), 0xFEEDBEEFu);
    ZRAMEMFree(data);
    // The block is held back, so what was written into it can be seen.
    EXPECT_EQ(Word(data - 8), 0xBAADFBEEu);
    EXPECT_EQ(Word(data - 4), 0u);
    EXPECT_EQ(Word(data + rounded), 0xBAADFEEDu);
    EXPECT_EQ(TakeLog(), Lines{});
    qv::ResetCheckedAllocationsForTest();
    EXPECT_EQ(World().blocks.size(), 0u);
  }
}

TEST_F(CheckedAllocationsTest, TheLast64FreedBlocksAreHeldBack) {
  UseSettings("CheckFree=1\r\n");
  std::vector<char*> blocks(66);
  for (char*& block : blocks) block = Allocate(8);
  for (int i = 0; i < 64; ++i) ZRAMEMFree(blocks[i]);
  EXPECT_EQ(World().blocks.size(), 66u);
  ZRAMEMFree(blocks[64]);
  ZRAMEMFree(blocks[65]);
  EXPECT_EQ(World().blocks.size(), 64u);
  EXPECT_EQ(World().blocks.count(blocks[1] - 8), 0u) << "the oldest go";
  EXPECT_EQ(World().blocks.count(blocks[2] - 8), 1u);
  char* large = Allocate(65537);
  ZRAMEMFree(large);
  EXPECT_EQ(World().blocks.size(), 64u) << "a large block is not held";
  for (int i = 2; i < 66; ++i) {
    TakeLog();
    ZRAMEMFree(blocks[i]);
    EXPECT_EQ(TakeLog()[0], "CheckFreeMem: Duplicate free - ignored.");
  }
}

TEST_F(CheckedAllocationsTest, DamagedBlocksAreRefusedAndReported) {
  UseSettings("CheckFree=1\r\nHeapTracebacks=0\r\n");
  char* data = Allocate(8);
  std::memset(data, 0x55, 8);
  const std::string hostile = "Bad pointer allocation (" + Low(data - 8) + ")";
  const struct {
    const char* name;
    int offset;  // of the word that is overwritten, from the data
    uint32_t word;
    std::string message;
  } kRows[] = {{"one byte behind", 8, 0xFEEDBE00, "Bad footer signature (FEEDBE00)"},
               {"header", -8, 0x12345678, "Bad header signature (12345678)"},
               {"marked as freed", -8, 0xBAADFBEE, "Duplicate free -"},
               {"size too small", -4, 4, "Bad footer signature (55555555)"},
               {"the largest size", -4, 0xFFFFFFFF, hostile},
               {"its end wraps to 0", -4, 0xFFFFFFF4, hostile},
               {"its end just fits", -4, 0xFFFFFFF0, hostile}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const uint32_t good = Word(data + row.offset);
    SetWord(data + row.offset, row.word);
    ExpectRefused(data, "CheckFreeMem: " + row.message + " ignored.");
    SetWord(data + row.offset, good);
  }
  ZRAMEMFree(data);
  EXPECT_EQ(TakeLog(), Lines{}) << "whole again";
}

TEST_F(CheckedAllocationsTest, PointersThatCannotBeBlocks) {
  UseSettings("CheckFree=1\r\n");
  for (uintptr_t address : {uintptr_t{1}, uintptr_t{7}, uintptr_t{0x10}, uintptr_t{255},
                            ~uintptr_t{0}, ~(~uintptr_t{0} >> 1)}) {
    SCOPED_TRACE(address);
    ExpectRefused(Address(address),
                  "CheckFreeMem: Null-like pointer (" + Low(Address(address)) + ") ignored.");
  }
  ExpectRefused(Address(256), "CheckFreeMem: Bad pointer (000000F8) ignored.");
  static const uint32_t kReadOnly[4] = {0xBEEFFEED, 4, 0, 0xFEEDBEEF};
  ExpectRefused(const_cast<uint32_t*>(kReadOnly) + 2,
                "CheckFreeMem: Bad pointer (" + Low(kReadOnly) + ") ignored.");
  CheckFreeMem(nullptr);
  EXPECT_EQ(TakeLog()[0], "CheckFreeMem: Null-like pointer (00000000) ignored.");
}

// Memory that was released to the C runtime and not handed out anew: refused one way or another,
// and a sanitizer has nothing against the look at it.
TEST_F(CheckedAllocationsTest, LongFreedBlocksAreLookedAtSafely) {
  UseSettings("CheckFree=1\r\n");
  char* data = Allocate(2000);
  ZRAMEMFree(data);
  qv::ResetCheckedAllocationsForTest();
  ZRAMEMFree(data);
  ASSERT_EQ(TakeLog().size(), 2u);
  EXPECT_EQ(World().blocks.size(), 0u);
}

TEST_F(CheckedAllocationsTest, SizesThatWrapGiveNull) {
  UseSettings("CheckFree=1\r\n");
  for (uint32_t size : {0xFFFFFFFFu, 0xFFFFFFFCu, 0xFFFFFFF4u, 0xFFFFFFF1u}) {
    EXPECT_EQ(ZRAMEMAlloc(size), nullptr) << size;
  }
  EXPECT_EQ(World().allocations, 0u);
  FailAllocation(1);
  EXPECT_EQ(ZRAMEMAlloc(0xFFFFFFF0), nullptr);
  EXPECT_EQ(World().last_size, 0xFFFFFFFCu) << "the largest that fits is asked for";
}

TEST_F(CheckedAllocationsTest, ForeignPointersAreRefusedInPlainMode) {
  for (const bool traceback : {true, false}) {
    UseSettings(traceback ? "" : "HeapTracebacks=0\r\n");
    char* block = Allocate(16);
    const uintptr_t address = reinterpret_cast<uintptr_t>(block);
    for (void* pointer : {Address(0x10), Address(255), Address(platform::kHighestUserAddress + 1),
                          Address(address - 65537), Address(address + 16 + 65537)}) {
      SCOPED_TRACE(pointer);
      ZRAMEMFree(pointer);
      Lines expected = {"Error: Attempt to free invalid pointer (" + Pointer(pointer) + ")."};
      if (traceback) expected.push_back(kTraceback);
      EXPECT_EQ(TakeLog(), expected);
    }
    ZRAMEMFree(block);
  }
}

TEST_F(CheckedAllocationsTest, LevelZeroTestsNothing) {
  UseSettings("HeapChecks=0\r\n");
  static void* released = nullptr;
  qv::GlobalRawBlocks().release = [](void* block) { released = block; };
  ZRAMEMFree(Address(0x10));
  EXPECT_EQ(released, Address(0x10));
  EXPECT_EQ(TakeLog(), Lines{});
}

// Memory at the border: the first half of the block can be read, or written, or nothing.
TEST_F(CheckedAllocationsTest, ValidPointersByLevel) {
  static const char kReadOnly[8192] = {1};
  char* here = Allocate(64);
  const auto first = reinterpret_cast<uintptr_t>(here);
  const uintptr_t high = first + 64 + 65536;
  const struct {
    const char* name;
    const void* pointer;
    uint32_t size;
    int32_t range, read, write;  // levels 1, 2 and 3
  } kRows[] = {
      {"block", here, 64, 1, 1, 1},
      {"block, no size", here, 0, 1, 1, 1},
      {"null", nullptr, 0, 0, 0, 0},
      {"255", Address(255), 1, 0, 0, 0},
      {"low mark", Address(first - 65536), 0, 1, -1, -1},
      {"below it", Address(first - 65537), 0, 0, 0, 0},
      {"high mark", Address(high), 0, 1, -1, -1},
      {"up to it", Address(high - 5), 5, 1, -1, -1},
      {"one byte past it", Address(high - 5), 6, 0, 0, 0},
      {"past it", Address(high + 1), 0, 0, 0, 0},
      {"a size that wraps", here, 0xFFFFFFFF, 0, 0, 0},
      {"beyond all addresses", Address(platform::kHighestUserAddress + 1), 0, 0, 0, 0},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const int32_t expected[] = {1, row.range, row.read, row.write};
    for (int level = 0; level < 4; ++level) {
      // A new process that handed out one block at the same place.
      UseSettings("HeapChecks=" + std::to_string(level) + "\r\n");
      static void* place;
      place = here;
      qv::GlobalRawBlocks() = {[](void*, uint32_t) { return place; }, [](void*) {}};
      ZRAMEMAlloc(64);
      if (expected[level] >= 0) {
        EXPECT_EQ(ZRAMEMValidPointer(row.pointer, row.size), expected[level]) << level;
      }
    }
  }
  UseSettings("HeapChecks=2\r\n");
  EXPECT_EQ(ZRAMEMValidPointer(kReadOnly, sizeof kReadOnly), 1) << "no mark is set, all is read";
  EXPECT_EQ(ZRAMEMValidPointer(Address(4096), 0), 0);
  UseSettings("HeapChecks=3\r\n");
  EXPECT_EQ(ZRAMEMValidPointer(kReadOnly, 0), 0) << "read only";
  std::free(here);
}

TEST_F(CheckedAllocationsTest, Level5WritesALog) {
  for (const std::string mode : {"CheckFree=0\r\n", "CheckFree=1\r\n"}) {
    SCOPED_TRACE(mode);
    UseSettings(mode + "HeapChecks=5\r\n");
    char* block = Allocate(7);
    const std::string where = Pointer(block);
    ZRAMEMFree(block);
    ZRAMEMFree(nullptr);
    EXPECT_EQ(TakeLog(), (Lines{"ZRAMEM: Allocated 7 bytes at " + where + ".",
                                "ZRAMEM: Freeing memory at " + where + "."}));
    World().kernel_thread = false;
    ZRAMEMFree(ZRAMEMAlloc(7));
    EXPECT_EQ(TakeLog(), Lines{});
    UseSettings(mode + "HeapChecks=4\r\n");
    ZRAMEMFree(ZRAMEMAlloc(7));
    EXPECT_EQ(TakeLog(), Lines{});
  }
}

// The output of a line allocates and frees: no lines about that of the same kind.
TEST_F(CheckedAllocationsTest, LogLinesAreNotWrittenAboutThemselves) {
  UseSettings("HeapChecks=5\r\n");
  static uint32_t depth = 0, deepest = 0, lines = 0;
  qv::GlobalHooks().show_in_console = [](const char*) {
    ++lines;
    deepest = std::max(deepest, ++depth);
    ZRAMEMFree(ZRAMEMAlloc(1));
    --depth;
    return true;
  };
  void* block = ZRAMEMAlloc(7);
  EXPECT_EQ(deepest, 2u) << "the nested free has a line, what that line does has none";
  EXPECT_EQ(lines, 2u);
  ZRAMEMFree(block);
  EXPECT_EQ(deepest, 2u);
  EXPECT_EQ(lines, 4u);
}

TEST_F(CheckedAllocationsTest, HooksUseItOnceInstalled) {
  for (const std::string mode : {"CheckFree=0\r\n", "CheckFree=1\r\n"}) {
    SCOPED_TRACE(mode);
    UseSettings(mode);
    { qv::ScratchBlock before; }
    qv::InstallCheckedAllocator();
    {
      qv::ScratchBlock buffer;
      ASSERT_NE(buffer.data(), nullptr);
      EXPECT_EQ(World().blocks.size(), 2u) << "the pool's table and the buffer";
    }
    if (sizeof(size_t) > 4) {
      EXPECT_EQ(qv::GlobalHooks().allocate(static_cast<size_t>(uint64_t{1} << 32)), nullptr);
    }
    qv::GlobalHooks().release(nullptr);
    qv::ReleaseScratchPool();
    EXPECT_EQ(TakeLog(), Lines{}) << "what it took, it takes back";
  }
}

}  // namespace

#include "tests/memory/memory_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/scratch_pool.h"
#include "memory/checked_allocations.h"
#include "memory/handles.h"
#include "memory/memory_settings.h"
#include "memory/raw_blocks.h"
#include "tests/test_platform.h"

namespace test {
namespace {

void* Reallocate(void* block, uint32_t size) {
  MemoryWorld& world = World();
  ++world.allocations;
  world.last_size = size;
  const bool fails =
      world.failing != 0 && (world.failing_from_then_on ? world.allocations >= world.failing
                                                        : world.allocations == world.failing);
  if (fails) return nullptr;
  EXPECT_NE(size, 0u);
  EXPECT_TRUE(block == nullptr || world.blocks.count(block)) << "not one of its blocks";
  void* moved = std::realloc(block, size);
  world.blocks.erase(block);
  world.blocks.insert(moved);
  return moved;
}

void Release(void* block) {
  if (block == nullptr) return;
  EXPECT_EQ(World().blocks.erase(block), 1u) << "not one of its blocks";
  std::free(block);
}

// The console: each message is one whole line.
bool Log(const char* text) {
  std::string line = text;
  EXPECT_TRUE(!line.empty() && line.back() == '\n') << line;
  if (!line.empty()) line.pop_back();
  World().log.push_back(line);
  return true;
}

std::string Number(uintptr_t number) { return std::to_string(number); }

void CopyName(TaskId task, char* buffer, size_t size) {
  const std::string& name = World().names[task];
  buffer[name.copy(buffer, size - 1)] = '\0';
}

uint32_t Capture(uint32_t skip, uintptr_t* addresses, uint32_t limit) {
  EXPECT_EQ(skip, 1u);
  const auto count = std::min<size_t>(limit, World().site.size());
  std::copy_n(World().site.begin(), count, addresses);
  return static_cast<uint32_t>(count);
}

void PrintTrace(const uintptr_t* addresses, uint32_t count) {
  std::string text = "[site";
  for (uint32_t i = 0; i < count; ++i) text += " " + Number(addresses[i]);
  World().log.push_back(text + "]");
}

void InstallHooks() {
  qv::Hooks& hooks = qv::GlobalHooks();
  hooks.show_in_console = Log;
  qv::SetDebugFlag(1);
  hooks.current_task = [] { return World().kernel_thread ? World().current : 0; };
  hooks.copy_task_name = CopyName;
  hooks.on_kernel_thread = [] { return World().kernel_thread; };
  hooks.print_traceback = [](uint32_t skip) {
    World().log.push_back("[traceback " + Number(skip) + "]");
  };
  hooks.print_task_traceback = [](TaskId task) {
    World().log.push_back("[task " + Number(task) + "]");
  };
  hooks.capture_trace = Capture;
  hooks.print_trace = PrintTrace;
}

std::string SettingsFile() { return TempFolder() + "\\memory.ini"; }

void ForgetEverything() {
  qv::SetDebugFlag(0);
  qv::GlobalHooks().on_kernel_thread = [] { return false; };  // a line would take a new buffer
  qv::ReleaseScratchPool();
  qv::ResetHooksForTest();
  qv::ResetHandlesForTest();
  qv::ResetCheckedAllocationsForTest();
  qv::ResetMemorySettingsForTest();
}

}  // namespace

MemoryWorld& World() {
  static MemoryWorld world;
  return world;
}

MemoryTest::MemoryTest() { UseSettings(""); }

MemoryTest::~MemoryTest() {
  ForgetEverything();
  EXPECT_EQ(World().blocks.size(), 0u) << "blocks left over";
  qv::ResetRawBlocksForTest();
  qv::ResetSettingsForTest();
}

void MemoryTest::UseSettings(const std::string& lines) {
  ForgetEverything();
  World() = {};
  qv::GlobalRawBlocks() = {Reallocate, Release};
  InstallHooks();
  EXPECT_TRUE(WriteWholeFile(SettingsFile(), "[Debug]\r\n" + lines));
  EXPECT_TRUE(qv::SetSettingsPath(SettingsFile().c_str()));
}

void MemoryTest::FailAllocation(uint32_t nth, bool from_then_on) {
  World().allocations = 0;
  World().failing = nth;
  World().failing_from_then_on = from_then_on;
}

Lines MemoryTest::TakeLog() { return std::exchange(World().log, {}); }

}  // namespace test

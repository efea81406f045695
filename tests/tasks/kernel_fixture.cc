#include "tests/tasks/kernel_fixture.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/clock.h"
#include "base/hooks.h"
#include "base/scratch_pool.h"
#include "tasks/kernel_settings.h"
#include "tests/test_platform.h"

namespace test {
namespace {

constexpr size_t kThreadStackBesidesTasks = 4 << 20;

struct FixtureState {
  std::string* printed = nullptr;
  int allocations_left = -1;  // before one fails; of the size below
  size_t failing_size = 0;
  bool struck = false;
};
FixtureState& State() {
  static FixtureState state;
  return state;
}

std::atomic<int> blocks{0};

bool IsToFail(size_t size) {
  FixtureState& state = State();
  if (state.failing_size != 0 && state.failing_size != size) return false;
  const bool fails = state.allocations_left >= 0 && state.allocations_left-- == 0;
  if (fails) state.struck = true;
  return fails;
}

}  // namespace

void CountAllocations() {
  qv::ReleaseScratchPool();
  blocks = 0;
  qv::GlobalHooks().allocate = [](size_t size) -> void* {
    if (IsToFail(size)) return nullptr;
    ++blocks;
    void* block = std::malloc(size);
    if (block != nullptr) std::memset(block, 0xEE, size);
    return block;
  };
  qv::GlobalHooks().release = [](void* block) {
    if (block != nullptr) --blocks;
    std::free(block);
  };
}

int BlocksLeft() { return blocks; }

bool FailAllocation(int after, size_t size) {
  const bool struck = std::exchange(State().struck, false);
  State().allocations_left = after;
  State().failing_size = size;
  return struck;
}

KernelTest::KernelTest() {
  State() = {};
  State().printed = &printed;
  qv::SetDebugFlag(1);
  qv::GlobalHooks().show_in_console = [](const char* text) {
    *State().printed += text;
    return true;
  };
  qv::ResetClockForTest();
  qv::ResetWaitsForTest();
  ZRTaskSetFriendliness(1);
  ZRTaskSetParams(nullptr);
}

KernelTest::~KernelTest() {
  qv::SetDebugFlag(0);
  qv::ResetHooksForTest();
  qv::ResetClockForTest();
  qv::ResetSettingsForTest();
  EmptyFolder(TempFolder());
}

void KernelTest::Set(const std::string& section_and_line) {
  const size_t slash = section_and_line.find('/');
  settings_.emplace_back(section_and_line.substr(0, slash), section_and_line.substr(slash + 1));
}

void KernelTest::UseSettings(const std::string& text) {
  const std::string path = TempFolder() + "\\kernel.ini";
  EXPECT_TRUE(WriteWholeFile(path, text));
  EXPECT_TRUE(qv::SetSettingsPath(path.c_str()));
}

int32_t KernelTest::Run(const std::function<void()>& main, uint32_t stack_bytes) {
  std::map<std::string, std::string> sections;
  for (const auto& [section, line] : settings_) {
    std::string& text = sections[section];
    text.insert(0, line + "\r\n");  // the latest counts
  }
  std::string file;
  for (const auto& [section, text] : sections) file += "[" + section + "]\r\n" + text;
  UseSettings(file);
  printed.clear();
  int32_t result = -2;
  const auto fibers = static_cast<int>(LiveFibers());
  CountAllocations();
  RunOnThread(stack_bytes + kThreadStackBesidesTasks, [&] {
    result = ZRTaskStartKernel(
        stack_bytes, nullptr,
        [](uintptr_t argument) -> int32_t {
          (*reinterpret_cast<const std::function<void()>*>(argument))();
          return 77;
        },
        reinterpret_cast<uintptr_t>(&main));
  });
  qv::ReleaseScratchPool();  // keeps its buffers otherwise
  blocks_left = BlocksLeft();
  fibers_left = static_cast<int>(LiveFibers()) - fibers;
  bodies_.clear();
  return result;
}

void KernelTest::RunTasks(const std::function<void()>& create, uint32_t stack_bytes) {
  const int32_t result = Run(
      [&] {
        create();
        ZRTaskLeaveCritical(false);
        ZRTaskYield();
      },
      stack_bytes);
  EXPECT_EQ(result, 77);
  EXPECT_EQ(blocks_left, 0);
  EXPECT_EQ(fibers_left, 0);
}

void KernelTest::RunInBothModes(const std::function<void()>& create, uint32_t stack_bytes) {
  for (const char* mode : {"QVSetup/Fibers=1", "QVSetup/Fibers=0"}) {
    SCOPED_TRACE(mode);
    Set(mode);
    RunTasks(create, stack_bytes);
  }
}

TaskId KernelTest::Spawn(const std::string& name, std::function<void()> body) {
  bodies_.push_back(std::move(body));
  const TaskId task = ZRTaskCreate(
      stack_size, [](TCB* self) { (*reinterpret_cast<std::function<void()>*>(self->parameter))(); },
      reinterpret_cast<uintptr_t>(&bodies_.back()));
  if (task != 0) ZRTaskSetName(name.c_str(), task, 0);
  return task;
}

}  // namespace test

// Fibers that the system refuses, and stacks that are run over.
#include "platform/host/control.h"
#include "platform/windows_api.h"
#include "tasks/fiber_layer.h"
#include "tests/tasks/kernel_fixture.h"

namespace {

class FiberLayerTest : public test::KernelTest {
 protected:
  ~FiberLayerTest() override { host::ClearFaults(); }
};

TEST_F(FiberLayerTest, ATaskWithoutAFiberIsNotCreated) {
  const struct {
    DWORD error;
    const char* log;
  } kRows[] = {
      {ERROR_NOT_ENOUGH_MEMORY,
       "Windows error 8 creating new task.\n"
       "Windows error 8 is \"Not enough memory resources are available to process this "
       "command.\"\n"},
      {54321,
       "Windows error 54321 creating new task.\n"
       "Windows error 54321 is not recognized by the OS.\n"},
  };
  for (const auto& row : kRows) {
    Run([&] {
      host::FailCall("CreateFiber", 1, row.error);
      EXPECT_EQ(Spawn("a", [] {}), 0u);
      EXPECT_NE(Spawn("b", [] {}), 0u);
      EXPECT_TRUE(qv::KernelIsConsistent());
    });
    EXPECT_EQ(printed, row.log);
    EXPECT_EQ(blocks_left, 0);
    EXPECT_EQ(fibers_left, 0);
  }
}

// Without one of the system's functions, or when the thread cannot be converted, tasks run on
// stacks of their own.
TEST_F(FiberLayerTest, WithoutFibersOwnStacksServe) {
  for (const char* call : {"LoadLibraryA", "GetProcAddress", "ConvertThreadToFiber"}) {
    SCOPED_TRACE(call);
    host::FailCall(call, 1, ERROR_PROC_NOT_FOUND, true);
    RunTasks([this] {
      EXPECT_FALSE(ZRFibersUsable());
      Spawn("a", [this] { LogName(); });
    });
    host::ClearFaults();
    EXPECT_EQ(TakeLog(), "a");
  }
}

TEST_F(FiberLayerTest, ARequiredFiberLayerThatIsMissingEndsTheProcess) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        ZRFibersRequire();
        Set("QVSetup/Fibers=0");
        Run([] {});
      },
      testing::ExitedWithCode(1), "Fibers are not supported by this version of Windows");
}

[[gnu::noinline]] int Recurse(int depth) {
  volatile char frame[1024];
  frame[0] = static_cast<char>(depth);
  return (depth > 0 ? Recurse(depth - 1) : 0) + frame[0];
}

TEST_F(FiberLayerTest, ATaskThatRunsOverItsFibersStackFaults) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(RunTasks([this] {
                 for (int i = 0; i < 3; ++i) Spawn("a", [] { Recurse(100000); });
               }),
               "");
}

// Without fibers an overrun is reported when the task is left, and nothing else is done about it.
TEST_F(FiberLayerTest, OwnStacksAreChecked) {
  const struct {
    const char* name;
    const char* setting;
    uintptr_t left;  // bytes below the frame that yields
    bool is_overwritten, is_reported;
  } kRows[] = {
      {"room enough", "Debug/TaskDiag=1", 4096, false, false},
      {"into the last kilobyte", "Debug/TaskDiag=1", 1000, false, true},
      {"over the end and back", "Debug/TaskDiag=1", 4096, true, true},
      {"not checked", "Debug/TaskDiag=0", 1000, true, false},
  };
  Set("QVSetup/Fibers=0");
  stack_size = 0x8000;
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Set(row.setting);
    host::TakeDebugOutput();
    RunTasks([&row, this] {
      Spawn("a", [&row] {
        const uintptr_t base = ZRTaskFindTask(ZRTaskCurrent())->stack_base;
        const auto here = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
        // As deep calls would.
        auto* deep = static_cast<volatile char*>(__builtin_alloca(here - base - row.left));
        deep[0] = 1;
        if (row.is_overwritten) *reinterpret_cast<char*>(base) = 0;
        ZRTaskYield();
      });
      Spawn("b", [] {});
    });
    std::string text;
    for (const std::string& piece : host::TakeDebugOutput()) text += piece;
    EXPECT_EQ(text, row.is_reported ? "Stack overflow in QV task." : "");
  }
}

}  // namespace

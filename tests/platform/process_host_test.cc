#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "platform/host/control.h"
#include "platform/native_files.h"
#include "tests/platform/child_process.h"
#include "tests/test_platform.h"

namespace {

using platform_test::Child;
using platform_test::WaitForText;

std::string MakeScript(const std::string& name, const std::string& text) {
  std::string path = test::TempFolder() + "\\" + name;
  EXPECT_TRUE(test::WriteWholeFile(path, text));
  EXPECT_EQ(chmod(platform::NativePath(path).c_str(), 0700), 0);
  return path;
}

DWORD RunScript(const std::string& path) {
  STARTUPINFOA startup{};
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(path.c_str(), nullptr, nullptr, nullptr, FALSE, CREATE_NEW_PROCESS_GROUP,
                      nullptr, nullptr, &startup, &process)) {
    return 1000 + GetLastError();
  }
  WaitForSingleObject(process.hProcess, INFINITE);
  DWORD code = 0;
  GetExitCodeProcess(process.hProcess, &code);
  CloseHandle(process.hThread);
  CloseHandle(process.hProcess);
  return code;
}

TEST(ProcessHostTest, ScriptsStartToo) {
  EXPECT_EQ(RunScript(MakeScript("exit 3.sh", "#!/bin/sh\nexit 3\n")), 3u);
  EXPECT_EQ(RunScript(MakeScript("headless", "exit 3\n")), 1000u + ERROR_BAD_EXE_FORMAT);
}

TEST(ProcessHostTest, ChildHasOnlyTheStandardDescriptorsAndAGroupOfItsOwn) {
  int leak = open("/dev/null", O_RDONLY);  // not closed on exec by itself
  ASSERT_GE(leak, 3);
  std::string leaked = "/proc/self/fd/" + std::to_string(leak);
  EXPECT_EQ(RunScript(MakeScript("leak.sh", "#!/bin/sh\ntest ! -e " + leaked + "\n")), 0u);
  EXPECT_EQ(RunScript(MakeScript("group.sh",
                                 "#!/bin/sh\n"
                                 "read -r pid comm state ppid group rest "
                                 "</proc/$$/stat\ntest \"$group\" = $$\n")),
            0u);
  close(leak);
}

TEST(ProcessHostTest, EndedChildrenLeaveNoZombies) {
  DWORD id;
  {
    Child child({"exit", "0"});
    id = child.id();
    child.Finish();
  }
  EXPECT_FALSE(std::filesystem::exists("/proc/" + std::to_string(id)));
}

TEST(ProcessHostTest, SignalsReachTheConsoleHandler) {
  const struct {
    int signal_number;
    DWORD exit_code;
  } kRows[] = {{SIGINT, 40 + CTRL_C_EVENT}, {SIGTERM, 40 + CTRL_BREAK_EVENT}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.signal_number);
    std::string file = test::TempFolder() + "\\interrupt" + std::to_string(row.signal_number);
    Child child({"interrupt", file});
    ASSERT_TRUE(WaitForText(file, "ready"));
    ASSERT_EQ(kill(static_cast<pid_t>(child.id()), row.signal_number), 0);
    EXPECT_EQ(child.Finish(), row.exit_code);
  }
}

std::atomic<int> interrupts{0};

BOOL WINAPI CountInterrupt(DWORD event) {
  interrupts += event == CTRL_C_EVENT;
  return TRUE;
}

// A signal of the process may go to a thread that does not block it while the serving thread looks
// for it: whichever takes it, the handler is asked once.
TEST(ProcessHostTest, NoInterruptIsLostBetweenThreads) {
  std::atomic<bool> done{false};
  std::thread other([&done] {
    while (!done) std::this_thread::sleep_for(std::chrono::microseconds(50));
  });
  ASSERT_TRUE(SetConsoleCtrlHandler(CountInterrupt, TRUE));
  int sent = interrupts = 0;
  auto arrived = [&sent] { return interrupts == sent; };
  do {
    ASSERT_EQ(kill(getpid(), SIGINT), 0);
    ++sent;
    for (int waits = 0; waits < 100000 && !arrived(); ++waits) {
      std::this_thread::sleep_for(std::chrono::microseconds(20));
    }
  } while (arrived() && sent < 5000);
  EXPECT_TRUE(arrived()) << "after " << sent;
  EXPECT_TRUE(SetConsoleCtrlHandler(CountInterrupt, FALSE));
  done = true;
  other.join();
}

TEST(ProcessHostTest, CrashesHaveTheSystemsExitCode) {
  EXPECT_EQ(RunScript(MakeScript("crash.sh", "#!/bin/sh\nkill -SEGV $$\n")),
            EXCEPTION_ACCESS_VIOLATION);
}

TEST(ProcessHostTest, NothingStaysOpenAfterAFailedStart) {
  uint32_t before = host::OpenHandles();
  host::FailCall("CreateProcessA", 1, ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(RunScript("C:\\any.exe"), 1000u + ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(RunScript("C:\\missing.exe"), 1000u + ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(host::OpenHandles(), before);
  host::ClearFaults();
}

}  // namespace

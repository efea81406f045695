// The manual of the kernel in docs/: its programs are those that are built, and print what it says.
#include <chrono>
#include <fstream>
#include <sstream>
#include <thread>

#include "base/clock.h"
#include "platform/host/control.h"
#include "tasks/workers_state.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

#define main RunPrintShop
#include "docs/examples/print_shop.cc"
#undef main
#define main RunSlowDisk
namespace slow_disk {
#include "docs/examples/slow_disk.cc"
}
#undef main

namespace {

std::string Contents(const std::string& path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

const struct Example {
  const char* name;
  int (*run)();
} kExamples[] = {{"print_shop", RunPrintShop}, {"slow_disk", slow_disk::RunSlowDisk}};

class ManualTest : public test::KernelTest {
 protected:
  ~ManualTest() override {
    host::ThawTicks();
    qv::ResetWorkersForTest();
  }
  const std::string manual_ = Contents(QV_TASKS_MANUAL);
};

TEST_F(ManualTest, ShowsTheProgramsAsTheyAreBuilt) {
  for (const Example& example : kExamples) {
    const std::string source = Contents(QV_EXAMPLES + ("/" + std::string(example.name)) + ".cc");
    EXPECT_NE(manual_.find("```cpp\n" + source + "```\n"), std::string::npos) << example.name;
  }
}

// What the manual shows below the command that starts the example.
std::string ShownOutput(const std::string& manual, const char* name) {
  const std::string command = "    $ build/linux/bin/" + std::string(name) + "\n";
  const size_t from = manual.find(command) + command.size();
  std::string shown = manual.substr(from, manual.find("\n\n", from) + 1 - from);
  for (size_t at = 0; (at = shown.find("    ", at)) != std::string::npos;) shown.erase(at, 4);
  return shown;
}

TEST_F(ManualTest, ShowsWhatTheProgramsPrintInBothModes) {
  for (const Example& example : kExamples) {
    for (const char* fibers : {"1", "0"}) {
      SCOPED_TRACE(std::string(example.name) + fibers);
      UseSettings(std::string("[QVSetup]\r\nFibers=") + fibers + "\r\n");
      host::FreezeMicroseconds(5000000, 1);
      qv::ResetClockForTest();  // it would not run back
      testing::internal::CaptureStdout();
      int result = -1;
      test::RunOnThread(8 << 20, [&] { result = example.run(); });
      EXPECT_EQ(testing::internal::GetCapturedStdout(), ShownOutput(manual_, example.name));
      EXPECT_EQ(result, 0);
      qv::ResetWorkersForTest();
    }
  }
}

}  // namespace

// The manual of the kernel in docs/: its program is the one that is built, and prints what it says.
#include <fstream>
#include <sstream>

#include "platform/host/control.h"
#include "tests/tasks/kernel_fixture.h"
#include "tests/test_platform.h"

#define main RunPrintShop
#include "docs/examples/print_shop.cc"
#undef main

namespace {

std::string Contents(const char* path) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

// What stands between two texts of the manual.
std::string Between(const std::string& begin, const std::string& end) {
  const std::string manual = Contents(QV_TASKS_MANUAL);
  const size_t from = manual.find(begin) + begin.size();
  return manual.substr(from, manual.find(end, from) - from);
}

class ManualTest : public test::KernelTest {
 protected:
  ~ManualTest() override { host::ThawTicks(); }
};

TEST_F(ManualTest, ShowsTheProgramAsItIsBuilt) {
  EXPECT_EQ(Between("```cpp\n", "```\n"), Contents(QV_EXAMPLE));
}

TEST_F(ManualTest, ShowsWhatTheProgramPrintsInBothModes) {
  std::string shown = Between("$ build/linux/bin/print_shop\n", "\n\n") + "\n";
  for (size_t at = 0; (at = shown.find("    ", at)) != std::string::npos;) shown.erase(at, 4);
  for (const char* fibers : {"1", "0"}) {
    SCOPED_TRACE(fibers);
    UseSettings(std::string("[QVSetup]\r\nFibers=") + fibers + "\r\n");
    host::FreezeMicroseconds(5000000, 1);
    testing::internal::CaptureStdout();
    int result = -1;
    test::RunOnThread(8 << 20, [&] { result = RunPrintShop(); });
    EXPECT_EQ(testing::internal::GetCapturedStdout(), shown);
    EXPECT_EQ(result, 0);
  }
}

}  // namespace

#include <gtest/gtest.h>

#include "tests/platform/child_process.h"
#include "tests/test_platform.h"

namespace {

using platform_test::Child;
using platform_test::ChildPath;
using platform_test::WaitForText;

DWORD LaunchError(const std::string& application) {
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  SetLastError(0);
  if (CreateProcessA(application.c_str(), nullptr, nullptr, nullptr, FALSE,
                     CREATE_NEW_PROCESS_GROUP, nullptr, nullptr, &startup, &process)) {
    TerminateProcess(process.hProcess, 0);
    return 0;
  }
  return GetLastError();
}

TEST(ProcessTest, ArgumentsArriveAsTheyWereGiven) {
  const std::string file = test::TempFolder() + "\\arguments.txt";
  const std::vector<std::string> given = {"plain",      "two words", "",          "a\"quoted\"b",
                                          "ends in \\", "\\\\\"",    "C:\\a b\\", "tab\there"};
  std::vector<std::string> command = {"arguments", file};
  command.insert(command.end(), given.begin(), given.end());
  EXPECT_EQ(Child(command).Finish(), 0u);
  std::string expected;
  for (const std::string& argument : given) expected += argument + "\n";
  EXPECT_EQ(test::ReadWholeFile(file), expected);
}

TEST(ProcessTest, KilledProcessHasTheGivenCode) {
  const std::string file = test::TempFolder() + "\\wait.txt";
  Child child({"wait", file});
  ASSERT_TRUE(WaitForText(file, "ready"));
  DWORD code = 0;
  EXPECT_TRUE(GetExitCodeProcess(child.process(), &code));
  EXPECT_EQ(code, static_cast<DWORD>(STILL_ACTIVE));
  EXPECT_EQ(WaitForSingleObject(child.process(), 20), static_cast<DWORD>(WAIT_TIMEOUT));
  EXPECT_TRUE(TerminateProcess(child.process(), 5));
  EXPECT_EQ(child.Finish(), 5u);
}

TEST(ProcessTest, WhatIsNoProgramDoesNotStart) {
  const std::string text = test::TempFolder() + "\\text.txt";
  ASSERT_TRUE(test::WriteWholeFile(text, "no program\n"));
  const struct {
    const char* name;
    std::string application;
    DWORD error;
  } kRows[] = {
      {"missing file", test::TempFolder() + "\\missing.exe", ERROR_FILE_NOT_FOUND},
      {"missing folder", test::TempFolder() + "\\nowhere\\a.exe", ERROR_PATH_NOT_FOUND},
      {"arguments count as part of the name", ChildPath() + " exit 0", ERROR_FILE_NOT_FOUND},
      {"a text", text, ERROR_BAD_EXE_FORMAT},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(LaunchError(row.application), row.error);
  }
}

TEST(ProcessTest, EnvironmentVariables) {
  char buffer[8] = {};
  ASSERT_TRUE(SetEnvironmentVariableA("QV_TEST_VARIABLE", "seven77"));
  EXPECT_EQ(GetEnvironmentVariableA("QV_TEST_VARIABLE", buffer, 8), 7u);
  EXPECT_STREQ(buffer, "seven77");
  EXPECT_EQ(GetEnvironmentVariableA("QV_TEST_VARIABLE", buffer, 7), 8u);
  ASSERT_TRUE(SetEnvironmentVariableA("QV_TEST_VARIABLE", nullptr));
  EXPECT_EQ(GetEnvironmentVariableA("QV_TEST_VARIABLE", buffer, 8), 0u);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_ENVVAR_NOT_FOUND));
}

}  // namespace

// Where the real system keeps a copy of the file in memory or is gentler with damage, only the
// stand-in is asked.
#include <gtest/gtest.h>

#include "platform/host/control.h"
#include "tests/platform/child_process.h"
#include "tests/test_platform.h"

namespace {

class ProfileHostTest : public testing::Test {
 protected:
  std::string Get(const char* key, DWORD size = 200) {
    std::string buffer(size, '#');
    DWORD length =
        GetPrivateProfileStringA("One", key, "default", buffer.data(), size, file_.c_str());
    return buffer.substr(0, length);
  }
  const std::string file_ = test::TempFolder() + "\\hostile.ini";
};

TEST_F(ProfileHostTest, ForeignFilesAreReadAsFarAsTheyGo) {
  const struct {
    const char* name;
    std::string text, value;
  } kRows[] = {
      {"byte-order mark", "\xEF\xBB\xBF[One]\nkey=x\n", "x"},
      {"no last line end", "[One]\nkey=x", "x"},
      {"old line ends", "[One]\rkey=x\r", "x"},
      {"zero bytes around", std::string("\0[One]\n\0key\0=\0x\0\n", 17), "x"},
      {"zero byte inside", std::string("[One]\nkey=a\0b\n", 14), "a"},
      {"heading without its end", "[One\nkey=x\n", "default"},
      {"key before any section", "key=x\n", "default"},
      {"key without a value", "[One]\nkey\n", "default"},
      {"nothing but noise", std::string(100000, '\xFF'), "default"},
      {"huge value is cut", "[One]\nkey=" + std::string(100000, 'v') + "\n", std::string(199, 'v')},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ASSERT_TRUE(test::WriteWholeFile(file_, row.text));
    EXPECT_EQ(Get("key"), row.value);
    EXPECT_TRUE(WritePrivateProfileStringA("One", "added", "y", file_.c_str()));
    EXPECT_EQ(Get("added"), "y");
  }
}

TEST_F(ProfileHostTest, ProcessesThatWriteAtOnceLoseNothing) {
  test::EmptyFolder(test::TempFolder());
  platform_test::Child one({"profile", file_, "Alpha", "40"});
  platform_test::Child two({"profile", file_, "Beta", "40"});
  EXPECT_EQ(one.Finish(), 0u);
  EXPECT_EQ(two.Finish(), 0u);
  for (const char* section : {"Alpha", "Beta"}) {
    for (int i = 0; i < 40; ++i) {
      char value[8] = {};
      GetPrivateProfileStringA(section, ("Key" + std::to_string(i)).c_str(), "", value,
                               sizeof value, file_.c_str());
      EXPECT_STREQ(value, "x") << section << i;
    }
  }
}

TEST_F(ProfileHostTest, FaultsYieldTheDefault) {
  ASSERT_TRUE(test::WriteWholeFile(file_, "[One]\nkey=5\n"));
  host::FailCall("GetPrivateProfileStringA", 1, ERROR_ACCESS_DENIED);
  host::FailCall("GetPrivateProfileIntA", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(Get("key"), "default");
  EXPECT_EQ(GetPrivateProfileIntA("One", "key", 7, file_.c_str()), 7u);
  EXPECT_EQ(host::FaultsStruck(), 2u);
  host::ClearFaults();
}

}  // namespace

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/host/control.h"
#include "platform/windows_api.h"

namespace {

std::string RegistryFile() { return host::StateDirectory() + "/registry.txt"; }

void WriteRegistryFile(const std::string& text) {
  std::ofstream(RegistryFile(), std::ios::binary) << text;
}

class RegistryHostTest : public testing::Test {
 protected:
  void TearDown() override { host::ResetState(); }
};

// The data of a value of HKEY_CURRENT_USER\K, or "error N".
std::string ValueOf(const char* name) {
  HKEY key = nullptr;
  char data[64];
  DWORD size = sizeof data;
  LSTATUS error = RegOpenKeyExA(HKEY_CURRENT_USER, "K", 0, KEY_ALL_ACCESS, &key);
  if (!error) {
    error = RegQueryValueExA(key, name, nullptr, nullptr, reinterpret_cast<LPBYTE>(data), &size);
    RegCloseKey(key);
  }
  return error ? "error " + std::to_string(error) : std::string(data, size);
}

LSTATUS SetValue(const char* name, const std::string& data) {
  HKEY key = nullptr;
  LSTATUS error = RegCreateKeyExA(HKEY_CURRENT_USER, "K", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                  &key, nullptr);
  if (error) return error;
  error = RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(data.data()),
                         static_cast<DWORD>(data.size()));
  RegCloseKey(key);
  return error;
}

TEST_F(RegistryHostTest, DamagedLinesArePassedOver) {
  const std::string head = "[HKEY_CURRENT_USER\\K]\n", good = "\"good\"=1:\"yes\"\n";
  const struct {
    const char* name;
    std::string line;
  } kRows[] = {
      {"garbage", "\x80\xFF garbage"},
      {"zero bytes", std::string("\0\0\"a\"=\0", 8)},
      {"no end of name", "\"bad=1:\"x\""},
      {"no end of data", "\"bad\"=1:\"x"},
      {"no type", "\"bad\"=:\"x\""},
      {"type too large", "\"bad\"=99999999999:\"x\""},
      {"escape cut short", "\"bad\"=1:\"x%4"},
      {"escape of no hex digits", "\"bad\"=1:\"x%zz\""},
      {"huge line", std::string(1 << 20, 'x')},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    WriteRegistryFile(head + row.line + "\n" + good);
    EXPECT_EQ(ValueOf("good"), "yes");
    EXPECT_EQ(ValueOf("bad"), "error 2");
    EXPECT_EQ(SetValue("new", "set"), 0);
    EXPECT_EQ(ValueOf("good"), "yes");
    EXPECT_EQ(ValueOf("new"), "set");
  }
}

TEST_F(RegistryHostTest, ValuesUnderADamagedHeadingBelongToNoKey) {
  for (const char* heading : {"[]", "[HKEY_CURRENT_USER\\K", "[\\K]", "[HKEY_CURRENT_USER\\\\K]"}) {
    SCOPED_TRACE(heading);
    WriteRegistryFile(std::string("[HKEY_CURRENT_USER\\K]\n") + heading + "\n\"lost\"=1:\"x\"\n");
    EXPECT_EQ(ValueOf("lost"), "error 2");
  }
}

TEST_F(RegistryHostTest, MissingFileIsAFreshSystem) {
  ASSERT_EQ(SetValue("v", "x"), 0);
  std::filesystem::remove(RegistryFile());
  EXPECT_EQ(ValueOf("v"), "error 2");
  EXPECT_EQ(GetACP(), 1252u);
}

TEST_F(RegistryHostTest, FileThatCannotBeReadIsNotOverwritten) {
  std::filesystem::remove(RegistryFile());
  std::filesystem::create_directory(RegistryFile());
  EXPECT_EQ(ValueOf("v"), "error 5");
  EXPECT_EQ(SetValue("v", "x"), ERROR_ACCESS_DENIED);
  EXPECT_TRUE(std::filesystem::is_directory(RegistryFile()));
}

}  // namespace

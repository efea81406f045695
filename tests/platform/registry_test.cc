#include <gtest/gtest.h>

#include <string>

#include "tests/platform/child_process.h"

namespace {

constexpr char kRoot[] = "SOFTWARE\\QVPlatformTest";

HKEY Make(HKEY root, const char* path, DWORD* disposition = nullptr) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(root, path, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, disposition),
            0);
  return key;
}

// Each test works below a key of its own, gone before and after.
class RegistryTest : public testing::Test {
 protected:
  void SetUp() override {
    RegDeleteTreeA(HKEY_CURRENT_USER, kRoot);
    root_ = Make(HKEY_CURRENT_USER, kRoot);
  }
  void TearDown() override {
    RegCloseKey(root_);
    RegDeleteTreeA(HKEY_CURRENT_USER, kRoot);
  }
  LSTATUS Set(const char* name, const std::string& data, DWORD type = REG_SZ) {
    return RegSetValueExA(root_, name, 0, type, reinterpret_cast<const BYTE*>(data.data()),
                          static_cast<DWORD>(data.size()));
  }
  // The bytes of a value, with room for `size`; "error N" when there are none to be had.
  std::string Get(const char* name, DWORD size = 100, DWORD* type = nullptr) {
    std::string data(size, '?');
    LSTATUS error =
        RegQueryValueExA(root_, name, nullptr, type, reinterpret_cast<LPBYTE>(data.data()), &size);
    return error ? "error " + std::to_string(error) : data.substr(0, size);
  }

  HKEY root_ = nullptr;
};

TEST_F(RegistryTest, ValuesComeBackAsTheyWereSet) {
  const struct {
    const char* name;
    DWORD type;
    std::string data;
  } kRows[] = {
      {"text", REG_SZ, std::string("C:\\a \"b\" %41 =[x]\0", 18)},
      {"", REG_SZ, std::string("the default value\0", 18)},
      {"empty", REG_BINARY, ""},
      {"bytes", REG_BINARY, std::string("\0\1\n\r\x7F\x80\xFF", 7)},
      {"number", REG_DWORD, std::string("\4\3\2\1", 4)},
      {"name with \"]=%", REG_SZ, std::string("x\0", 2)},
  };
  for (const auto& row : kRows) ASSERT_EQ(Set(row.name, row.data, row.type), 0) << row.name;
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    DWORD type = 99;
    EXPECT_EQ(Get(row.name, 100, &type), row.data);
    EXPECT_EQ(type, row.type);
  }
}

TEST_F(RegistryTest, NamesIgnoreLetterCase) {
  ASSERT_EQ(Set("Name", "one", REG_BINARY), 0);
  ASSERT_EQ(Set("NAME", "two", REG_BINARY), 0);
  EXPECT_EQ(Get("name"), "two");
  HKEY other = nullptr;
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "software\\qvPLATFORMtest", 0, KEY_READ, &other), 0);
  RegCloseKey(other);
}

TEST_F(RegistryTest, QueriesTellTheSize) {
  ASSERT_EQ(Set("v", std::string("12345\0", 6)), 0);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExA(root_, "v", nullptr, nullptr, nullptr, &size), 0);
  EXPECT_EQ(size, 6u);
  BYTE buffer[6];
  size = 5;
  EXPECT_EQ(RegQueryValueExA(root_, "v", nullptr, nullptr, buffer, &size), ERROR_MORE_DATA);
  EXPECT_EQ(size, 6u);
  EXPECT_EQ(Get("v", 6).size(), 6u);
  EXPECT_EQ(RegQueryValueExA(root_, "v", nullptr, nullptr, buffer, nullptr),
            ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryTest, WhatIsMissing) {
  HKEY key = root_;
  EXPECT_EQ(RegOpenKeyExA(root_, "None", 0, KEY_ALL_ACCESS, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(Get("none"), "error 2");
  EXPECT_EQ(RegDeleteValueA(root_, "none"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegDeleteTreeA(root_, "None"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegCloseKey(nullptr), ERROR_INVALID_HANDLE);
  // A fresh user has no mail clients.
  EXPECT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, "SOFTWARE\\Clients\\Mail", 0, KEY_READ, &key),
            ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistryTest, CreatingSaysWhetherItWasNew) {
  HKEY key = nullptr;
  DWORD disposition = 0;
  for (DWORD expected : {REG_CREATED_NEW_KEY, REG_OPENED_EXISTING_KEY}) {
    key = Make(root_, "a\\b\\c", &disposition);
    EXPECT_EQ(disposition, expected);
    RegCloseKey(key);
  }
  EXPECT_EQ(RegOpenKeyExA(root_, "a\\B", 0, KEY_READ, &key), 0) << "those above it are made too";
  RegCloseKey(key);
}

TEST_F(RegistryTest, RightsOfAHandleAreKept) {
  HKEY reader = nullptr;
  ASSERT_EQ(RegOpenKeyExA(HKEY_CURRENT_USER, kRoot, 0, KEY_READ, &reader), 0);
  EXPECT_EQ(RegSetValueExA(reader, "v", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2),
            ERROR_ACCESS_DENIED);
  EXPECT_EQ(RegDeleteValueA(reader, "v"), ERROR_ACCESS_DENIED);
  RegCloseKey(reader);
}

TEST_F(RegistryTest, DeletedTreesAreGone) {
  HKEY below = Make(root_, "a\\b");
  ASSERT_EQ(RegDeleteTreeA(root_, "a"), 0);
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExA(root_, "a", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegSetValueExA(below, "v", 0, REG_SZ, reinterpret_cast<const BYTE*>("x"), 2),
            ERROR_KEY_DELETED);
  RegCloseKey(below);
  // A neighbour whose name only begins the same stays.
  key = Make(root_, "ab");
  RegCloseKey(key);
  EXPECT_EQ(RegDeleteTreeA(root_, "a"), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(RegOpenKeyExA(root_, "ab", 0, KEY_READ, &key), 0);
  RegCloseKey(key);
}

TEST_F(RegistryTest, ClassesAndCodePageOfTheSystem) {
  HKEY key = Make(HKEY_CLASSES_ROOT, "qvp\\shell");
  RegCloseKey(key);
  EXPECT_EQ(RegDeleteTreeA(HKEY_CLASSES_ROOT, "qvp"), 0);
  ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, "System\\CurrentControlSet\\Control\\Nls\\CodePage",
                          0, KEY_READ, &key),
            0);
  char text[10] = {};
  DWORD size = sizeof text;
  EXPECT_EQ(RegQueryValueExA(key, "ACP", nullptr, nullptr, reinterpret_cast<LPBYTE>(text), &size),
            0);
  EXPECT_STREQ(text, "1252");
  RegCloseKey(key);
}

TEST_F(RegistryTest, ProcessesThatWriteAtOnceLoseNothing) {
  constexpr int kCount = 50;
  platform_test::Child one({"registry", kRoot, "one", std::to_string(kCount)});
  platform_test::Child two({"registry", kRoot, "two", std::to_string(kCount)});
  EXPECT_EQ(one.Finish(), 0u);
  EXPECT_EQ(two.Finish(), 0u);
  for (int i = 0; i < kCount; ++i) {
    EXPECT_EQ(Get(("one" + std::to_string(i)).c_str()).size(), 2u) << i;
    EXPECT_EQ(Get(("two" + std::to_string(i)).c_str()).size(), 2u) << i;
  }
}

}  // namespace

// The resources looked for are those of tests/test_resources.txt and of the library, which every
// test executable carries.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "tests/platform/child_process.h"
#include "tests/test_platform.h"

namespace {

std::string String(UINT number, int size = 100) {
  std::string buffer(static_cast<size_t>(size) + 1, '#');
  int length = LoadStringA(GetModuleHandleA(nullptr), number, buffer.data(), size);
  EXPECT_EQ(buffer[static_cast<size_t>(length)], '\0');
  EXPECT_EQ(buffer.back(), '#') << "nothing is written behind the buffer";
  return buffer.substr(0, static_cast<size_t>(length));
}

TEST(ModulesTest, StringsOfTheExecutable) {
  EXPECT_EQ(String(2578), "C:\\Temp\\test_settings.ini");
  EXPECT_EQ(String(2579), "test_debug.log");
  EXPECT_EQ(String(2579, 5), "test");
  EXPECT_EQ(String(2579, 1), "");
  EXPECT_EQ(String(2577), "") << "an empty place in a block that is there";
  EXPECT_EQ(String(60000), "");
}

TEST(ModulesTest, ResourcesByTypeAndNumber) {
  HMODULE module = GetModuleHandleA(nullptr);
  HRSRC resource = FindResourceA(module, MAKEINTRESOURCEA(1), "ZRcs");
  ASSERT_NE(resource, nullptr) << "types ignore letter case";
  ASSERT_EQ(SizeofResource(module, resource), 2u);
  HGLOBAL data = LoadResource(module, resource);
  auto* bytes = static_cast<const unsigned char*>(LockResource(data));
  ASSERT_NE(bytes, nullptr);
  EXPECT_EQ(bytes[0] * 256 + bytes[1], 1252);
  EXPECT_EQ(FindResourceA(module, "#1", "ZRCS"), resource);
  EXPECT_EQ(FindResourceA(module, MAKEINTRESOURCEA(999), "ZRCS"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_NAME_NOT_FOUND));
  EXPECT_EQ(FindResourceA(module, MAKEINTRESOURCEA(1), "NONE"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_RESOURCE_TYPE_NOT_FOUND));
}

std::vector<std::string>& Seen() {
  static std::vector<std::string> seen;
  return seen;
}

std::string NameText(LPCSTR name) {
  if (!IS_INTRESOURCE(name)) return name;
  return "#" + std::to_string(reinterpret_cast<ULONG_PTR>(name));
}

BOOL CALLBACK CollectType(HMODULE, LPSTR type, LONG_PTR) {
  Seen().push_back(NameText(type));
  return TRUE;
}

BOOL CALLBACK CollectName(HMODULE, LPCSTR type, LPSTR name, LONG_PTR most) {
  Seen().push_back(NameText(type) + " " + NameText(name));
  return static_cast<LONG_PTR>(Seen().size()) < most;
}

TEST(ModulesTest, Enumerations) {
  HMODULE module = GetModuleHandleA(nullptr);
  Seen().clear();
  ASSERT_TRUE(EnumResourceTypesA(module, CollectType, 0));
  std::vector<std::string> types = Seen();
  EXPECT_EQ(std::count(types.begin(), types.end(), "ZRCS"), 1) << "in upper case, each once";
  ASSERT_GE(std::count(types.begin(), types.end(), "#6"), 1);
  EXPECT_LT(std::find(types.begin(), types.end(), "ZRCS"),
            std::find(types.begin(), types.end(), "#6"))
      << "names come before numbers";
  Seen().clear();
  EXPECT_TRUE(EnumResourceNamesA(module, "zrcs", CollectName, 100));
  EXPECT_EQ(Seen(), std::vector<std::string>{"zrcs #1"});
  Seen().clear();
  EXPECT_FALSE(EnumResourceNamesA(module, RT_STRING, CollectName, 1)) << "the callback ends it";
  EXPECT_EQ(Seen().size(), 1u);
  EXPECT_FALSE(EnumResourceNamesA(module, "NONE", CollectName, 100));
}

TEST(ModulesTest, FileNames) {
  char path[MAX_PATH] = {};
  DWORD length = GetModuleFileNameA(nullptr, path, MAX_PATH);
  ASSERT_GT(length, 0u);
  EXPECT_NE(GetFileAttributesA(path), INVALID_FILE_ATTRIBUTES);
  EXPECT_NE(std::string(path).find("platform_tests"), std::string::npos);
  WCHAR wide[MAX_PATH] = {};
  EXPECT_EQ(GetModuleFileNameW(GetModuleHandleA(nullptr), wide, MAX_PATH), length);
  EXPECT_EQ(std::string(wide, wide + length), path);
  char cut[6] = {};
  EXPECT_EQ(GetModuleFileNameA(nullptr, cut, 5), 5u);
  EXPECT_EQ(std::string(cut, 4), std::string(path, 4)) << "Wine's narrow call does not end it";
}

TEST(ModulesTest, LibrariesThatDoNotLoad) {
  const std::string text = test::TempFolder() + "\\text.dll";
  ASSERT_TRUE(test::WriteWholeFile(text, "no library"));
  EXPECT_EQ(LoadLibraryA((test::TempFolder() + "\\missing.dll").c_str()), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
  EXPECT_EQ(LoadLibraryA(text.c_str()), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_BAD_EXE_FORMAT));
  EXPECT_EQ(GetProcAddress(GetModuleHandleA(nullptr), "NoSuchFunction"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
}

TEST(ModulesTest, LoadedLibrary) {
  std::string folder = platform_test::ChildPath();
  std::string path = folder.substr(0, folder.rfind('\\') + 1) + QV_TEST_LIBRARY_FILE;
  HMODULE library = LoadLibraryA(path.c_str());
  ASSERT_NE(library, nullptr) << path;
  EXPECT_EQ(GetModuleHandleA(QV_TEST_LIBRARY_FILE), library);
  char own[MAX_PATH] = {};
  GetModuleFileNameA(library, own, MAX_PATH);
  EXPECT_EQ(std::string(own), path);

  using Entry = int (*)();
  auto attached =
      reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(library, "AttachedOnce")));
  ASSERT_NE(attached, nullptr);
  EXPECT_EQ(attached(), 1) << "its DllMain ran, with its own handle";

  char text[100] = {};
  EXPECT_GT(LoadStringA(library, 2578, text, 100), 0) << "its own resources";
  EXPECT_TRUE(FreeLibrary(library));
  EXPECT_EQ(GetModuleHandleA(QV_TEST_LIBRARY_FILE), nullptr);
}

TEST(ModulesTest, CallsOfTheSystemByName) {
  HMODULE kernel = GetModuleHandleA("kernel32.dll");
  ASSERT_NE(kernel, nullptr);
  EXPECT_NE(GetProcAddress(kernel, "GlobalMemoryStatusEx"), nullptr);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(LoadLibraryA("KERNEL32.DLL"), kernel);
    EXPECT_TRUE(FreeLibrary(kernel));
  }
  EXPECT_EQ(GetProcAddress(kernel, "NoSuchCallOfTheSystem"), nullptr);
  EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
}

}  // namespace

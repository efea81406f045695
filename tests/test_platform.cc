#include "tests/test_platform.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "platform/native_files.h"

namespace test {
namespace {

std::filesystem::path NativeOf(const std::string& path) {
  std::string native = platform::NativePath(path);
  return std::filesystem::path(std::u8string(native.begin(), native.end()));
}

}  // namespace

std::string TempFolder() {
  static const std::string folder = "C:\\Temp\\qv_test_" + std::to_string(GetCurrentProcessId());
  std::error_code error;
  std::filesystem::create_directories(NativeOf(folder), error);
  return folder;
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(NativeOf(path), std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool WriteWholeFile(const std::string& path, const std::string& bytes) {
  std::ofstream file(NativeOf(path), std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  return !file.fail();
}

bool Exists(const std::string& path) {
  std::error_code error;
  return std::filesystem::exists(NativeOf(path), error);
}

std::vector<std::string> FolderEntries(const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(NativeOf(path), error)) {
    std::u8string name = entry.path().filename().u8string();
    names.emplace_back(name.begin(), name.end());
  }
  std::sort(names.begin(), names.end());
  return names;
}

void EmptyFolder(const std::string& path) {
  std::error_code error;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(NativeOf(path), error)) {
    // Windows removes no file that is read-only.
    if (!entry.is_regular_file(error)) continue;
    std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_write,
                                 std::filesystem::perm_options::add, error);
  }
  for (const auto& entry : std::filesystem::directory_iterator(NativeOf(path), error)) {
    std::filesystem::remove_all(entry.path(), error);
  }
}

}  // namespace test

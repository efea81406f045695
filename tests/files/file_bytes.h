// Files of tests: made with their contents and opened, their bytes as texts.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "files/disk_file.h"
#include "tests/test_platform.h"

namespace test {

inline void OpenExclusive(CDiskFile& file, const std::string& path) {
  EXPECT_EQ(file.SetPath(path.c_str()), ZRErrNone);
  EXPECT_EQ(file.OpenExclusive(), ZRErrNone);
}

inline void OpenNew(CDiskFile& file, const std::string& path, const std::string& contents) {
  EXPECT_TRUE(WriteWholeFile(path, contents));
  OpenExclusive(file, path);
}

// What a read delivers, with its error in *error.
inline std::string ReadBytes(CDiskFile& file, int64_t offset, uint32_t count,
                             ZRError* error = nullptr, uint32_t mode = kFromStart) {
  std::string bytes(count, '#');
  const ZRError answer = file.ReadAt(bytes.data(), &count, offset, mode);
  if (error != nullptr) *error = answer;
  EXPECT_EQ(bytes.find_first_not_of('#', count), std::string::npos) << "more than delivered";
  return bytes.substr(0, count);
}

// The same past the cache: what is on the disk.
inline std::string DiskBytes(CDiskFile& file, uint64_t offset, uint32_t count) {
  std::string bytes(count, '#');
  file.RawReadAt(bytes.data(), &count, offset);
  return bytes.substr(0, count);
}

}  // namespace test

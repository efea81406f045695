// Where the debug log of a test executable and its backups lie: beside the executable, under the
// name in its resources.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "platform/windows_api.h"
#include "tests/test_platform.h"

namespace test {

inline const std::string kMark = "\xEF\xBB\xBF";

inline std::string ProgramFolder() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  const std::string text = path;
  return text.substr(0, text.rfind('\\') + 1);
}

inline std::string LogPath() { return ProgramFolder() + "test_debug.log"; }
inline std::string BackupPath() { return ProgramFolder() + "test_debug.OLD"; }

// Full paths of the dated backups: eight digits, "_", four digits, ".OLD".
inline std::vector<std::string> DatedLogs() {
  std::vector<std::string> found;
  const std::string folder = ProgramFolder();
  for (const std::string& name : FolderEntries(folder.substr(0, folder.size() - 1))) {
    unsigned day, minute;
    int end = 0;
    if (std::sscanf(name.c_str(), "%8u_%4u.OLD%n", &day, &minute, &end) == 2 && end == 17) {
      found.push_back(folder + name);
    }
  }
  return found;
}

inline void RemoveLogs() {
  DeleteFileA(LogPath().c_str());
  DeleteFileA(BackupPath().c_str());
  for (const std::string& path : DatedLogs()) DeleteFileA(path.c_str());
}

}  // namespace test

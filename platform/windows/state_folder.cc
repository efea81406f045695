#include "platform/state_folder.h"

#include "platform/windows_api.h"

namespace platform {

std::string StateFolder() {
  wchar_t wide[MAX_PATH] = L"";
  if (SHGetFolderPathW(nullptr, CSIDL_APPDATA, nullptr, 0, wide) != S_OK) return "";
  char folder[MAX_PATH * 3] = "";
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, folder, sizeof folder, nullptr, nullptr);
  return std::string(folder) + "\\Quorvantis";
}

}  // namespace platform

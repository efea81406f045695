#include "programs/common/program_settings.h"

#include "app/settings.h"
#include "platform/windows_api.h"
#include "programs/common/escapes.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"

namespace program {
namespace {

constexpr char kSection[] = "Programs";

// Settings files hold bytes of the system's code page and lose blanks and quotes at both ends.
bool IsKept(unsigned char c) { return c > 0x20 && c < 0x7F && c != '"' && c != '%' && c != ';'; }

}  // namespace

bool UseProgramSettings() {
  char name[MAX_PATH] = "";
  char folder[MAX_PATH] = "";
  int length = LoadStringA(GetModuleHandleA(nullptr), qv::kSettingsPathString, name, sizeof name);
  if (length <= 0) return false;
  if (SHGetFolderPathA(nullptr, CSIDL_APPDATA, nullptr, 0, folder) != S_OK) return false;
  std::string path = Joined(folder, name);
  // The path is in the system's code page, so the folder is made by the calls that take that.
  std::string parent = path.substr(0, path.find_last_of('\\'));
  CreateDirectoryA(folder, nullptr);
  CreateDirectoryA(parent.c_str(), nullptr);
  return qv::SetSettingsPath(path.c_str());
}

std::string ReadProgramSetting(const char* key) {
  char text[4096] = "";
  ReadSettingString(kSection, key, "", text, sizeof text);
  return Unescape(text, nullptr);
}

bool WriteProgramSetting(const char* key, const std::string& text) {
  std::string escaped = Escape(text, IsKept);
  return WriteSettingString(kSection, key, text.empty() ? nullptr : escaped.c_str()) != 0;
}

}  // namespace program

#include "programs/common/registry_text.h"

#include "programs/common/text.h"
#include "text/code_page_strings.h"

namespace program {

std::string RegistryText(HKEY root, const std::string& path, const char* name) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return "";
  char text[1024] = "";
  DWORD size = sizeof text - 1, type = REG_NONE;
  LSTATUS error =
      RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(text), &size);
  RegCloseKey(key);
  return error == ERROR_SUCCESS && type == REG_SZ ? std::string(text) : "";
}

LSTATUS SetRegistryText(HKEY root, const std::string& path, const char* name,
                        const std::string& text) {
  HKEY key = nullptr;
  LSTATUS error = RegCreateKeyExA(root, path.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE,
                                  KEY_ALL_ACCESS, nullptr, &key, nullptr);
  if (error != ERROR_SUCCESS) return error;
  error = RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                         static_cast<DWORD>(text.size() + 1));
  RegCloseKey(key);
  return error;
}

std::string RegisteredCommand() {
  std::string command = RegistryText(HKEY_CLASSES_ROOT, "qvp\\shell\\open\\command", nullptr);
  return FromCodePage(command, GetSystemCodePage()).value_or(command);
}

}  // namespace program

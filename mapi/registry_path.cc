#include "mapi/registry_path.h"

#include <cstring>

namespace qv {

RegistryPath::~RegistryPath() {
  while (count_ > 0) RegCloseKey(keys_[--count_]);
}

LSTATUS RegistryPath::Enter(LSTATUS status, HKEY key) {
  if (status == ERROR_SUCCESS) keys_[count_++] = key;
  return status;
}

LSTATUS RegistryPath::Open(const char* subkey) {
  if (count_ == kMostKeys) return ERROR_INVALID_PARAMETER;
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExA(Key(), subkey, 0, KEY_ALL_ACCESS, &key);
  return Enter(status, key);
}

LSTATUS RegistryPath::Create(const char* subkey) {
  if (count_ == kMostKeys) return ERROR_INVALID_PARAMETER;
  HKEY key = nullptr;
  const LSTATUS status = RegCreateKeyExA(Key(), subkey, 0, nullptr, REG_OPTION_NON_VOLATILE,
                                         KEY_ALL_ACCESS, nullptr, &key, nullptr);
  return Enter(status, key);
}

LSTATUS RegistryPath::SetText(const char* name, const char* text) const {
  const DWORD size = static_cast<DWORD>(std::strlen(text) + 1);
  return RegSetValueExA(Key(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), size);
}

}  // namespace qv

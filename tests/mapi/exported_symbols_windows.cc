#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {

std::vector<std::string> ExportedSymbols(HMODULE module) {
  const BYTE* base = reinterpret_cast<const BYTE*>(module);
  const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
  const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
  const IMAGE_DATA_DIRECTORY& entry =
      headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT];
  const auto* exports =
      reinterpret_cast<const IMAGE_EXPORT_DIRECTORY*>(base + entry.VirtualAddress);
  const auto* names = reinterpret_cast<const DWORD*>(base + exports->AddressOfNames);
  std::vector<std::string> result;
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) {
    result.push_back(reinterpret_cast<const char*>(base + names[i]));
  }
  return result;
}

}  // namespace mapi_test

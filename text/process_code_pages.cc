#include "text/process_code_pages.h"

#include <atomic>
#include <cstdlib>

#include "platform/windows_api.h"

namespace qv {
namespace {

struct ProcessCodePages {
  // Any thread, one whole value at a time.
  std::atomic<CodePage> default_page{kWesternWindows};
  std::atomic<CodePage> application_page{kWesternWindows};
};

ProcessCodePages& State() {
  static constinit ProcessCodePages state;
  return state;
}

constexpr char kCodePageKey[] = "System\\CurrentControlSet\\Control\\Nls\\CodePage";
constexpr char kAnsiValue[] = "ACP";
constexpr DWORD kMostValueBytes = 255;

// False when the value is not there or is no text. `text` holds kMostValueBytes + 1 bytes.
bool ReadAnsiValue(char* text) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, kCodePageKey, 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return false;
  }
  DWORD bytes = kMostValueBytes;
  DWORD type = REG_NONE;
  const LONG error =
      RegQueryValueExA(key, kAnsiValue, nullptr, &type, reinterpret_cast<BYTE*>(text), &bytes);
  RegCloseKey(key);
  if (error != ERROR_SUCCESS || type != REG_SZ || bytes > kMostValueBytes) return false;
  text[bytes] = 0;  // the registry does not promise a terminator
  return true;
}

}  // namespace

CodePage ResolveCodePage(CodePage cp) {
  return cp == kDefaultCodePage ? State().default_page.load(std::memory_order_relaxed) : cp;
}

void ResetCodePagesForTest() {
  State().default_page = kWesternWindows;
  State().application_page = kWesternWindows;
}

}  // namespace qv

CodePage GetSystemCodePage() {
  char text[qv::kMostValueBytes + 1];
  if (!qv::ReadAnsiValue(text)) return GetApplicationCodePage();
  const long number = std::strtol(text, nullptr, 10);
  const bool is_code_page = number > 0 && number <= 0xFFFF;
  return is_code_page ? static_cast<CodePage>(number) : GetApplicationCodePage();
}

CodePage SetDefaultCodePage(CodePage cp) {
  std::atomic<CodePage>& page = qv::State().default_page;
  return cp == kDefaultCodePage ? page.load() : page.exchange(cp);
}

CodePage GetApplicationCodePage() { return qv::State().application_page; }

CodePage SystemAnsiCodePage() { return ValidCodePageOr1252(static_cast<CodePage>(GetACP())); }

CodePage ValidWindowsCodePage(CodePage cp) {
  return cp < kDefaultCodePage && IsValidCodePage(cp) ? cp : 0;
}

CodePage ValidCodePageOr1252(CodePage cp) { return IsValidCodePage(cp) ? cp : kWesternWindows; }

void SetApplicationCodePage(CodePage cp) { qv::State().application_page = cp; }

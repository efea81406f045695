// Texts of error numbers.
#include <cstring>

#include "platform/host/calls.h"
#include "platform/host/process.h"

namespace {

constexpr struct {
  DWORD error;
  const char* text;
} kTexts[] = {
    {ERROR_NOT_ENOUGH_MEMORY,
     "Not enough memory resources are available to process this command.\r\n"},
    {ERROR_INVALID_PARAMETER, "The parameter is incorrect.\r\n"},
};

}  // namespace

DWORD FormatMessageA(DWORD, LPCVOID, DWORD message, DWORD, LPSTR buffer, DWORD size, void*) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, DWORD{0});
  for (const auto& row : kTexts) {
    if (row.error != message) continue;
    const size_t length = strlen(row.text);
    if (length >= size) return host::Fail(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
    std::memcpy(buffer, row.text, length + 1);
    return static_cast<DWORD>(length);
  }
  return host::Fail(ERROR_MR_MID_NOT_FOUND, DWORD{0});
}

// FormatMessageA, for the system's own texts of error numbers.
#include "platform/host/error_texts.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/host/calls.h"

namespace host {
namespace {

// The texts that users of the file layer meet most; others have none here.
constexpr struct {
  DWORD error;
  const char* text;
} kTexts[] = {
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {32, "The process cannot access the file because it is being used by another process."},
    {87, "The parameter is incorrect."},
    {112, "There is not enough space on the disk."},
    {1392, "The file or directory is corrupted and unreadable."},
    {1393, "The disk structure is corrupted and unreadable."},
};

const char* TextOf(DWORD error) {
  for (const auto& row : kTexts) {
    if (row.error == error) return row.text;
  }
  return nullptr;
}

}  // namespace
}  // namespace host

using host::Fail;

DWORD FormatMessageA(DWORD flags, LPCVOID, DWORD number, DWORD, LPSTR buffer, DWORD, va_list*) {
  if (DWORD fault = host::Enter(__func__)) return Fail(fault, DWORD{0});
  constexpr DWORD kNeeded = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM;
  if ((flags & kNeeded) != kNeeded) return Fail(DWORD{ERROR_INVALID_PARAMETER}, DWORD{0});
  const char* found = host::TextOf(number);
  if (!found) return Fail(DWORD{ERROR_MR_MID_NOT_FOUND}, DWORD{0});
  const std::string text = std::string(found) + "\r\n";
  char* block = static_cast<char*>(std::malloc(text.size() + 1));
  if (!block) return Fail(DWORD{ERROR_NOT_ENOUGH_MEMORY}, DWORD{0});
  std::memcpy(block, text.c_str(), text.size() + 1);
  std::memcpy(buffer, &block, sizeof block);  // with that flag it is the place for the block
  return static_cast<DWORD>(text.size());
}

HLOCAL LocalFree(HLOCAL block) {
  std::free(block);
  return nullptr;
}

// FormatMessageA, for the system's own texts of error numbers.
#include "platform/host/error_texts.h"

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/host/calls.h"

namespace host {
namespace {

// The texts that callers of our calls meet most; other numbers have none here.
constexpr struct {
  DWORD error;
  const char* text;
} kTexts[] = {
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {8, "Not enough memory resources are available to process this command."},
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

DWORD FormatMessageA(DWORD flags, LPCVOID, DWORD number, DWORD, LPSTR buffer, DWORD size,
                     va_list*) {
  if (DWORD fault = host::Enter(__func__)) return Fail(fault, DWORD{0});
  if ((flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0) return Fail(ERROR_INVALID_PARAMETER, DWORD{0});
  const char* found = host::TextOf(number);
  if (!found) return Fail(ERROR_MR_MID_NOT_FOUND, DWORD{0});
  const std::string text = std::string(found) + "\r\n";
  char* place = buffer;
  if ((flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0) {
    place = static_cast<char*>(std::malloc(text.size() + 1));
    if (!place) return Fail(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
    std::memcpy(buffer, &place, sizeof place);
  } else if (text.size() >= size) {
    return Fail(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
  }
  std::memcpy(place, text.c_str(), text.size() + 1);
  return static_cast<DWORD>(text.size());
}

HLOCAL LocalFree(HLOCAL block) {
  std::free(block);
  return nullptr;
}

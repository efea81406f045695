#include "platform/host/process_memory.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include "platform/host/calls.h"

namespace host {
namespace {

constexpr uintptr_t kPageSize =
    4096;  // the smallest there is; larger ones are asked more than once

using PageTest = bool (*)(uintptr_t page);

// Copies from memory of this process that may not be there; the bytes that came.
size_t CopyFromSelf(uintptr_t address, void* buffer, size_t size) {
  const iovec local{buffer, size};
  const iovec remote{reinterpret_cast<void*>(address), size};
  const ssize_t copied = process_vm_readv(getpid(), &local, 1, &remote, 1, 0);
  return copied < 0 ? 0 : static_cast<size_t>(copied);
}

bool CanReadPage(uintptr_t page) {
  char byte;
  return CopyFromSelf(page, &byte, 1) == 1;
}

// The kernel adds no bit to the page's first word, in one atomic step that needs the right to
// write. (Nobody waits at `nobody`; whoever waits at the word for a lock of its own is left asleep,
// or woken in vain, which every waiter must expect.)
bool CanWritePage(uintptr_t page) {
  constexpr int kAddNoBit = FUTEX_OP(FUTEX_OP_OR, 0, FUTEX_OP_CMP_EQ, 0);
  uint32_t nobody = 0;
  return syscall(SYS_futex, &nobody, FUTEX_WAKE_OP | FUTEX_PRIVATE_FLAG, 0, nullptr, page,
                 kAddNoBit) >= 0;
}

BOOL IsBadSpan(uintptr_t first, uintptr_t size, PageTest page_is_good) {
  if (size == 0) return FALSE;
  const uintptr_t last = first + (size - 1);
  if (first == 0 || last < first) return TRUE;
  for (uintptr_t page = first & ~(kPageSize - 1);; page += kPageSize) {
    if (!page_is_good(page)) return TRUE;
    if (last - page < kPageSize) return FALSE;
  }
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

BOOL IsBadReadPtr(LPCVOID address, UINT_PTR size) {
  if (Enter(__func__)) return TRUE;
  return host::IsBadSpan(reinterpret_cast<uintptr_t>(address), size, host::CanReadPage);
}

BOOL IsBadWritePtr(LPVOID address, UINT_PTR size) {
  if (Enter(__func__)) return TRUE;
  return host::IsBadSpan(reinterpret_cast<uintptr_t>(address), size, host::CanWritePage);
}

HANDLE GetCurrentProcess(void) { return INVALID_HANDLE_VALUE; }

BOOL ReadProcessMemory(HANDLE process, LPCVOID address, LPVOID buffer, SIZE_T size,
                       SIZE_T* copied) {
  if (copied) *copied = 0;
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (process != GetCurrentProcess()) return Fail(ERROR_INVALID_HANDLE, FALSE);
  const SIZE_T count = host::CopyFromSelf(reinterpret_cast<uintptr_t>(address), buffer, size);
  if (copied) *copied = count;
  return count == size ? TRUE : Fail(ERROR_PARTIAL_COPY, FALSE);
}

// Each standard-call export must take exactly its published arguments off the stack: a host that
// gets a different stack pointer back crashes somewhere else, later.
#include <gtest/gtest.h>

#include "tests/mapi/mapi_fixture.h"

// These need the platform's header first.
#include <mapi.h>
#include <xcmc.h>

namespace mapi_test {
namespace {

template <typename Result, typename... Arguments>
constexpr int BytesOf(Result(WINAPI*)(Arguments...)) {
  return static_cast<int>((0 + ... + ((sizeof(Arguments) + 3) / 4 * 4)));
}
template <typename Function>
constexpr int PublishedBytes() {
  return BytesOf(static_cast<Function*>(nullptr));
}

// Calls the function with zeros for arguments and returns the bytes that it took off the stack.
int BytesTaken(FARPROC function) {
  int taken;
  asm volatile(
      "movl %%esp, %%esi\n\t"
      "movl $20, %%ecx\n"
      "1:\n\t"
      "pushl $0\n\t"
      "loop 1b\n\t"
      "movl %%esp, %%edi\n\t"
      "call *%%eax\n\t"
      "movl %%esp, %%ebx\n\t"
      "subl %%edi, %%ebx\n\t"
      "movl %%esi, %%esp\n\t"
      : "=&b"(taken), "+a"(function)
      :
      : "ecx", "edx", "esi", "edi", "memory", "cc");
  return taken;
}

using SetDefault = unsigned char WINAPI(const char*);
using FreeBuffer = ULONG WINAPI(void*);
using RunDll = void WINAPI(HWND, HINSTANCE, LPSTR, int);

TEST(StackPointer, EachExportTakesItsPublishedArguments) {
  const struct {
    const char* name;
    int bytes;
  } kRows[] = {
      {"MAPILogon", PublishedBytes<MAPILOGON>()},
      {"MAPILogoff", PublishedBytes<MAPILOGOFF>()},
      {"MAPISendMail", PublishedBytes<MAPISENDMAIL>()},
      {"MAPISendDocuments", PublishedBytes<MAPISENDDOCUMENTS>()},
      {"MAPIFindNext", PublishedBytes<MAPIFINDNEXT>()},
      {"MAPIReadMail", PublishedBytes<MAPIREADMAIL>()},
      {"MAPISaveMail", PublishedBytes<MAPISAVEMAIL>()},
      {"MAPIDeleteMail", PublishedBytes<MAPIDELETEMAIL>()},
      {"MAPIFreeBuffer", PublishedBytes<FreeBuffer>()},
      {"MAPIAddress", PublishedBytes<MAPIADDRESS>()},
      {"MAPIDetails", PublishedBytes<MAPIDETAILS>()},
      {"MAPIResolveName", PublishedBytes<MAPIRESOLVENAME>()},
      {"cmc_logon", PublishedBytes<decltype(cmc_logon)>()},
      {"cmc_logoff", PublishedBytes<decltype(cmc_logoff)>()},
      {"cmc_send", PublishedBytes<decltype(cmc_send)>()},
      {"cmc_query_configuration", PublishedBytes<decltype(cmc_query_configuration)>()},
      {"cmc_send_documents", PublishedBytes<decltype(cmc_send_documents)>()},
      {"cmc_act_on", PublishedBytes<decltype(cmc_act_on)>()},
      {"cmc_list", PublishedBytes<decltype(cmc_list)>()},
      {"cmc_read", PublishedBytes<decltype(cmc_read)>()},
      {"cmc_look_up", PublishedBytes<decltype(cmc_look_up)>()},
      {"cmc_free", PublishedBytes<decltype(cmc_free)>()},
      {"_SetQVAsDefaultMailClient@4", PublishedBytes<SetDefault>()},
      {"MakeDefaultAsRunDll", PublishedBytes<RunDll>()},
  };
  MailClientKey mail;  // so that registration shows no boxes
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    FARPROC function = GetProcAddress(Library(), row.name);
    ASSERT_NE(function, nullptr);
    EXPECT_EQ(BytesTaken(function), row.bytes);
  }
}

}  // namespace
}  // namespace mapi_test

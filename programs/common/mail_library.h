// The mail library, loaded at run time as every host application does.
//
//   MailLibrary library;
//   std::string trouble = library.Load("");     // "" when it is ready
//   library.send_mail(...);
#pragma once

#include <string>

#include "mapi/include/qvsmapi.h"
#include "platform/windows_api.h"

namespace program {

struct MailLibrary {
  MailLibrary() = default;
  ~MailLibrary();
  MailLibrary(const MailLibrary&) = delete;
  MailLibrary& operator=(const MailLibrary&) = delete;

  // `path` "": beside the running program. Returns what went wrong, "" for nothing.
  std::string Load(const std::string& path);

  QvMapiLogon mapi_logon = nullptr;
  QvMapiSendMail mapi_send_mail = nullptr;
  QvMapiLogoff mapi_logoff = nullptr;
  QvCmcLogon cmc_logon = nullptr;
  QvCmcSend cmc_send = nullptr;
  QvCmcLogoff cmc_logoff = nullptr;
  QvSetAsDefaultMailClient set_as_default = nullptr;
  QvMakeDefault make_default = nullptr;
  std::string path;  // of the file that was loaded

 private:
  HMODULE module_ = nullptr;
};

}  // namespace program

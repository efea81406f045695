#include "programs/common/mail_library.h"

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace program {
namespace {

template <typename Function>
bool Bind(HMODULE module, const char* name, Function* function) {
  // Through a plain function type: the entry's own type is known to us alone.
  *function =
      reinterpret_cast<Function>(reinterpret_cast<void (*)()>(GetProcAddress(module, name)));
  return *function != nullptr;
}

// Decorated where the calling convention asks for it, plain elsewhere.
bool BindDecorated(HMODULE module, QvSetAsDefaultMailClient* function) {
  return Bind(module, "_SetQVAsDefaultMailClient@4", function) ||
         Bind(module, "SetQVAsDefaultMailClient", function);
}

}  // namespace

MailLibrary::~MailLibrary() {
  if (module_ != nullptr) FreeLibrary(module_);
}

std::string MailLibrary::Load(const std::string& wanted) {
  path = wanted.empty() ? Joined(ProgramFolder(), QV_LIBRARY_FILE) : wanted;
  module_ = LoadLibraryW(ToWide(path).c_str());
  if (module_ == nullptr) return ErrorText(GetLastError());
  bool whole =
      Bind(module_, "MAPILogon", &mapi_logon) && Bind(module_, "MAPISendMail", &mapi_send_mail) &&
      Bind(module_, "MAPILogoff", &mapi_logoff) && Bind(module_, "cmc_logon", &cmc_logon) &&
      Bind(module_, "cmc_send", &cmc_send) && Bind(module_, "cmc_logoff", &cmc_logoff) &&
      Bind(module_, "MakeDefault", &make_default) && BindDecorated(module_, &set_as_default);
  return whole ? "" : "it lacks an entry point of the mail library";
}

}  // namespace program

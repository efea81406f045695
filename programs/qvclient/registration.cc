#include "programs/qvclient/registration.h"

#include "platform/windows_api.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/mail_library.h"
#include "programs/common/registry_text.h"
#include "programs/common/text.h"
#include "text/code_page_strings.h"

namespace qvclient {
namespace {

constexpr char kScheme[] = "qvp";
constexpr char kUserScheme[] = "Software\\Classes\\qvp";
constexpr char kMailClients[] = "SOFTWARE\\Clients\\Mail";
constexpr char kUserChoice[] =
    "SOFTWARE\\Microsoft\\Windows\\Shell\\Associations\\UrlAssociations\\MAILTO\\UserChoice";

LSTATUS RegisterScheme(HKEY root, const std::string& scheme, const std::string& command) {
  LSTATUS error = program::SetRegistryText(root, scheme, nullptr, "URL:Quorvantis");
  if (error == ERROR_SUCCESS) error = program::SetRegistryText(root, scheme, "URL Protocol", "");
  if (error == ERROR_SUCCESS)
    error = program::SetRegistryText(root, scheme + "\\shell\\open\\command", nullptr, command);
  return error;
}

// A tree that is not there is as good as removed.
LSTATUS RemoveTree(HKEY root, const char* path) {
  LSTATUS error = RegDeleteTreeA(root, path);
  return error == ERROR_FILE_NOT_FOUND ? ERROR_SUCCESS : error;
}

std::string RegistryTrouble(const std::string& what, LSTATUS error) {
  return what + ": " + program::ErrorText(static_cast<DWORD>(error));
}

std::string CheckDefaultClient() {
  if (program::RegistryText(HKEY_CURRENT_USER, kMailClients, nullptr) != "Quorvantis") {
    return "the library did not register the mail client";
  }
  if (program::RegistryText(HKEY_CURRENT_USER, kUserChoice, "Progid") != "QVC") {
    return "the library did not register the mailto links";
  }
  return "";
}

}  // namespace

std::string RegisterCommand(const std::string& program_path) {
  auto command = program::ToCodePage(program_path, GetSystemCodePage());
  bool fits = command && command->lost.empty() && command->bytes.size() < MAX_PATH;
  if (!fits) {
    return "the library cannot start a program at " + program::ShownPath(program_path) +
           ": move it to a folder with a short, plain name";
  }
  LSTATUS error = RegisterScheme(HKEY_CLASSES_ROOT, kScheme, command->bytes);
  if (error == ERROR_ACCESS_DENIED) {
    error = RegisterScheme(HKEY_CURRENT_USER, kUserScheme, command->bytes);
  }
  return error == ERROR_SUCCESS ? ""
                                : RegistryTrouble("cannot write the URL scheme \"qvp\"", error);
}

std::string UnregisterCommand() {
  LSTATUS user_error = RemoveTree(HKEY_CURRENT_USER, kUserScheme);
  LSTATUS error = RemoveTree(HKEY_CLASSES_ROOT, kScheme);
  if (error == ERROR_SUCCESS) error = user_error;
  return error == ERROR_SUCCESS ? ""
                                : RegistryTrouble("cannot remove the URL scheme \"qvp\"", error);
}

std::string MakeDefaultClient(const std::string& library_path) {
  program::MailLibrary library;
  std::string trouble = library.Load(library_path);
  if (!trouble.empty()) {
    return "cannot load the library " + program::ShownPath(library.path) + ": " + trouble;
  }
  auto path = program::ToCodePage(library.path, GetSystemCodePage());
  if (!path || !path->lost.empty()) {
    return "host applications cannot load a library at " + program::ShownPath(library.path) +
           ": move it to a folder with a plain name";
  }
  HKEY clients = nullptr;
  LSTATUS error =
      RegCreateKeyExA(HKEY_CURRENT_USER, kMailClients, 0, nullptr, REG_OPTION_NON_VOLATILE,
                      KEY_ALL_ACCESS, nullptr, &clients, nullptr);
  if (error != ERROR_SUCCESS) return RegistryTrouble("cannot make the key of mail clients", error);
  RegCloseKey(clients);
  if (library.set_as_default(path->bytes.c_str()) == 0) {
    return "the library could not register itself";
  }
  library.make_default();
  return CheckDefaultClient();
}

}  // namespace qvclient

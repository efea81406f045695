// What the tests of the surface share: the loaded library, files of the temporary folder, the
// client's registration, and a real DDE server in a process of its own.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "mapi/include/qvsmapi.h"
#include "platform/windows_api.h"
#include "tests/platform/child_process.h"

namespace mapi_test {

// Folder of the test executable, where the library and the server lie too, with its "\".
std::string ProgramFolder();
inline std::string ServerPath() { return platform_test::ChildPath(); }

// The real library, loaded once as a host does it.
HMODULE Library();
template <typename Function>
Function Export(const char* name) {
  return reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(Library(), name)));
}

// The names that a loaded library exports, read from its own tables.
std::vector<std::string> ExportedSymbols(HMODULE module);

// The temporary folder with its "\", and the staging folder without.
std::string TempFolder();
std::string StagingFolder();
std::string WriteTempFile(const std::string& name, const std::string& text);
bool FileExists(const std::string& path);

// Behaviour of the server, as tests/platform/child/main.cc lists it.
struct ServerSettings {
  std::string behaviour = "accept";
  DWORD delay = 0, wait = 0;  // milliseconds
};

// Leaves the settings where servers that are started from now on find them, and forgets what the
// last one received.
void PrepareServer(const ServerSettings& settings);
// For one that the hand-off started: it ends by itself after its conversation.
void WaitUntilServerIsGone();
// What the server was sent since PrepareServer.
std::string ReceivedRequest();

// Something that lasts as long as a scope.
class Scope {
 public:
  Scope() = default;
  Scope(const Scope&) = delete;
  Scope& operator=(const Scope&) = delete;
};

// A server that runs until it has served one conversation.
class RunningServer : Scope {
 public:
  explicit RunningServer(const ServerSettings& settings = {});

 private:
  std::optional<platform_test::Child> child_;
};

// The bytes of a text value, its terminator included; "none" without the key or the value.
std::string StoredText(HKEY root, const std::string& path, const char* name);

// Registers a launch command for the client's URL scheme; the end removes it.
class RegisteredCommand : Scope {
 public:
  explicit RegisteredCommand(const std::string& command);
  ~RegisteredCommand();
};

// SOFTWARE\Clients\Mail of the user, which registration never makes itself; the end removes it and
// what registration wrote.
class MailClientKey : Scope {
 public:
  MailClientKey();
  ~MailClientKey();
};

// The registry's "ACP" for the length of a scope.
class SystemCodePage : Scope {
 public:
  explicit SystemCodePage(const std::string& number);
  ~SystemCodePage();

 private:
  std::string before_;
};

// Escapes by the rule, in a way of its own.
std::string Escaped(const std::string& text);

// The functions of the library linked into the test: its start-up has run once, so the character
// set tables are there.
class MapiTest : public testing::Test {
 protected:
  static void SetUpTestSuite();
};

}  // namespace mapi_test

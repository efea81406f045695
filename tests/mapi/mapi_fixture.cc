#include "tests/mapi/mapi_fixture.h"

#include <cstring>

#include "mapi/module_startup.h"
#include "tests/test_platform.h"

namespace mapi_test {

using platform_test::WaitForText;

namespace {

constexpr char kCodePageKey[] = "System\\CurrentControlSet\\Control\\Nls\\CodePage";
constexpr char kOutputName[] = "qv_server_output.txt";

std::string OutputPath() { return TempFolder() + kOutputName; }

// The key, made where it is missing.
HKEY OpenKey(HKEY root, const char* path) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(root, path, 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS,
                            nullptr, &key, nullptr),
            0);
  return key;
}

void SetText(HKEY root, const char* path, const char* name, const std::string& text) {
  HKEY key = OpenKey(root, path);
  EXPECT_EQ(RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                           static_cast<DWORD>(text.size() + 1)),
            0);
  RegCloseKey(key);
}

}  // namespace

std::string ProgramFolder() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  return std::string(path, static_cast<size_t>(std::strrchr(path, '\\') - path) + 1);
}

HMODULE Library() {
  static HMODULE library = LoadLibraryA((ProgramFolder() + QV_LIBRARY_FILE).c_str());
  EXPECT_NE(library, nullptr) << QV_LIBRARY_FILE;
  return library;
}

std::string TempFolder() {
  char path[MAX_PATH] = {};
  GetTempPathA(MAX_PATH, path);
  return path;
}

std::string StagingFolder() { return TempFolder() + "Quorvantis"; }

std::string WriteTempFile(const std::string& name, const std::string& text) {
  const std::string path = TempFolder() + name;
  HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
  EXPECT_NE(file, INVALID_HANDLE_VALUE) << path;
  DWORD done = 0;
  WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &done, nullptr);
  CloseHandle(file);
  return path;
}

bool FileExists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void PrepareServer(const ServerSettings& settings) {
  DeleteFileA(OutputPath().c_str());
  const std::string text = "serve QUORVANTIS " + settings.behaviour + " " + OutputPath() + " " +
                           std::to_string(settings.delay) + " " + std::to_string(settings.wait);
  SetEnvironmentVariableA("QV_TEST_CHILD", text.c_str());
}

void WaitUntilServerIsGone() { EXPECT_TRUE(WaitForText(OutputPath(), "gone\n")); }

// The server writes "ready", and the request behind its size and a colon.
std::string ReceivedRequest() {
  const std::string log = test::ReadWholeFile(OutputPath());
  const size_t colon = log.find(':');
  if (colon == std::string::npos) return "";
  return log.substr(colon + 1, std::stoul(log.substr(log.find('\n'))));
}

RunningServer::RunningServer(const ServerSettings& settings) {
  PrepareServer(settings);
  child_.emplace(std::vector<std::string>{});
  EXPECT_TRUE(WaitForText(OutputPath(), "ready\n"));
}

std::string StoredText(HKEY root, const std::string& path, const char* name) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(root, path.c_str(), 0, KEY_READ, &key)) return "none";
  char data[3000] = {};
  DWORD size = sizeof data, type = 0;
  const LSTATUS status =
      RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<LPBYTE>(data), &size);
  RegCloseKey(key);
  if (status) return "none";
  EXPECT_EQ(type, static_cast<DWORD>(REG_SZ));
  return std::string(data, size);
}

RegisteredCommand::RegisteredCommand(const std::string& command) {
  SetText(HKEY_CLASSES_ROOT, "qvp\\shell\\open\\command", nullptr, command);
}

RegisteredCommand::~RegisteredCommand() { RegDeleteTreeA(HKEY_CLASSES_ROOT, "qvp"); }

MailClientKey::MailClientKey() {
  for (const char* path : {"SOFTWARE\\Clients\\Mail", "SOFTWARE\\Microsoft\\Windows"}) {
    RegCloseKey(OpenKey(HKEY_CURRENT_USER, path));
  }
}

MailClientKey::~MailClientKey() {
  RegDeleteTreeA(HKEY_CURRENT_USER, "SOFTWARE\\Clients\\Mail");
  RegDeleteTreeA(HKEY_CURRENT_USER, "SOFTWARE\\Microsoft\\Windows\\Shell\\Associations");
}

SystemCodePage::SystemCodePage(const std::string& number)
    : before_(StoredText(HKEY_LOCAL_MACHINE, kCodePageKey, "ACP")) {
  SetText(HKEY_LOCAL_MACHINE, kCodePageKey, "ACP", number);
}

SystemCodePage::~SystemCodePage() {
  SetText(HKEY_LOCAL_MACHINE, kCodePageKey, "ACP", before_.c_str());
}

std::string Escaped(const std::string& text) {
  std::string out;
  for (const unsigned char c : text) {
    char hex[4];
    std::snprintf(hex, sizeof hex, "%%%02X", c);
    out += std::strchr(":<>\"|;',()[]{} %#~^`\r", c) ? std::string(hex) : std::string(1, c);
  }
  return out;
}

void MapiTest::SetUpTestSuite() {
  static const int started = ModuleStartup(GetModuleHandleA(nullptr), DLL_PROCESS_ATTACH);
  EXPECT_EQ(started, 1);
}

}  // namespace mapi_test

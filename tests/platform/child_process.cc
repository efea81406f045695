#include "tests/platform/child_process.h"

#include "tests/test_platform.h"

namespace platform_test {
namespace {

constexpr DWORD kLongestWait = 10000;  // milliseconds

// Quotes and the backslashes before them are escaped; the rest is held together by quotes.
std::string Quoted(const std::string& argument) {
  std::string quoted = "\"";
  size_t backslashes = 0;
  for (char c : argument) {
    if (c == '"') quoted.append(backslashes + 1, '\\');
    backslashes = c == '\\' ? backslashes + 1 : 0;
    quoted += c;
  }
  return quoted + std::string(backslashes, '\\') + "\"";
}

}  // namespace

std::string ChildPath() {
  char path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, path, MAX_PATH);
  std::string folder = path;
  return folder.substr(0, folder.rfind('\\') + 1) + QV_CHILD_FILE;
}

Child::Child(const std::vector<std::string>& arguments, DWORD flags) {
  std::string line = Quoted(ChildPath());
  for (const std::string& argument : arguments) line += " " + Quoted(argument);
  STARTUPINFOA startup{};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION process{};
  if (!CreateProcessA(ChildPath().c_str(), line.data(), nullptr, nullptr, FALSE, flags, nullptr,
                      nullptr, &startup, &process)) {
    return;
  }
  CloseHandle(process.hThread);
  process_ = process.hProcess;
  id_ = process.dwProcessId;
}

Child::~Child() {
  if (!process_) return;
  Kill();
  CloseHandle(process_);
}

DWORD Child::Finish() {
  DWORD code = 0xFFFFFFFF;
  if (WaitForSingleObject(process_, kLongestWait) == WAIT_OBJECT_0) {
    GetExitCodeProcess(process_, &code);
  }
  return code;
}

void Child::Kill() {
  TerminateProcess(process_, 99);
  WaitForSingleObject(process_, kLongestWait);
}

bool WaitForText(const std::string& path, const std::string& text) {
  for (DWORD waited = 0; waited < kLongestWait; waited += 10) {
    if (test::ReadWholeFile(path).find(text) != std::string::npos) return true;
    Sleep(10);
  }
  return false;
}

}  // namespace platform_test

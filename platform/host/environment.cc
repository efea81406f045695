#include "platform/host/environment.h"

#include <cstdlib>
#include <mutex>

#include "platform/host/calls.h"
#include "platform/host/process.h"
#include "platform/host/text.h"

namespace host {
namespace {

// The C library's own functions do not exclude each other.
std::mutex& EnvironmentMutex() {
  static auto& mutex = *new std::mutex;
  return mutex;
}

}  // namespace

std::optional<std::string> EnvironmentValue(const std::string& name) {
  std::lock_guard hold(EnvironmentMutex());
  const char* value = std::getenv(name.c_str());
  return value ? std::optional<std::string>(value) : std::nullopt;
}

}  // namespace host

using host::Enter;
using host::Fail;

DWORD GetEnvironmentVariableA(LPCSTR name, LPSTR buffer, DWORD size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  auto value = host::EnvironmentValue(host::Utf8FromAnsi(name ? name : ""));
  if (!value) return Fail(ERROR_ENVVAR_NOT_FOUND, DWORD{0});
  std::string text = host::AnsiFromUtf8(*value);
  return host::CopyOut(std::string_view(text), buffer, size);
}

BOOL SetEnvironmentVariableA(LPCSTR name, LPCSTR value) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  std::string key = host::Utf8FromAnsi(name ? name : "");
  std::string text = host::Utf8FromAnsi(value ? value : "");
  std::lock_guard hold(host::EnvironmentMutex());
  int result = value ? setenv(key.c_str(), text.c_str(), 1) : unsetenv(key.c_str());
  return result == 0 ? TRUE : Fail(ERROR_INVALID_PARAMETER, FALSE);
}

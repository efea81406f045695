#include "platform/native_files.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

namespace platform {
namespace {

std::string Utf8FromWide(const wchar_t* wide) {
  int size = WideCharToMultiByte(CP_UTF8, 0, wide, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 1) return "";
  std::string text(static_cast<size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide, -1, text.data(), size, nullptr, nullptr);
  text.pop_back();  // the terminator
  return text;
}

std::wstring WideFromUtf8(const std::string& text) {
  int size = MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
  if (size <= 1) return L"";
  std::wstring wide(static_cast<size_t>(size), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, wide.data(), size);
  wide.pop_back();
  return wide;
}

}  // namespace

// main's own arguments have gone through the system's code page already.
std::vector<std::string> Utf8Arguments(int, char**) {
  int count = 0;
  LPWSTR* wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; wide && i < count; ++i) arguments.push_back(Utf8FromWide(wide[i]));
  LocalFree(wide);
  return arguments;
}

void UseBinaryStreams() {
  for (std::FILE* stream : {stdin, stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
}

// Here they are errors anyway.
void KeepStreamErrors() {}

bool ErrorStreamIsTerminal() { return _isatty(_fileno(stderr)) != 0; }

std::string PlatformPath(const std::string& native) {
  std::wstring wide = WideFromUtf8(native);
  if (wide.empty()) return "";
  DWORD size = GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  std::wstring full(size, L'\0');
  size = GetFullPathNameW(wide.c_str(), size, full.data(), nullptr);
  return size < full.size() ? Utf8FromWide(full.c_str()) : "";
}

std::string NativePath(const std::string& platform_path) { return platform_path; }

}  // namespace platform

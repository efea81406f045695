// Debugger output: the file debug.txt of the state directory, and standard error on request.
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/process.h"
#include "platform/host/state_directory.h"

namespace host {
namespace {

// Lines kept for TakeDebugOutput; older ones go, since outside tests nobody takes them.
constexpr size_t kMostKeptLines = 1000;

struct DebugLines {
  std::mutex mutex;
  std::vector<std::string> kept;
};

DebugLines& State() {
  static auto& state = *new DebugLines;
  return state;
}

void WriteAll(int file, std::string_view text) {
  while (!text.empty()) {
    ssize_t done = write(file, text.data(), text.size());
    if (done <= 0) return;
    text.remove_prefix(static_cast<size_t>(done));
  }
}

void Keep(std::string_view text) {
  DebugLines& lines = State();
  std::lock_guard hold(lines.mutex);
  if (lines.kept.size() >= kMostKeptLines) lines.kept.erase(lines.kept.begin());
  lines.kept.emplace_back(text);
}

bool WantsStandardError() {
  const char* wanted = std::getenv("QVSMAPI_DEBUG");
  return wanted && std::strcmp(wanted, "1") == 0;
}

}  // namespace

std::vector<std::string> TakeDebugOutput() {
  DebugLines& lines = State();
  std::lock_guard hold(lines.mutex);
  return std::exchange(lines.kept, {});
}

}  // namespace host

void OutputDebugStringA(LPCSTR text) {
  if (host::Enter(__func__) || !text) return;
  host::Keep(text);
  int file =
      open(host::StatePath("debug.txt").c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
  if (file >= 0) {
    host::WriteAll(file, text);
    close(file);
  }
  if (host::WantsStandardError()) host::WriteAll(STDERR_FILENO, text);
}

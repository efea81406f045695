#include "app/debug_log.h"

#include <atomic>
#include <cstring>

#include "app/settings.h"
#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
constexpr char kBackupExtension[] = ".OLD";
constexpr uint32_t kPathSize = MAX_PATH;
constexpr uint32_t kGathered = 4096;  // bytes

struct DebugLogState {
  std::atomic<bool> open{false};
  LockObject lock;
  // Under the lock.
  HANDLE file = nullptr;  // null while closed
  bool opened_before = false;
  char path[kPathSize] = {};
  char gathered[kGathered] = {};
  uint32_t gathered_size = 0;
  char last = 0;  // byte of the text before, so that a CR LF in two messages stays one line end
};

// Threads print until they end, so the log is never destroyed; the system closes the file.
DebugLogState& State() {
  static constinit NeverDestroyed<DebugLogState> state;
  return state.value;
}

// Where the file name starts in a path.
char* NamePart(char* path) {
  char* slash = std::strrchr(path, '\\');
  return slash == nullptr ? path : slash + 1;
}

// The application's folder and the log's name. False when there is no name or no room.
bool MakePath(HMODULE module, char (&path)[kPathSize]) {
  const DWORD length = GetModuleFileNameA(nullptr, path, kPathSize);
  if (length == 0 || length >= kPathSize) return false;
  char* name = NamePart(path);
  const auto room = static_cast<int>(kPathSize - (name - path));
  // A name that was cut is not the one that the application asked for.
  const int got = LoadStringA(module == nullptr ? GetModuleHandleA(nullptr) : module,
                              kDebugLogString, name, room);
  return got > 0 && got < room - 1;
}

// Puts `ending` in the place of the name's extension, or behind a name without one.
bool ReplaceExtension(char (&path)[kPathSize], const char* ending) {
  char* name = NamePart(path);
  char* dot = std::strrchr(name, '.');
  char* end = dot == nullptr ? name + std::strlen(name) : dot;
  if (static_cast<size_t>(end - path) + std::strlen(ending) >= kPathSize) return false;
  std::memcpy(end, ending, std::strlen(ending) + 1);
  return true;
}

// Keeps the log of the run before. What fails leaves the log in its place, to be appended to.
void RotateOnce(DebugLogState& log) {
  if (log.opened_before) return;
  log.opened_before = true;
  if (GetFileAttributesA(log.path) == INVALID_FILE_ATTRIBUTES) return;
  char backup[kPathSize];
  std::memcpy(backup, log.path, kPathSize);
  if (!ReplaceExtension(backup, kBackupExtension)) return;
  DeleteFileA(backup);
  MoveFileA(log.path, backup);
}

bool WriteBytes(DebugLogState& log, const void* bytes, uint32_t size) {
  DWORD done = 0;
  return WriteFile(log.file, bytes, size, &done, nullptr) && done == size;
}

bool WriteGathered(DebugLogState& log) {
  const uint32_t size = log.gathered_size;
  log.gathered_size = 0;
  return size == 0 || WriteBytes(log, log.gathered, size);
}

bool OpenFile(DebugLogState& log) {
  HANDLE file = CreateFileA(log.path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                            OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (file == INVALID_HANDLE_VALUE) return false;
  log.file = file;
  log.gathered_size = 0;
  log.last = 0;
  WriteBytes(log, kByteOrderMark, sizeof kByteOrderMark - 1);
  log.open = true;
  return true;
}

void CloseFile(DebugLogState& log) {
  if (log.file == nullptr) return;
  WriteGathered(log);
  log.open = false;
  CloseHandle(log.file);
  log.file = nullptr;
}

bool Gather(DebugLogState& log, char byte) {
  const bool full = log.gathered_size == kGathered;
  const bool written = !full || WriteGathered(log);
  log.gathered[log.gathered_size++] = byte;
  return written;
}

bool GatherText(DebugLogState& log, std::string_view text) {
  bool written = true;
  for (char byte : text) {
    if (byte == '\n' && log.last != '\r') written &= Gather(log, '\r');
    written &= Gather(log, byte);
    log.last = byte;
  }
  return written;
}

// "20260307_0905.OLD" in the folder of the log.
bool MakeDatedPath(const DebugLogState& log, char (&path)[kPathSize]) {
  constexpr size_t kLongestName = 32;
  std::memcpy(path, log.path, kPathSize);
  char* name = NamePart(path);
  if (static_cast<size_t>(name - path) + kLongestName > kPathSize) return false;
  SYSTEMTIME now;
  GetLocalTime(&now);
  FormatTextN(name, kLongestName - 1, "%d%02d%02d_%02d%02d%s", now.wYear, now.wMonth, now.wDay,
              now.wHour, now.wMinute, kBackupExtension);
  return true;
}

}  // namespace

bool OpenDebugLog(HMODULE module) {
  DebugLogState& log = State();
  ScopedLock hold(log.lock);
  if (log.open) return true;
  char path[kPathSize];
  if (!MakePath(module, path)) return false;
  std::memcpy(log.path, path, kPathSize);
  RotateOnce(log);
  return OpenFile(log);
}

void CloseDebugLog() {
  DebugLogState& log = State();
  ScopedLock hold(log.lock);
  CloseFile(log);
}

bool DebugLogIsOpen() { return State().open.load(std::memory_order_relaxed); }

uint32_t WriteDebugLog(std::string_view text) {
  if (!DebugLogIsOpen() || text.empty()) return 0;
  DebugLogState& log = State();
  ScopedLock hold(log.lock);
  if (log.file == nullptr) return 0;
  bool written = GatherText(log, text);
  if (text.back() == '\n') written &= WriteGathered(log);
  return written ? static_cast<uint32_t>(text.size()) : 0;
}

bool KeepDatedDebugLog() {
  DebugLogState& log = State();
  ScopedLock hold(log.lock);
  char backup[kPathSize];
  if (log.path[0] == '\0' || !MakeDatedPath(log, backup)) return false;
  const bool was_open = log.open;
  CloseFile(log);
  const bool moved = MoveFileA(log.path, backup);
  if (was_open) OpenFile(log);
  return moved;
}

void ResetDebugLogForTest() {
  DebugLogState& log = State();
  ScopedLock hold(log.lock);
  CloseFile(log);
  log.opened_before = false;
  log.path[0] = '\0';
}

}  // namespace qv

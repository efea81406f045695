#include "files/drives.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <mutex>

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/never_destroyed.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr uint32_t kSkipSize = 80;  // bytes of "SkipVol", terminator included
constexpr uint32_t kLastFloppy = 1;

struct DriveState {
  std::mutex mutex;  // around the reading of the setting
  bool skip_known = false, announced = false;
  char skip[kSkipSize] = {};  // upper case; not changed once known
  std::atomic<bool> skip_floppies{false};
};

DriveState& State() {
  static NeverDestroyed<DriveState> state;
  return state.value;
}

char UpperLetter(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }
bool IsLetter(char c) { return UpperLetter(c) >= 'A' && UpperLetter(c) <= 'Z'; }
char LetterOf(uint32_t drive) { return static_cast<char>('A' + drive); }

DriveKind RemovableKind(uint32_t drive) {
  if (drive > kLastFloppy) return kDriveRemovable;
  return State().skip_floppies.load(std::memory_order_relaxed) ? kDriveAbsent : kDriveFloppy;
}

void ReadSkipSetting(DriveState& state) {
  if (state.skip_known) return;
  ReadSettingText(setting::kSkipVolumes, state.skip, sizeof state.skip);
  for (char& c : state.skip) c = UpperLetter(c);
  state.skip_known = true;
}

}  // namespace

const char* SkippedDrives() {
  DriveState& state = State();
  std::lock_guard hold(state.mutex);
  ReadSkipSetting(state);
  return state.skip;
}

void AnnounceSkippedDrives() {
  const char* letters = SkippedDrives();
  {
    DriveState& state = State();
    std::lock_guard hold(state.mutex);
    if (state.announced) return;
    state.announced = true;
  }
  if (!std::any_of(letters, letters + std::strlen(letters), IsLetter)) return;
  DebugPrint("INI directive to ignore (mark as offline) volumes");
  for (; *letters != 0; ++letters) {
    if (IsLetter(*letters)) DebugPrint(" %c:", *letters);
  }
  DebugPrint("\n");
}

DriveKind ReadDriveKind(uint32_t drive) {
  if (drive >= kDriveCount || std::strchr(SkippedDrives(), LetterOf(drive)) != nullptr) {
    return kDriveAbsent;
  }
  const char root[] = {LetterOf(drive), ':', '\\', 0};
  switch (GetDriveTypeA(root)) {
    case DRIVE_NO_ROOT_DIR:
      return kDriveAbsent;
    case DRIVE_REMOVABLE:
      return RemovableKind(drive);
    case DRIVE_FIXED:
      return kDriveFixed;
    case DRIVE_REMOTE:
      return kDriveRemote;
    case DRIVE_CDROM:
      return kDriveCdRom;
    case DRIVE_RAMDISK:
      return kDriveRamDisk;
    default:
      return kDriveUnknown;
  }
}

int32_t DriveOfPath(const char* path) {
  if (path == nullptr || !IsLetter(path[0]) || path[1] != ':') return -1;
  return UpperLetter(path[0]) - 'A';
}

void ResetDrivesForTest() {
  DriveState& state = State();
  std::lock_guard hold(state.mutex);
  state.skip_known = state.announced = false;
  state.skip[0] = 0;
  state.skip_floppies = false;
}

}  // namespace qv

ZRError ZRDriveName(uint32_t drive, char* out) {
  out[0] = 0;
  if (drive >= kDriveCount) return ZRErrRange;
  FormatText(out, "%c:", qv::LetterOf(drive));
  return ZRErrNone;
}

void ZRSetSkipFloppies(bool on) { qv::State().skip_floppies.store(on, std::memory_order_relaxed); }

#include "files/volumes.h"

#include <cstring>
#include <new>
#include <vector>

#include "base/hooks.h"
#include "files/file_request.h"
#include "files/folder_tests.h"
#include "files/locations.h"
#include "files/paths.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr char kVolumesFolder[] = "Volumes";

struct VolumeState {
  // Tasks only.
  std::vector<VolumeRecord> list;
  uint16_t last_number = 0;
  bool stale = true;  // the next query builds the list
  uint16_t app_volume = kNoVolume;
  uint16_t app_drive = kNoVolume;
};

VolumeState& State() {
  static constinit VolumeState state;
  return state;
}

VolumeRecord* FindDrive(uint16_t drive) {
  for (VolumeRecord& record : State().list) {
    if (record.drive == drive) return &record;
  }
  return nullptr;
}

VolumeRecord* FindLogical(const char* name) {
  for (VolumeRecord& record : State().list) {
    if (record.IsLogical() && PathIsBelow(record.name, name) && PathIsBelow(name, record.name)) {
      return &record;
    }
  }
  return nullptr;
}

// A new record at the end of the list; null when there is no memory, and the list is as it was.
VolumeRecord* AddRecord(uint16_t drive) try {
  VolumeState& state = State();
  VolumeRecord& record = state.list.emplace_back();
  record.number = ++state.last_number;
  record.drive = drive;
  return &record;
} catch (const std::bad_alloc&) {
  return nullptr;
}

// --- the two kinds of volumes ---

ZRError AddOrRefreshDrive(uint16_t drive) {
  const DriveKind kind = ReadDriveKind(drive);
  if (kind == kDriveAbsent) return ZRErrNone;
  VolumeRecord* record = FindDrive(drive);
  if (record == nullptr) {
    record = AddRecord(drive);
    if (record == nullptr) return ZRErrNoMemory;
    record->kind = kind;
  }
  ZRDriveName(drive, record->root);
  ZRPathDriveRoot(record->root);
  std::memcpy(record->name, record->root, sizeof record->name);
  record->root_present = ZRIsFolder(record->root, false);
  return ZRErrNone;
}

ZRError AddOrRefreshLogical(const char* folder, const char* name) {
  char root[kVolumeTextSize];
  std::memcpy(root, folder, std::strlen(folder) + 1);
  if (ZRPathJoin(root, name) == nullptr) return ZRErrNone;  // left out
  VolumeRecord* record = FindLogical(name);
  if (record == nullptr) record = AddRecord(kNoVolume);
  if (record == nullptr) return ZRErrNoMemory;
  std::memcpy(record->name, name, std::strlen(name) + 1);
  std::memcpy(record->root, root, sizeof root);
  record->root_present = 1;
  return ZRErrNone;
}

ZRError AddDrives() {
  AnnounceSkippedDrives();
  ZRError result = ZRErrNone;
  for (uint16_t drive = 0; drive < kDriveCount; ++drive) {
    const ZRError error = AddOrRefreshDrive(drive);
    if (result == ZRErrNone) result = error;
  }
  return result;
}

// The first "Volumes" folder; false when neither place has one.
bool FindVolumesFolder(char (&folder)[kVolumeTextSize]) {
  for (uint32_t level : {kLocationDocuments, kLocationApplication}) {
    if (ZRGetLocation(level, folder, sizeof folder) != ZRErrNone) continue;
    if (ZRPathJoin(folder, kVolumesFolder) != nullptr && ZRFolderExists(folder, false)) return true;
  }
  return false;
}

// The subfolders of a folder under their whole names, which a folder listing would
// shorten; a name that the code page lacks comes in its short form. A failure ends them.
class Subfolders {
 public:
  explicit Subfolders(const char* pattern) {
    request_.path = pattern;
    request_.buffer = &found_;
    request_.flags = kRequestFoldersOnly;
    request_.operation = kFileRequestFindFirst;
    is_open_ = there_ = RunFileRequest(request_, false) == 0;
    request_.operation = kFileRequestFindNext;
  }
  ~Subfolders() {
    request_.operation = kFileRequestFindClose;
    if (is_open_) RunFileRequest(request_, false);
  }
  Subfolders(const Subfolders&) = delete;
  Subfolders& operator=(const Subfolders&) = delete;

  bool there() const { return there_; }
  void Next() { there_ = RunFileRequest(request_, false) == 0; }
  const char* name() const {
    const bool odd = std::strchr(found_.cFileName, '?') != nullptr;
    return odd ? found_.cAlternateFileName : found_.cFileName;
  }

 private:
  FileRequest request_;
  WIN32_FIND_DATAA found_;
  bool is_open_ = false, there_ = false;
};

bool IsVolumeName(const char* name) {
  return *name != 0 && std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0;
}

ZRError AddLogicalVolumes() {
  char folder[kVolumeTextSize], pattern[kVolumeTextSize];
  if (!FindVolumesFolder(folder)) return ZRErrNone;
  std::memcpy(pattern, folder, sizeof pattern);
  if (ZRPathJoin(pattern, "*.*") == nullptr) return ZRErrNone;
  ZRError result = ZRErrNone;
  for (Subfolders subfolders(pattern); subfolders.there(); subfolders.Next()) {
    if (!IsVolumeName(subfolders.name())) continue;
    const ZRError added = AddOrRefreshLogical(folder, subfolders.name());
    if (result == ZRErrNone) result = added;
  }
  return result;
}

uint16_t VolumeOf(const char* path);

void FindAppVolume() {
  VolumeState& state = State();
  char folder[kVolumeTextSize];
  if (state.app_volume != kNoVolume || ZRGetAppFolder(folder, sizeof folder) != ZRErrNone) return;
  state.app_volume = VolumeOf(folder);
}

ZRError BuildList() {
  State().stale = false;
  ZRError result = AddDrives();
  const ZRError error = AddLogicalVolumes();
  if (result == ZRErrNone) result = error;
  FindAppVolume();
  return result;
}

VolumeState& CurrentState() {
  if (State().stale) BuildList();
  return State();
}

uint16_t VolumeOf(const char* path) {
  const VolumeRecord* best = nullptr;
  for (const VolumeRecord& record : State().list) {
    if (!PathIsBelow(path, record.root)) continue;
    if (best == nullptr || std::strlen(record.root) > std::strlen(best->root)) best = &record;
  }
  if (best != nullptr) return best->number;
  const int32_t drive = DriveOfPath(path);
  const VolumeRecord* record = drive < 0 ? nullptr : FindDrive(static_cast<uint16_t>(drive));
  return record == nullptr ? kNoVolume : record->number;
}

VolumeRecord* Find(uint16_t number) {
  for (VolumeRecord& record : CurrentState().list) {
    if (record.number == number) return &record;
  }
  return nullptr;
}

}  // namespace

const VolumeRecord* FindVolume(uint16_t number) { return Find(number); }

void ResetVolumesForTest() {
  State() = {};
  ResetDrivesForTest();
}

}  // namespace qv

ZRError ZRGetVolumeByIndex(uint32_t index, uint16_t* volume) {
  *volume = kNoVolume;
  if (index == 0) {
    const ZRError error = qv::BuildList();
    if (error != ZRErrNone) return error;
  }
  const auto& list = qv::CurrentState().list;
  if (index >= list.size()) return ZRErrEOF;
  *volume = list[index].number;
  return ZRErrNone;
}

uint32_t ZRVolumeCount() { return static_cast<uint32_t>(qv::CurrentState().list.size()); }

ZRError ZRVolumeFromPath(const char* path, uint16_t* volume) {
  qv::CurrentState();
  *volume = path == nullptr ? kNoVolume : qv::VolumeOf(path);
  return *volume == kNoVolume ? ZRErrNoVolume : ZRErrNone;
}

bool ZRIsVolumeOnline(uint16_t volume) {
  const qv::VolumeRecord* record = qv::Find(volume);
  if (record == nullptr) return false;
  if (!record->IsLogical()) return ZRCheckVolume(volume) != kDriveAbsent;
  // A copy: while the worker looks, another task may build the list anew.
  char root[qv::kVolumeTextSize];
  std::memcpy(root, record->root, sizeof root);
  return ZRIsFolder(root, true);
}

int32_t ZRCheckVolume(uint16_t volume) {
  qv::VolumeRecord* record = qv::Find(volume);
  if (record == nullptr || record->IsLogical()) return kDriveAbsent;
  record->kind = qv::ReadDriveKind(record->drive);
  return record->kind;
}

ZRError ZRGetVolumeName(uint16_t volume, char* buffer, uint32_t size) {
  const qv::VolumeRecord* record = qv::Find(volume);
  const ZRError error = qv::CopyWhole(record == nullptr ? "" : record->name, buffer, size);
  return record == nullptr ? ZRErrNoVolume : error;
}

ZRError ZRGetVolumeRoot(uint16_t volume, char* buffer, uint32_t size) {
  const qv::VolumeRecord* record = qv::Find(volume);
  const bool present = record != nullptr && record->root_present != 0;
  const ZRError error = qv::CopyWhole(present ? record->root : "", buffer, size);
  if (record == nullptr) return ZRErrNoVolume;
  return present ? error : ZRErrNotFound;
}

ZRError ZRGetVolumeFreeSpace(uint16_t volume, uint64_t* bytes) {
  *bytes = 0;
  const qv::VolumeRecord* record = qv::Find(volume);
  ULARGE_INTEGER free, total;
  if (record == nullptr || !GetDiskFreeSpaceExA(record->root, &free, &total, nullptr)) {
    return ZRErrNoVolume;
  }
  *bytes = free.QuadPart;
  return ZRErrNone;
}

uint16_t ZRGetAppVolume() { return qv::CurrentState().app_volume; }

uint16_t ZRGetAppDrive() {
  uint16_t& drive = qv::State().app_drive;
  char root[qv::kVolumeTextSize];
  if (drive == kNoVolume && ZRGetLocation(kLocationDriveRoot, root, sizeof root) == ZRErrNone) {
    const int32_t found = qv::DriveOfPath(root);
    if (found >= 0) drive = static_cast<uint16_t>(found);
  }
  return drive;
}

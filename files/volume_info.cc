#include "files/volume_info.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "app/debug_output.h"
#include "base/hooks.h"
#include "files/volumes.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr uint64_t kMostBytes = 0x7FFFFFFF;
constexpr DWORD kLongestLabel = 256;  // characters with the terminator

// False when the text does not fit or is not UTF-16; `out` is then empty.
bool Utf8FromPlatform(const WCHAR* text, char* out, int size) {
  if (WideCharToMultiByte(CP_UTF8, 0, text, -1, out, size, nullptr, nullptr) > 0) return true;
  out[0] = 0;
  return false;
}

// What the network's calls answer, as framework codes.
ZRError NetworkError(DWORD error) {
  constexpr struct {
    DWORD native;
    ZRError code;
  } kRows[] = {{0, ZRErrNone},   {8, ZRErrNoMemory},  {50, ZRErrRange},  {59, ZRErrIO},
               {87, ZRErrRange}, {234, ZRErrTooLong}, {487, ZRErrRange}, {2250, ZRErrNoVolume}};
  for (const auto& row : kRows) {
    if (row.native == error) return row.code;
  }
  return ZRErrNetwork;
}

ZRError ReadConnection(uint16_t drive, VolumeInfo* info) {
  const WCHAR name[] = {static_cast<WCHAR>('A' + drive), ':', 0};
  DWORD length = 0;
  if (WNetGetConnectionW(name, nullptr, &length) != ERROR_MORE_DATA) return ZRErrRange;
  HookBlock block((size_t{length} + 1) * sizeof(WCHAR));
  if (block.data() == nullptr) return ZRErrNoMemory;
  auto* text = reinterpret_cast<WCHAR*>(block.data());
  text[length] = 0;
  const ZRError error = NetworkError(WNetGetConnectionW(name, text, &length));
  if (error != ZRErrNone) return error;
  return Utf8FromPlatform(text, info->network_name, sizeof info->network_name) ? ZRErrNone
                                                                               : ZRErrTooLong;
}

void FillBytes(const char* root, VolumeInfo* info) {
  ULARGE_INTEGER free, total;
  if (!GetDiskFreeSpaceExA(root, &free, &total, nullptr)) return;
  info->free_bytes = static_cast<uint32_t>(std::min<uint64_t>(free.QuadPart, kMostBytes));
  info->total_bytes = static_cast<uint32_t>(std::min<uint64_t>(total.QuadPart, kMostBytes));
}

void FinishLabel(const char* drive_name, VolumeInfo* info) {
  if (char* dot = std::strchr(info->label, '.')) std::memmove(dot, dot + 1, std::strlen(dot));
  if (info->label[0] == 0) std::memcpy(info->label, drive_name, std::strlen(drive_name) + 1);
}

// False when the drive does not answer.
bool FillLabel(uint16_t drive, const char* drive_name, uint32_t flags, VolumeInfo* info) {
  const WCHAR root[] = {static_cast<WCHAR>('A' + drive), ':', '\\', 0};
  WCHAR label[kLongestLabel] = {};
  DWORD serial = 0;
  if (!GetVolumeInformationW(root, label, kLongestLabel, &serial, nullptr, nullptr, nullptr, 0)) {
    return false;
  }
  if ((flags & kVolumeSerial) != 0) info->serial = serial;
  if ((flags & kVolumeLabel) == 0) return true;
  Utf8FromPlatform(label, info->label, sizeof info->label);
  FinishLabel(drive_name, info);
  return true;
}

uint32_t FillDrive(const VolumeRecord& record, uint32_t flags, VolumeInfo* info) {
  const DriveKind kind = ReadDriveKind(record.drive);
  if (kind == kDriveCdRom) info->attributes |= kVolumeLocked;
  if ((flags & kVolumeKind) != 0) info->kind = kind;
  if ((flags & kVolumeBytes) != 0) FillBytes(record.root, info);
  char name[3];
  ZRDriveName(record.drive, name);
  if ((flags & kVolumeShortName) != 0) {
    info->short_name[0] = 2;
    std::memcpy(info->short_name + 1, name, 2);
  }
  constexpr uint32_t kTexts = kVolumeLabel | kVolumeNetworkName | kVolumeSerial;
  if ((flags & kTexts) == 0) return 0;
  if (kind == kDriveRemote && (flags & (kVolumeLabel | kVolumeNetworkName)) != 0) {
    const ZRError error = ReadConnection(record.drive, info);
    if (error != ZRErrNone) return static_cast<uint32_t>(error);
    if ((flags & kVolumeNetworkName) == 0) info->network_name[0] = 0;
  }
  if ((flags & (kVolumeLabel | kVolumeSerial)) != 0 &&
      !FillLabel(record.drive, name, flags, info)) {
    return 0;
  }
  if ((flags & kVolumeNetworkName) != 0 && info->network_name[0] == 0) {
    FormatTextN(info->network_name, sizeof info->network_name - 1, "[%s]", record.root);
  }
  return 0;
}

void FillLogical(const VolumeRecord& record, uint32_t flags, VolumeInfo* info) {
  std::memcpy(info->label, record.name, sizeof info->label);
  std::memcpy(info->root, record.root, sizeof info->root);
  FormatTextN(info->network_name, sizeof info->network_name - 1, "[Logical %u]",
              uint32_t{record.number});
  if ((flags & kVolumeBytes) != 0) FillBytes(record.root, info);
}

}  // namespace

uint32_t FillVolumeInfo(FileRequest& request) {
  auto* info = static_cast<VolumeInfo*>(request.buffer);
  *info = {};
  const auto number = static_cast<uint16_t>(request.number);
  info->volume = number;
  const VolumeRecord* record = FindVolume(number);
  if (record == nullptr) return uint32_t{ZRErrNoVolume};
  if (!record->IsLogical()) return FillDrive(*record, request.access, info);
  FillLogical(*record, request.access, info);
  return 0;
}

}  // namespace qv

ZRError ZRGetDriveInfo(uint16_t volume, bool use_worker, uint32_t flags, VolumeInfo* info) {
  if (info == nullptr) return ZRErrParam;
  FileRequest request;
  request.operation = kFileRequestVolumeInfo;
  request.number = volume;
  request.access = flags;
  request.buffer = info;
  const auto error = static_cast<ZRError>(qv::RunFileRequest(request, use_worker));
  if (error != ZRErrNone) {
    DebugPrint("Debug: ZRGetDriveInfo(%d) returned error %d.\n", int32_t{volume}, error);
  }
  return error;
}

#include "files/volume_info.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "base/hooks.h"
#include "files/file_trace.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr uint64_t kMostBytes = 0x7FFFFFFF;
constexpr DWORD kLongestLabel = 256;  // characters with the terminator

// False when the text does not fit; `out` is then empty.
bool Utf8FromPlatform(const WCHAR* text, char* out, int size) {
  if (WideCharToMultiByte(CP_UTF8, 0, text, -1, out, size, nullptr, nullptr) > 0) return true;
  out[0] = 0;
  return false;
}

bool ContinuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

// At most size - 1 bytes of UTF-8, in whole characters.
void CopyUtf8(const char* text, char* out, size_t size) {
  size_t length = strnlen(text, size);
  if (length == size) {
    --length;
    while (length > 0 && ContinuesCharacter(text[length])) --length;
  }
  std::memcpy(out, text, length);
  out[length] = 0;
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

void CopyLabel(const WCHAR* platform_label, const char* drive_name, VolumeInfo* info) {
  char label[kLongestLabel * 3];  // UTF-8 takes 3 bytes at most for each 16 bits
  Utf8FromPlatform(platform_label, label, sizeof label);
  if (char* dot = std::strchr(label, '.')) std::memmove(dot, dot + 1, std::strlen(dot));
  CopyUtf8(label[0] == 0 ? drive_name : label, info->label, sizeof info->label);
}

// False when the drive does not answer.
bool FillLabel(uint16_t drive, bool is_remote, uint32_t flags, VolumeInfo* info) {
  const WCHAR root[] = {static_cast<WCHAR>('A' + drive), ':', '\\', 0};
  WCHAR label[kLongestLabel] = {};
  DWORD serial = 0;
  if (!GetVolumeInformationW(root, label, kLongestLabel, &serial, nullptr, nullptr, nullptr, 0)) {
    if (!is_remote) return false;
    label[0] = 0;
    serial = 0;
  }
  if ((flags & kVolumeSerial) != 0) info->serial = serial;
  if ((flags & kVolumeLabel) == 0) return true;
  char drive_name[3];
  ZRDriveName(drive, drive_name);
  CopyLabel(label, drive_name, info);
  return true;
}

// What lies behind the parts that the drive itself tells: its label and serial number, and what
// stands for it in the network.
uint32_t FillTexts(const VolumeRecord& record, bool is_remote, uint32_t flags, VolumeInfo* info) {
  if (is_remote && (flags & (kVolumeLabel | kVolumeNetworkName)) != 0) {
    const ZRError error = ReadConnection(record.drive, info);
    if (error != ZRErrNone) return static_cast<uint32_t>(error);
  }
  if ((flags & kVolumeNetworkName) == 0) info->network_name[0] = 0;
  const bool needs_label = (flags & (kVolumeLabel | kVolumeSerial)) != 0;
  if (needs_label && !FillLabel(record.drive, is_remote, flags, info)) return 0;
  if ((flags & kVolumeNetworkName) != 0 && info->network_name[0] == 0) {
    FormatTextN(info->network_name, sizeof info->network_name - 1, "[%s]", record.root);
  }
  return 0;
}

uint32_t FillDrive(const VolumeRecord& record, uint32_t flags, VolumeInfo* info) {
  const DriveKind kind = ReadDriveKind(record.drive);
  if (kind == kDriveCdRom) info->attributes |= kVolumeLocked;
  if ((flags & kVolumeKind) != 0) info->kind = kind;
  if ((flags & kVolumeBytes) != 0) FillBytes(record.root, info);
  if ((flags & kVolumeShortName) != 0) {
    char name[3];
    ZRDriveName(record.drive, name);
    info->short_name[0] = 2;
    std::memcpy(info->short_name + 1, name, 2);
  }
  return FillTexts(record, kind == kDriveRemote, flags, info);
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
  const auto& query = *static_cast<const VolumeQuery*>(request.buffer);
  if (!query.record.IsLogical()) return FillDrive(query.record, query.flags, query.info);
  FillLogical(query.record, query.flags, query.info);
  return 0;
}

namespace {

ZRError AskVolume(uint16_t volume, bool use_worker, uint32_t flags, VolumeInfo* info) {
  *info = {};
  info->volume = volume;
  const VolumeRecord* record = FindVolume(volume);
  if (record == nullptr) return ZRErrNoVolume;
  VolumeQuery query{*record, flags, info};
  FileRequest request;
  request.operation = kFileRequestVolumeInfo;
  request.buffer = &query;
  return static_cast<ZRError>(RunFileRequest(request, use_worker));
}

}  // namespace
}  // namespace qv

ZRError ZRGetDriveInfo(uint16_t volume, bool use_worker, uint32_t flags, VolumeInfo* info) {
  if (info == nullptr) return ZRErrParam;
  const ZRError error = qv::AskVolume(volume, use_worker, flags, info);
  if (error != ZRErrNone) {
    qv::TraceFile(qv::kTraceOpens, "Debug: ZRGetDriveInfo(%d) returned error %d.\n",
                  int32_t{volume}, error);
  }
  return error;
}

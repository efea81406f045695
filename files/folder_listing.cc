#include "files/folder_listing.h"

#include <cstring>

#include "base/file_time.h"
#include "files/errors.h"
#include "files/file_request.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

constexpr size_t kLongestFolderName = 31, kLongestFileName = 63;

bool IsDots(const char* name) {
  return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

uint32_t AttributesFrom(DWORD platform) {
  constexpr struct {
    DWORD platform;
    uint32_t own;
  } kBits[] = {{FILE_ATTRIBUTE_DIRECTORY, kEntryFolder},
               {FILE_ATTRIBUTE_READONLY, kEntryReadOnly},
               {FILE_ATTRIBUTE_HIDDEN, kEntryHidden},
               {FILE_ATTRIBUTE_SYSTEM, kEntrySystem},
               {FILE_ATTRIBUTE_ARCHIVE, kEntryArchive}};
  uint32_t attributes = 0;
  for (const auto& bit : kBits) {
    if ((platform & bit.platform) != 0) attributes |= bit.own;
  }
  return attributes;
}

uint32_t LocalTime(const FILETIME& time) {
  FILETIME local{};
  if (!FileTimeToLocalFileTime(&time, &local)) return 0;
  return FrameworkTimeFromFileTime(uint64_t{local.dwHighDateTime} << 32 | local.dwLowDateTime);
}

// The name that fits the record and opens the file; null when there is none.
const char* NameFor(const WIN32_FIND_DATAA& found) {
  const bool is_folder = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  const size_t longest = is_folder ? kLongestFolderName : kLongestFileName;
  const bool odd = std::strchr(found.cFileName, '?') != nullptr;
  const size_t length = std::strlen(found.cFileName);
  if (length <= longest && !odd) return found.cFileName;
  if (found.cAlternateFileName[0] != 0) return found.cAlternateFileName;
  return length < kNameSize && !odd ? found.cFileName : nullptr;
}

void FillEntry(const WIN32_FIND_DATAA& found, const char* name, FolderEntry* entry) {
  entry->attributes = AttributesFrom(found.dwFileAttributes);
  entry->modified = LocalTime(found.ftLastWriteTime);
  entry->created = LocalTime(found.ftCreationTime);
  entry->data_size = uint64_t{found.nFileSizeHigh} << 32 | found.nFileSizeLow;
  entry->fork_size = 0;
  entry->type = entry->creator = 0;
  std::memcpy(entry->name, name, std::strlen(name) + 1);
}

ZRError Refuse(ZRError error, FolderEntry* entry) {
  *entry = {};
  return error;
}

}  // namespace

bool FolderListing::InProgress() const { return handle_ != INVALID_HANDLE_VALUE; }

uint32_t FolderListing::Ask(uint32_t operation, void* found, const char* pattern) {
  FileRequest request;
  request.operation = operation;
  request.file = handle_;
  request.path = pattern;
  request.buffer = found;
  request.flags = (options_ & kListFoldersOnly) != 0 ? kRequestFoldersOnly : 0;
  const uint32_t native = RunFileRequest(request, use_worker_);
  if (operation == kFileRequestFindFirst) handle_ = request.file;
  return native;
}

ZRError FolderListing::First(const char* folder, const char* pattern, uint32_t options,
                             FolderEntry* entry) {
  End();
  char path[kFolderSize];
  const size_t length = std::strlen(folder);
  if (length == 0) return Refuse(ZRErrBadFolder, entry);
  if (length >= sizeof path) return Refuse(ZRErrTooLong, entry);
  std::memcpy(folder_, folder, length + 1);
  std::memcpy(path, folder, length + 1);
  ZRPathDriveRoot(path);
  if (ZRPathJoin(path, pattern) == nullptr) return Refuse(ZRErrTooLong, entry);
  options_ = options;
  WIN32_FIND_DATAA found;
  if (uint32_t native = Ask(kFileRequestFindFirst, &found, path)) return Fail(native, entry);
  return GiveOrGoOn(&found, entry);
}

ZRError FolderListing::Next(FolderEntry* entry) {
  if (!InProgress()) return Refuse(ZRErrEOF, entry);
  WIN32_FIND_DATAA found;
  if (uint32_t native = Ask(kFileRequestFindNext, &found, nullptr)) return Fail(native, entry);
  return GiveOrGoOn(&found, entry);
}

void FolderListing::End() {
  if (!InProgress()) return;
  Ask(kFileRequestFindClose, nullptr, nullptr);
  handle_ = INVALID_HANDLE_VALUE;
}

// Gives the entry found, or the next one that can be given.
ZRError FolderListing::GiveOrGoOn(const void* first, FolderEntry* entry) {
  WIN32_FIND_DATAA found = *static_cast<const WIN32_FIND_DATAA*>(first);
  for (;;) {
    const char* name = IsDots(found.cFileName) ? nullptr : NameFor(found);
    if (name != nullptr) {
      FillEntry(found, name, entry);
      if ((options_ & kListForkInfo) == 0 || FillForkInfo(entry)) return ZRErrNone;
    }
    if (uint32_t native = Ask(kFileRequestFindNext, &found, nullptr)) return Fail(native, entry);
  }
}

ZRError FolderListing::Fail(uint32_t native, FolderEntry* entry) {
  End();
  const ZRError error = ZRTranslateNativeError(native, folder_);
  return Refuse(error == ZRErrNotFound ? ZRErrEOF : error, entry);
}

// False when the entry's path is too long to ask. Without an answer the fields stay 0.
bool FolderListing::FillForkInfo(FolderEntry* entry) const {
  char path[kFolderSize];
  std::memcpy(path, folder_, sizeof path);
  ZRPathDriveRoot(path);
  if (ZRPathJoin(path, entry->name) == nullptr) return false;
  FileRequest request;
  request.operation = kFileRequestForkInfo;
  request.path = path;
  request.buffer = entry;
  if (RunFileRequest(request, use_worker_) != 0)
    entry->fork_size = entry->type = entry->creator = 0;
  return true;
}

}  // namespace qv

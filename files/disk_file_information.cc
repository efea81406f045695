// What is written about a file: attributes, modification time, type and creator.
#include "files/disk_file.h"
#include "files/errors.h"
#include "files/forks.h"
#include "platform/windows_api.h"

namespace {

DWORD NativeAttributes(uint32_t attributes) {
  constexpr struct {
    uint32_t entry;
    DWORD native;
  } kBits[] = {{qv::kEntryReadOnly, FILE_ATTRIBUTE_READONLY},
               {qv::kEntryHidden, FILE_ATTRIBUTE_HIDDEN},
               {qv::kEntrySystem, FILE_ATTRIBUTE_SYSTEM},
               {qv::kEntryArchive, FILE_ATTRIBUTE_ARCHIVE}};
  DWORD native = 0;
  for (const auto& bit : kBits) native |= (attributes & bit.entry) != 0 ? bit.native : 0;
  return native == 0 ? DWORD{FILE_ATTRIBUTE_NORMAL} : native;
}

}  // namespace

ZRError CDiskFile::SetInfo(const qv::FolderEntry& entry) {
  char path[kPathSize];
  ZRError error = GetNativePath(path, sizeof path);
  // The time first: a file for reading only takes none.
  if (error == ZRErrNone && entry.modified != 0) error = SetTimes(nullptr, &entry.modified);
  if (error != ZRErrNone) return error;
  return SetFileAttributesA(path, NativeAttributes(entry.attributes))
             ? ZRErrNone
             : ZRTranslateNativeError(GetLastError(), path);
}

ZRError CDiskFile::CreateWithType(uint32_t type, uint32_t creator) {
  ZRError error = Create();
  if (error != ZRErrNone) return error;
  char path[kPathSize];
  error = GetNativePath(path, sizeof path);
  if (error == ZRErrNone) error = ZRSetTypeCreator(path, type, creator);
  if (error != ZRErrNone && fork_ == kDataFork) Delete();
  return error;
}

// The product's files at the location levels.
#include <cstring>

#include "files/disk_file.h"
#include "files/folder_tests.h"
#include "files/locations.h"

namespace {

// Everywhere else the product keeps its files in a folder of its own.
bool HasProductFolder(uint32_t level) {
  return level != 5 && level != kLocationDocuments && level != kLocationApplication &&
         level != kLocationApplicationToo;
}

bool HasSubfolder(uint32_t level, const char* subfolder) {
  return level != kLocationApplicationToo && *subfolder != 0;
}

}  // namespace

ZRError CDiskFile::RememberLevel(uint32_t level, const char* subfolder) {
  const char* text = subfolder == nullptr ? "" : subfolder;
  const size_t length = std::strlen(text);
  if (length >= kNameSize) return ZRErrTooLong;
  level_ = level;
  std::memmove(subfolder_, text, length + 1);
  return ZRErrNone;
}

ZRError CDiskFile::GoToLevelFolder(uint32_t level, const char* subfolder) {
  if (IsOpen()) return ZRErrFileOpen;
  ZRError error = RememberLevel(level, subfolder);
  if (error == ZRErrNone) error = GoToLocation(level);
  if (error == ZRErrNone && HasProductFolder(level)) error = EnterFolder(qv::kProductFolder, false);
  if (error == ZRErrNone && HasSubfolder(level, subfolder_)) error = EnterFolder(subfolder_, false);
  return error;
}

ZRError CDiskFile::GoToLevel(uint32_t level, const char* subfolder, const char* name) {
  ZRError error = GoToLevelFolder(level, subfolder);
  if (error == ZRErrNone) error = SetName(name);
  if (error != ZRErrNone) return error;
  return Exists() ? ZRErrNone : ZRErrNotFound;
}

ZRError CDiskFile::EnterOrMake(const char* name) {
  const ZRError error = EnterFolder(name, true);
  if (error != ZRErrNone || ZRFolderExists(folder_, use_worker_)) return error;
  // The folder that is missing, as a name in the one before it.
  char folder[kFolderSize];
  std::memcpy(folder, folder_, sizeof folder);
  ZRError made = ZRPathSplit(folder, folder_, name_, use_worker_);
  if (made == ZRErrNone) made = CreateFolder();
  if (made != ZRErrNone) return made;
  std::memcpy(folder_, folder, sizeof folder_);
  name_[0] = 0;
  return ZRErrNone;
}

ZRError CDiskFile::CreateAtLevel(uint32_t level, const char* subfolder, const char* name) {
  if (IsOpen()) return ZRErrFileOpen;
  ZRError error = RememberLevel(level, subfolder);
  if (error == ZRErrNone) error = GoToLocation(level);
  if (error == ZRErrNone && HasProductFolder(level)) error = EnterOrMake(ZRGetProductFolderName());
  if (error == ZRErrNone && HasSubfolder(level, subfolder_)) error = EnterOrMake(subfolder_);
  if (error == ZRErrNone) error = SetName(name);
  return error == ZRErrNone ? Create() : error;
}

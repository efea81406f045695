// The file object: a folder and a name, kept apart, and what can be done with the file or folder
// that they name.
//
//   CDiskFile folder;
//   if (folder.GoToTempFolder() == 0 && folder.SetName("Quorvantis") == 0 &&
//       folder.CreateFolder() == 0) folder.GetNativePath(path, sizeof path);
//
// Text is in the system's code page. A file object belongs to one task at a time; while a request
// runs on a worker, the task waits. With "ReportMissing" (section "QVSetup") a path that is not
// there is also said to the debug output.
// Errors: framework codes.
#pragma once

#include <cstdint>

#include "base/errors.h"
#include "files/folder_listing.h"
#include "files/paths.h"

class CDiskFile {
 public:
  CDiskFile();
  virtual ~CDiskFile() = default;
  CDiskFile(const CDiskFile&) = delete;
  CDiskFile& operator=(const CDiskFile&) = delete;

  // --- where: each begins with ResetSpec; the name is empty afterwards ---

  // A level of ZRGetLocation.
  virtual ZRError GoToLocation(uint32_t level);

  // The file `name` of the product at a level: in the location, the folder "Quorvantis" (not at the
  // levels 5, 7, 8 and 9) and the subfolder (not at level 9; null or empty for none, at most 63
  // bytes, else ZRErrTooLong). ZRErrNotFound when a folder or the file is not there. Level and
  // subfolder are remembered.
  virtual ZRError GoToLevel(uint32_t level, const char* subfolder, const char* name);
  // The same, but makes what is missing: the product folder (ZRSetProductFolderName), the subfolder
  // and the file, which must not be there yet (ZRErrExists).
  virtual ZRError CreateAtLevel(uint32_t level, const char* subfolder, const char* name);

  virtual ZRError GoToAppFolder();
  virtual ZRError GoToAppDriveRoot();
  virtual ZRError GoToDocuments();
  virtual ZRError GoToTempFolder();

  // The folder that the folder lies in; the name is emptied. A drive root stays.
  virtual ZRError GoToParent();

  // A folder inside the folder; empties the name. ZRErrBadFolder without a name, ZRErrParam without
  // a folder, ZRErrNotFound when it is missing (not looked for with `skip_check`) or the path would
  // pass its 255 bytes or the name its 63; the last three empty folder and name.
  virtual ZRError EnterFolder(const char* name, bool skip_check);

  // The file's name inside the folder, at most 63 characters: a longer one answers ZRErrNotFound
  // and empties folder and name, as does any name without a folder. Null empties the name. With
  // `clean` it is made a valid name first (ZRSanitizeName), which also cuts it.
  virtual ZRError SetName(const char* name, bool clean = false);
  virtual ZRError SetNameLStr(const uint8_t* name, bool clean = false);  // length-prefixed

  // --- the named file or folder ---

  // True when something exists at the path (a folder too).
  virtual bool Exists() const;

  // Makes the named file, empty. ZRErrParam without a name, ZRErrExists, ZRErrBadFolder when the
  // folder is missing, else the translated platform error.
  virtual ZRError Create();

  // Makes the named folder; 0 when it was made or is a folder already. ZRErrParam without a name,
  // ZRErrExists when something else has the name, else the translated platform error.
  virtual ZRError CreateFolder();

  virtual ZRError Delete();
  virtual ZRError RemoveFolder();

  // --- the entries of the folder, or those that the name matches (folder_listing.h) ---

  virtual ZRError FirstEntry(qv::FolderEntry* entry, uint32_t options);
  virtual ZRError NextEntry(qv::FolderEntry* entry);
  // With the name length-prefixed too; `name` holds 64 bytes.
  virtual ZRError NextEntryLStr(qv::FolderEntry* entry, uint8_t* name);
  virtual void EndFind();

  // --- the whole path ---

  // An existing folder becomes the folder; any other path is split, and its folder must exist:
  // ZRErrNotFound. ZRErrParam for an empty path, ZRErrTooLong above 255 bytes. Empty after a
  // failure.
  virtual ZRError SetPath(const char* path);
  virtual ZRError SetPathLStr(const uint8_t* path);  // length-prefixed

  // Folder and name joined. ZRErrTooLong, with an empty buffer, when the whole does not fit below
  // `size` or there is no buffer; `size` is 4 at least.
  virtual ZRError GetNativePath(char* buffer, uint32_t size) const;

  // Empties folder and name.
  virtual bool ResetSpec();

  // The product's folder at a level with the subfolder, which must exist; the name is empty.
  ZRError GoToLevelFolder(uint32_t level, const char* subfolder);
  const char* folder() const { return folder_; }
  const char* name() const { return name_; }
  uint32_t level() const { return level_; }
  const char* subfolder() const { return subfolder_; }

 private:
  static constexpr uint32_t kPathSize = 276;  // what the platform is given at most

  ZRError RememberLevel(uint32_t level, const char* subfolder);
  ZRError EnterOrMake(const char* name);
  ZRError RefuseFolder(const char* message, const char* name);
  // A request about the named thing.
  ZRError Ask(uint32_t operation) const;

  bool use_worker_;
  char folder_[kFolderSize] = {};
  char name_[kNameSize] = {};
  uint32_t level_ = 0;
  char subfolder_[kNameSize] = {};
  qv::FolderListing listing_;
};

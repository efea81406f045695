// The file object: a folder and a name, kept apart, and what can be done with the file or folder
// that they name.
//
//   CDiskFile folder;
//   if (folder.GoToTempFolder() == 0 && folder.SetName("Quorvantis") == 0 &&
//       folder.CreateFolder() == 0) folder.GetNativePath(path, sizeof path);
//
// Text is in the system's code page. A file object belongs to one task at a time.
// Errors: framework codes.
#pragma once

#include <cstdint>

#include "base/errors.h"

class CDiskFile {
 public:
  CDiskFile() = default;
  virtual ~CDiskFile() = default;
  CDiskFile(const CDiskFile&) = delete;
  CDiskFile& operator=(const CDiskFile&) = delete;

  // The folder becomes the temporary folder and the name empty.
  virtual ZRError GoToTempFolder();

  // The file's name inside the folder, at most 63 characters: a longer one answers ZRErrNotFound
  // and empties folder and name, as does any name without a folder. Null empties the name.
  virtual ZRError SetName(const char* name);

  // True when something exists at the path (a folder too).
  virtual bool Exists() const;

  // Makes the named folder; 0 when it was made or is a folder already. ZRErrParam without a name,
  // ZRErrExists when something else has the name, else the translated platform error.
  virtual ZRError CreateFolder();

  // Folder and name joined. ZRErrTooLong, with an empty buffer, when the whole does not fit below
  // `size` or there is no buffer; `size` is 4 at least.
  virtual ZRError GetNativePath(char* buffer, uint32_t size) const;

  // Empties folder and name.
  virtual bool ResetSpec();

 private:
  static constexpr uint32_t kFolderSize = 256, kNameSize = 64;  // bytes, terminators included
  static constexpr uint32_t kPathSize = 276;  // what the platform is given at most
  char folder_[kFolderSize] = {};
  char name_[kNameSize] = {};
};

// The copies of attachments in the staging folder: the only files that a request can make the
// client read or delete.
//
// A path counts only when it is the staging folder (letter case aside), one "\" and a plain name,
// and names an ordinary file: no way leads out of the folder, to a device or into a stream.
#pragma once

#include <cstdint>
#include <string>

#include "platform/windows_api.h"
#include "programs/qvclient/request_reader.h"

namespace qvclient {

class StagedCopies {
 public:
  explicit StagedCopies(const std::string& folder) : folder_(folder) {}

  const std::string& folder() const { return folder_; }

  CopyState State(const std::string& path) const;

  // Deletes a copy; refuses (ERROR_INVALID_NAME) what is none. One that is gone is success.
  DWORD Delete(const std::string& path) const;

 private:
  std::string folder_;
};

}  // namespace qvclient

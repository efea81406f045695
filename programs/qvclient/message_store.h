// A folder of message files "0001.eml", "0002.eml", ... Each is complete or not there: it is
// written under a temporary name and renamed.
//
// A name that is taken is never written over, also when several programs store into one folder: the
// next free number is used. Numbers that become free again are not used by the same object.
// Threads: one at a time.
#pragma once

#include <cstdint>
#include <string>

#include "programs/common/files.h"
#include "programs/qvclient/mime_writer.h"

namespace qvclient {

struct StoreOutcome {
  DWORD error = ERROR_SUCCESS;
  std::string failed_path;  // the attachment or the folder that the error is about
  std::string file_name;    // of the stored message
};

class MessageStore {
 public:
  explicit MessageStore(const std::string& folder) : folder_(folder) {}

  const std::string& folder() const { return folder_; }

  // Whether messages can be stored there now: makes a file and deletes it. The system's error.
  DWORD Check();

  StoreOutcome Store(const Message& message, const MessageStamp& stamp);

 private:
  DWORD CreateTemporary(program::FileHandle* file, std::string* path);
  DWORD GiveNumber(const std::string& temporary, std::string* file_name);

  std::string folder_;
  uint32_t next_number_ = 1;
  uint32_t temporary_number_ = 0;
};

}  // namespace qvclient

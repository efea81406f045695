// The attachments of a message: from "FILE" or "FILE=NAME" on the command line to what the library
// takes, a path and a name in the system's code page.
//
// All paths and names are UTF-8 until then.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace qvsend {

struct AttachmentFile {
  std::string shown;  // as the user named it
  std::string path;   // in the form of the Windows calls; "" for a name that has no such form
  std::string name;   // that the copy carries
  uint64_t size = 0;  // bytes
};

// Finds the file. Where "=" stands in the argument, the longest part before one that names a file
// wins, so a file name may hold "=" itself. Returns the system's error, 0 for none; on failure only
// `shown` is set.
DWORD FindAttachment(const std::string& argument, AttachmentFile* file);

// Makes the names such that the library neither changes one nor copies one over another: characters
// that a file name cannot hold become "_", and a name that was there already, in whatever letter
// case, is numbered: "a.txt", "a (2).txt".
void MakeNamesDistinct(std::vector<AttachmentFile>* files);

}  // namespace qvsend

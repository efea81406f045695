// Files whose paths the library cannot take: with characters that the system's code page lacks,
// with
// "?" (the library replaces it), or longer than its calls allow. They are copied to a plain path
// for the time of the send.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "programs/qvsend/attachment_list.h"

namespace qvsend {

class PlainPaths {
 public:
  PlainPaths() = default;
  ~PlainPaths();  // deletes the copies
  PlainPaths(const PlainPaths&) = delete;
  PlainPaths& operator=(const PlainPaths&) = delete;

  // Gives such files the path of a copy; their names stay. Returns what failed, "" for nothing.
  std::string Replace(std::vector<AttachmentFile>* files, uint32_t code_page);

 private:
  DWORD Copy(AttachmentFile* file);

  std::vector<std::string> copies_;
};

}  // namespace qvsend

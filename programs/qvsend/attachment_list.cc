#include "programs/qvsend/attachment_list.h"

#include <cstdio>
#include <fstream>
#include <set>

#include "platform/native_files.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvsend {
namespace {

// A name with characters that the Windows calls do not take ("Re: minutes.txt"): only the
// language's own streams open it.
DWORD FindForeignFile(const std::string& native, AttachmentFile* file) {
  std::ifstream stream(native, std::ios::binary | std::ios::ate);
  std::streamoff size = stream ? static_cast<std::streamoff>(stream.tellg()) : -1;
  // A folder opens too, and has no bytes to read.
  bool readable = size == 0 || (size > 0 && stream.seekg(0) && stream.get() != EOF);
  if (!readable) return ERROR_FILE_NOT_FOUND;
  *file = {native, "", program::LastPart(native), static_cast<uint64_t>(size)};
  return ERROR_SUCCESS;
}

DWORD FindFile(const std::string& native, AttachmentFile* file) {
  std::string path = platform::PlatformPath(native);
  if (path.empty()) return FindForeignFile(native, file);
  uint64_t size = 0;
  DWORD error = program::FileSize(path, &size);
  if (error != ERROR_SUCCESS) return error;
  *file = {native, path, program::LastPart(path), size};
  return ERROR_SUCCESS;
}

}  // namespace

DWORD FindAttachment(const std::string& argument, AttachmentFile* file) {
  DWORD error = FindFile(argument, file);
  if (error == ERROR_SUCCESS) return error;
  for (size_t at = argument.rfind('='); at != std::string::npos && at > 0;
       at = argument.rfind('=', at - 1)) {
    bool named = at + 1 < argument.size();
    if (!named || FindFile(argument.substr(0, at), file) != ERROR_SUCCESS) continue;
    file->name = argument.substr(at + 1);
    return ERROR_SUCCESS;
  }
  file->shown = argument.substr(0, argument.rfind('='));
  return error;
}

void MakeNamesDistinct(std::vector<AttachmentFile>* files) {
  std::set<std::string> taken;
  for (AttachmentFile& file : *files) {
    std::string plain = program::PlainName(file.name), name = plain;
    for (int number = 2; !taken.insert(program::FoldCase(name)).second; ++number) {
      name = program::Numbered(plain, number);
    }
    file.name = name;
  }
}

}  // namespace qvsend

#include "programs/qvsend/attachment_list.h"

#include <set>

#include "platform/native_files.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvsend {
namespace {

DWORD FindFile(const std::string& native, AttachmentFile* file) {
  std::string path = platform::PlatformPath(native);
  uint64_t size = 0;
  DWORD error = path.empty() ? ERROR_FILE_NOT_FOUND : program::FileSize(path, &size);
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

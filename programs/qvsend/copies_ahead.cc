#include "programs/qvsend/copies_ahead.h"

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvsend {
DWORD MakeCopy(const OutgoingFile& file, uint32_t code_page) {
  std::string copy_path = CopyPath(file, code_page);
  program::MakeWritable(copy_path);  // one that was left behind may be read-only, or not there
  auto bytes = program::ToCodePage(copy_path, code_page);
  if (!bytes || !bytes->lost.empty()) return ERROR_INVALID_NAME;
  if (CopyFileA(file.path.c_str(), bytes->bytes.c_str(), FALSE)) return ERROR_SUCCESS;
  return GetLastError();
}

std::string CannotCopy(const AttachmentFile& file, DWORD error) {
  std::string reason = error == ERROR_SUCCESS ? "" : program::ErrorText(error) + "; ";
  bool by_name = error == ERROR_FILENAME_EXCED_RANGE || error == ERROR_INVALID_NAME;
  return "cannot copy " + file.shown + " into " + program::ShownPath(program::StagingFolder()) +
         ": " + reason +
         (by_name ? "give it another one with --attach FILE=NAME"
                  : "make room there, and see that files can be written");
}

std::string CopyPath(const OutgoingFile& file, uint32_t code_page) {
  std::string name = program::FromCodePage(file.name, code_page).value_or(file.name);
  return program::Joined(program::StagingFolder(), name);
}

std::string CopyAhead(const Letter& letter, const Outgoing& outgoing, uint32_t code_page) {
  program::MakeFolder(program::StagingFolder());
  for (size_t i = 0; i + 1 < outgoing.files.size(); ++i) {
    DWORD error = MakeCopy(outgoing.files[i], code_page);
    if (error == ERROR_SUCCESS) continue;
    for (size_t made = 0; made < i; ++made) {
      program::DeleteFileAt(CopyPath(outgoing.files[made], code_page));
    }
    return CannotCopy(letter.files[i], error);
  }
  return "";
}

}  // namespace qvsend

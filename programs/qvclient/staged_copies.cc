#include "programs/qvclient/staged_copies.h"

#include <string_view>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvclient {

CopyState StagedCopies::State(const std::string& path) const {
  size_t length = folder_.size();
  if (length == 0 || path.size() <= length || path[length] != '\\') return CopyState::kOutside;
  bool inside = program::FoldCase(path.substr(0, length)) == program::FoldCase(folder_);
  if (!inside || !program::IsPlainName(std::string_view(path).substr(length + 1))) {
    return CopyState::kOutside;
  }
  if (program::IsOrdinaryFile(path)) return CopyState::kCopy;
  return program::IsThere(path) ? CopyState::kOutside : CopyState::kMissing;
}

DWORD StagedCopies::Delete(const std::string& path) const {
  CopyState state = State(path);
  if (state == CopyState::kMissing) return ERROR_SUCCESS;
  if (state != CopyState::kCopy) return ERROR_INVALID_NAME;
  program::MakeWritable(path);  // as read-only as its original
  return program::DeleteFileAt(path);
}

}  // namespace qvclient

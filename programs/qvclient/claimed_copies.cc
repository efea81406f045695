#include "programs/qvclient/claimed_copies.h"

#include <atomic>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvclient {
namespace {

// A new folder beside the staging folder; "" when there can be none.
std::string NewFolderBeside(const std::string& staging_folder) {
  static constinit std::atomic<uint32_t> number{0};
  std::string parent = staging_folder.substr(0, staging_folder.find_last_of('\\'));
  std::string start = "qvclient-" + std::to_string(GetCurrentProcessId()) + "-";
  // An earlier process of the same number may have left folders.
  for (int tries = 0; tries < 1000; ++tries) {
    std::string folder = program::Joined(parent, start + std::to_string(++number));
    DWORD error = program::MakeFolder(folder);
    if (error == ERROR_SUCCESS) return folder;
    if (error != ERROR_ALREADY_EXISTS) break;
  }
  return "";
}

}  // namespace

void ClaimedCopies::Claim(const std::vector<std::string>& paths, const StagedCopies& copies) {
  for (const std::string& path : paths) MoveAway(path, copies);
}

void ClaimedCopies::MoveAway(const std::string& path, const StagedCopies& copies) {
  auto [entry, is_new] = copies_.try_emplace(program::FoldCase(path), Copy{path, path});
  if (!is_new) return;
  if (folder_.empty()) folder_ = NewFolderBeside(copies.folder());
  if (folder_.empty()) return;
  std::string target = program::Joined(folder_, program::LastPart(path));
  if (program::RenameFile(path, target) != ERROR_SUCCESS) return;
  entry->second.current = target;
  // A copy is read-only when its original is; that would keep it from being deleted.
  program::MakeWritable(target);
}

std::string ClaimedCopies::PathOf(const std::string& path) const {
  auto entry = copies_.find(program::FoldCase(path));
  return entry == copies_.end() ? path : entry->second.current;
}

ClaimedCopies::Outcome ClaimedCopies::Delete(const StagedCopies& copies) {
  Outcome outcome;
  for (const auto& [folded, copy] : copies_) {
    bool moved = copy.current != copy.original;
    DWORD error = moved ? program::DeleteFileAt(copy.current) : copies.Delete(copy.original);
    if (error == ERROR_SUCCESS) {
      ++outcome.done;
    } else {
      outcome.left.push_back(copy.current);
    }
  }
  RemoveFolder();
  return outcome;
}

ClaimedCopies::Outcome ClaimedCopies::Restore() {
  Outcome outcome;
  for (const auto& [folded, copy] : copies_) {
    bool moved = copy.current != copy.original;
    if (!moved || program::RenameFile(copy.current, copy.original) == ERROR_SUCCESS) {
      ++outcome.done;
    } else {
      outcome.left.push_back(copy.current);
    }
  }
  RemoveFolder();
  return outcome;
}

// Stays while something is left in it.
void ClaimedCopies::RemoveFolder() {
  if (!folder_.empty()) program::RemoveEmptyFolder(folder_);
  folder_.clear();
  copies_.clear();
}

}  // namespace qvclient

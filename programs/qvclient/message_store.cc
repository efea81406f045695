#include "programs/qvclient/message_store.h"

#include <cstdio>

#include "programs/common/file_names.h"

namespace qvclient {
namespace {

std::string NumberedName(uint32_t number) {
  char name[32];
  std::snprintf(name, sizeof name, "%04u.eml", static_cast<unsigned>(number));
  return name;
}

WriteOutcome WriteInto(program::FileHandle& file, const Message& message,
                       const MessageStamp& stamp) {
  WriteOutcome outcome =
      WriteMessage(message, stamp, [&](std::string_view bytes) { return file.Write(bytes); });
  if (outcome.error == ERROR_SUCCESS) outcome.error = file.Flush();
  DWORD closed = file.Close();
  if (outcome.error == ERROR_SUCCESS) outcome.error = closed;
  return outcome;
}

}  // namespace

DWORD MessageStore::CreateTemporary(program::FileHandle* file, std::string* path) {
  // A program that was killed may have left files of the same process number.
  constexpr uint32_t kMostLeftovers = 1000;
  DWORD error = ERROR_FILE_EXISTS;
  for (uint32_t tries = 0; error == ERROR_FILE_EXISTS && tries < kMostLeftovers; ++tries) {
    std::string number = std::to_string(++temporary_number_);
    std::string name = "incoming-" + std::to_string(GetCurrentProcessId()) + "-" + number + ".tmp";
    *path = program::Joined(folder_, name);
    error = file->CreateToWrite(*path);
  }
  return error;
}

DWORD MessageStore::GiveNumber(const std::string& temporary, std::string* file_name) {
  for (;; ++next_number_) {
    *file_name = NumberedName(next_number_);
    std::string path = program::Joined(folder_, *file_name);
    // Asking first spares most of the renames that would fail.
    if (program::IsThere(path)) continue;
    DWORD error = program::RenameFile(temporary, path);
    if (error == ERROR_ALREADY_EXISTS) continue;
    if (error == ERROR_SUCCESS) ++next_number_;
    return error;
  }
}

DWORD MessageStore::Check() {
  program::FileHandle file;
  std::string temporary;
  DWORD error = CreateTemporary(&file, &temporary);
  if (error != ERROR_SUCCESS) return error;
  file.Close();
  return program::DeleteFileAt(temporary);
}

StoreOutcome MessageStore::Store(const Message& message, const MessageStamp& stamp) {
  program::FileHandle file;
  std::string temporary;
  DWORD error = CreateTemporary(&file, &temporary);
  if (error != ERROR_SUCCESS) return {error, folder_, ""};
  WriteOutcome written = WriteInto(file, message, stamp);
  StoreOutcome outcome{written.error, written.attachment, ""};
  if (outcome.error == ERROR_SUCCESS) outcome.error = GiveNumber(temporary, &outcome.file_name);
  if (outcome.error == ERROR_SUCCESS) return outcome;
  program::DeleteFileAt(temporary);
  if (outcome.failed_path.empty()) outcome.failed_path = folder_;
  outcome.file_name.clear();
  return outcome;
}

}  // namespace qvclient

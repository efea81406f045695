#include "programs/qvsend/plain_paths.h"

#include <fstream>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"

namespace qvsend {
namespace {

bool IsTaken(const std::string& path, uint32_t code_page) {
  if (path.empty()) return false;
  auto bytes = program::ToCodePage(path, code_page);
  // A code page that the system does not know is reported where the texts are converted.
  if (!bytes) return true;
  return bytes->lost.empty() && path.find('?') == std::string::npos &&
         bytes->bytes.size() < MAX_PATH;
}

constexpr size_t kChunk = 256 * 1024;

DWORD CopyContents(program::FileHandle& from, program::FileHandle& to) {
  std::string chunk(kChunk, '\0');
  for (;;) {
    DWORD done = 0;
    DWORD error = from.Read(chunk.data(), static_cast<DWORD>(kChunk), &done);
    if (error != ERROR_SUCCESS || done == 0) return error;
    error = to.Write(std::string_view(chunk).substr(0, done));
    if (error != ERROR_SUCCESS) return error;
  }
}

DWORD CopyForeignContents(const std::string& native, program::FileHandle& to) {
  std::ifstream from(native, std::ios::binary);
  std::string chunk(kChunk, '\0');
  DWORD error = from ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
  while (error == ERROR_SUCCESS && from) {
    from.read(chunk.data(), static_cast<std::streamsize>(kChunk));
    error = to.Write(std::string_view(chunk).substr(0, static_cast<size_t>(from.gcount())));
  }
  return error == ERROR_SUCCESS && from.bad() ? ERROR_READ_FAULT : error;
}

DWORD CopyInto(const AttachmentFile& file, program::FileHandle& to) {
  if (file.path.empty()) return CopyForeignContents(file.shown, to);
  program::FileHandle from;
  DWORD error = from.OpenToRead(file.path);
  return error == ERROR_SUCCESS ? CopyContents(from, to) : error;
}

}  // namespace

PlainPaths::~PlainPaths() {
  for (const std::string& copy : copies_) program::DeleteFileAt(copy);
}

std::string PlainPaths::Replace(std::vector<AttachmentFile>* files, uint32_t code_page) {
  for (AttachmentFile& file : *files) {
    if (IsTaken(file.path, code_page)) continue;
    DWORD error = Copy(&file);
    if (error == ERROR_SUCCESS) continue;
    return "cannot make a copy of " + file.shown +
           " whose path the library can take: " + program::ErrorText(error) + "; rename the file";
  }
  return "";
}

DWORD PlainPaths::Copy(AttachmentFile* file) {
  // Beside the staging folder: the user's temporary folder.
  std::string staging = program::StagingFolder();
  std::string folder = staging.substr(0, staging.find_last_of('\\'));
  std::string name = "qvsend-" + std::to_string(GetCurrentProcessId()) + "-" +
                     std::to_string(copies_.size()) + ".tmp";
  std::string path = program::Joined(folder, name);
  program::FileHandle to;
  DWORD error = to.CreateToWrite(path);
  if (error != ERROR_SUCCESS) return error;
  copies_.push_back(path);
  error = CopyInto(*file, to);
  file->path = path;
  return error == ERROR_SUCCESS ? to.Close() : error;
}

}  // namespace qvsend

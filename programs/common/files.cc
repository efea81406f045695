#include "programs/common/files.h"

#include <algorithm>

#include "programs/common/text.h"

namespace program {
namespace {

// The system's answer as a value; a failure that left no number still is one.
DWORD Outcome(BOOL success) {
  if (success) return ERROR_SUCCESS;
  DWORD error = GetLastError();
  return error != ERROR_SUCCESS ? error : ERROR_GEN_FAILURE;
}

DWORD AttributesOf(const std::string& path) { return GetFileAttributesW(ToWide(path).c_str()); }

bool IsFolder(const std::string& path) {
  DWORD attributes = AttributesOf(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

}  // namespace

DWORD FileHandle::Open(const std::string& path, DWORD access, DWORD share, DWORD disposition) {
  Close();
  handle_ = CreateFileW(ToWide(path).c_str(), access, share, nullptr, disposition,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
  return Outcome(handle_ != INVALID_HANDLE_VALUE);
}

DWORD FileHandle::OpenToRead(const std::string& path) {
  DWORD share = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
  return Open(path, GENERIC_READ, share, OPEN_EXISTING);
}

DWORD FileHandle::OpenAlone(const std::string& path) {
  return Open(path, GENERIC_WRITE, 0, OPEN_ALWAYS);
}

DWORD FileHandle::CreateToWrite(const std::string& path) {
  return Open(path, GENERIC_WRITE, 0, CREATE_NEW);
}

DWORD FileHandle::Read(char* buffer, DWORD size, DWORD* done) {
  *done = 0;
  return Outcome(ReadFile(handle_, buffer, size, done, nullptr));
}

DWORD FileHandle::Write(std::string_view bytes) {
  while (!bytes.empty()) {
    auto size = static_cast<DWORD>(std::min<size_t>(bytes.size(), 1u << 20));
    DWORD done = 0;
    DWORD error = Outcome(WriteFile(handle_, bytes.data(), size, &done, nullptr));
    if (error != ERROR_SUCCESS) return error;
    if (done == 0) return ERROR_DISK_FULL;
    bytes.remove_prefix(done);
  }
  return ERROR_SUCCESS;
}

DWORD FileHandle::Size(uint64_t* size) {
  LARGE_INTEGER length{};
  DWORD error = Outcome(GetFileSizeEx(handle_, &length));
  *size = static_cast<uint64_t>(length.QuadPart);
  return error;
}

DWORD FileHandle::Flush() { return Outcome(FlushFileBuffers(handle_)); }

DWORD FileHandle::Close() {
  if (handle_ == INVALID_HANDLE_VALUE) return ERROR_SUCCESS;
  HANDLE handle = handle_;
  handle_ = INVALID_HANDLE_VALUE;
  return Outcome(CloseHandle(handle));
}

DWORD ReadWholeFile(const std::string& path, uint64_t limit, std::string* contents) {
  contents->clear();
  FileHandle file;
  DWORD error = file.OpenToRead(path);
  std::string chunk(64 * 1024, '\0');
  DWORD done = 1;
  while (error == ERROR_SUCCESS && done != 0) {
    error = file.Read(chunk.data(), static_cast<DWORD>(chunk.size()), &done);
    contents->append(chunk, 0, done);
    if (contents->size() > limit) error = ERROR_NOT_ENOUGH_MEMORY;
  }
  return error;
}

DWORD FileSize(const std::string& path, uint64_t* size) {
  *size = 0;
  FileHandle file;
  DWORD error = file.OpenToRead(path);
  return error != ERROR_SUCCESS ? error : file.Size(size);
}

DWORD MakeWritable(const std::string& path) {
  return Outcome(SetFileAttributesW(ToWide(path).c_str(), FILE_ATTRIBUTE_NORMAL));
}

DWORD DeleteFileAt(const std::string& path) { return Outcome(DeleteFileW(ToWide(path).c_str())); }

DWORD RenameFile(const std::string& from, const std::string& to) {
  DWORD error = Outcome(MoveFileExW(ToWide(from).c_str(), ToWide(to).c_str(), 0));
  return error == ERROR_FILE_EXISTS ? ERROR_ALREADY_EXISTS : error;
}

bool IsOrdinaryFile(const std::string& path) {
  DWORD attributes = AttributesOf(path);
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_DIRECTORY | FILE_ATTRIBUTE_REPARSE_POINT)) == 0;
}

bool IsThere(const std::string& path) { return AttributesOf(path) != INVALID_FILE_ATTRIBUTES; }

DWORD MakeFolder(const std::string& path) {
  return Outcome(CreateDirectoryW(ToWide(path).c_str(), nullptr));
}

DWORD RemoveEmptyFolder(const std::string& path) {
  auto bytes = ToCodePage(path, CP_ACP);
  if (!bytes || !bytes->lost.empty()) return ERROR_INVALID_NAME;
  return Outcome(RemoveDirectoryA(bytes->bytes.c_str()));
}

DWORD MakeFolders(const std::string& path) {
  if (IsFolder(path)) return ERROR_SUCCESS;
  size_t separator = path.find_last_of("\\/");
  // The drive itself ("C:") cannot be made; its absence shows in the call below.
  if (separator != std::string::npos && separator > 2) MakeFolders(path.substr(0, separator));
  DWORD error = MakeFolder(path);
  // Another process may have made it meanwhile.
  return IsFolder(path) ? ERROR_SUCCESS : error;
}

std::string ErrorText(DWORD error) {
  switch (error) {
    case ERROR_FILE_NOT_FOUND:
      return "there is no such file";
    case ERROR_PATH_NOT_FOUND:
      return "there is no such folder";
    case ERROR_ACCESS_DENIED:
      return "access is denied";
    case ERROR_NOT_ENOUGH_MEMORY:
      return "it is too large";
    case ERROR_SHARING_VIOLATION:
      return "another program uses it";
    case ERROR_WRITE_PROTECT:
      return "the disk is write-protected";
    case ERROR_DISK_FULL:
      return "the disk is full";
    case ERROR_FILE_EXISTS:
    case ERROR_ALREADY_EXISTS:
      return "there is a file of that name";
    case ERROR_INVALID_NAME:
    case ERROR_DIRECTORY:
      return "the name is not valid";
    case ERROR_MOD_NOT_FOUND:
      return "the library was not found";
    case ERROR_PROC_NOT_FOUND:
      return "the library lacks an entry point";
    case ERROR_BAD_EXE_FORMAT:
      return "it is no library for this program";
    case ERROR_FILENAME_EXCED_RANGE:
      return "the name is too long";
    default:
      return "error " + std::to_string(error);
  }
}

}  // namespace program

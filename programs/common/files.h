// Files by the system's calls, with paths in UTF-8 and in the form that those calls take.
//
// Errors are the system's numbers; 0 is success. ErrorText says them in words.
// Threads: an object belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "platform/windows_api.h"

namespace program {

// Closes itself.
class FileHandle {
 public:
  FileHandle() = default;
  ~FileHandle() { Close(); }
  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  // Shared with readers and with a program that deletes or renames it meanwhile.
  DWORD OpenToRead(const std::string& path);
  // To write, and nobody else opens it meanwhile; made when it is not there.
  DWORD OpenAlone(const std::string& path);
  // Only a file that is not there yet.
  DWORD CreateToWrite(const std::string& path);

  // *done 0 with success is the end of the file.
  DWORD Read(char* buffer, DWORD size, DWORD* done);
  DWORD Write(std::string_view bytes);
  DWORD Size(uint64_t* size);
  // What was written is on the disk.
  DWORD Flush();
  DWORD Close();

 private:
  DWORD Open(const std::string& path, DWORD access, DWORD share, DWORD disposition);

  HANDLE handle_ = INVALID_HANDLE_VALUE;
};

// The whole file, at most `limit` bytes of it: a longer one is ERROR_NOT_ENOUGH_MEMORY.
DWORD ReadWholeFile(const std::string& path, uint64_t limit, std::string* contents);

DWORD FileSize(const std::string& path, uint64_t* size);

// Takes off the mark that keeps a file from being changed or deleted.
DWORD MakeWritable(const std::string& path);
DWORD DeleteFileAt(const std::string& path);
// Fails with ERROR_ALREADY_EXISTS when `to` is there.
DWORD RenameFile(const std::string& from, const std::string& to);

// A file that is there, no folder, no link to elsewhere.
bool IsOrdinaryFile(const std::string& path);
bool IsThere(const std::string& path);

// ERROR_ALREADY_EXISTS when something of that name is there.
DWORD MakeFolder(const std::string& path);
DWORD RemoveEmptyFolder(const std::string& path);

// Makes a folder and all that it lies in; one that is there is success.
DWORD MakeFolders(const std::string& path);

// "the disk is full"; "error 1234" for a number that nobody expects.
std::string ErrorText(DWORD error);

}  // namespace program

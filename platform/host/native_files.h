// Whole native files: read at once, replaced at once, locked between processes.
#pragma once

#include <string>

#include "platform/host/types.h"

namespace host {

// A descriptor that is closed with its scope, and on exec.
class Descriptor {
 public:
  explicit Descriptor(int number = -1) : number_(number) {}
  ~Descriptor();
  Descriptor(Descriptor&& other) noexcept : number_(other.Release()) {}
  Descriptor& operator=(Descriptor&& other) noexcept;
  int number() const { return number_; }
  bool is_open() const { return number_ >= 0; }
  int Release();
  void Close();

 private:
  int number_;
};

// Reads a regular file of at most `limit` bytes. 0, or the Windows error; the text is then empty.
DWORD ReadNativeFile(const std::string& path, size_t limit, std::string* text);

// Replaces the file's contents in one step: a reader, or a crash, finds the old or the new. Keeps
// the mode of a file that is there; a new one gets `mode`.
DWORD ReplaceNativeFile(const std::string& path, std::string_view text, unsigned mode = 0600);

// Writes all bytes. 0, or the Windows error.
DWORD WriteAllBytes(int file, std::string_view bytes);

// Holds the lock file exclusively, between threads and processes, until the result is closed. Not
// open when the lock could not be had; errno says why.
Descriptor LockFile(const std::string& path, bool wait = true);

}  // namespace host

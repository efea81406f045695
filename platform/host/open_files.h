// Open files, and who may open one beside whom.
//
// What an open file lets others do (its share mode) holds within this process; between processes
// only a file that lets others do nothing is kept from them (files.cc).
#pragma once

#include <sys/stat.h>

#include "platform/host/handles.h"
#include "platform/host/native_files.h"

namespace host {

// The bits of the attributes that a native file has.
DWORD AttributesOf(const struct stat& status);

class OpenFile : public KernelObject {
 public:
  OpenFile(Descriptor file, const struct stat& status, DWORD access, DWORD share);
  ~OpenFile() override;

  int number() const { return file_.number(); }
  bool MayRead() const;
  bool MayWrite() const;

 private:
  friend bool MayOpen(const struct stat& status, DWORD access, DWORD share);
  friend bool MayDelete(const struct stat& status);

  const Descriptor file_;
  const dev_t device_;
  const ino_t inode_;
  const DWORD access_, share_;
};

// Whether open files let one more handle with this access and share mode be opened.
bool MayOpen(const struct stat& status, DWORD access, DWORD share);
// Whether open files let this one be deleted or renamed.
bool MayDelete(const struct stat& status);

}  // namespace host

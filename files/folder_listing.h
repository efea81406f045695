// The entries of a folder, one at a time.
//
//   qv::FolderListing listing(false);
//   qv::FolderEntry entry;
//   ZRError error = listing.First("C:\\mail", "*.*", 0, &entry);
//   for (; error == 0; error = listing.Next(&entry)) Show(entry.name);
//   if (error != ZRErrEOF) ...
//
// "." and ".." are left out. A name that is too long (over 31 bytes of a folder, over 63 of a file)
// or holds "?" (a character that the code page lacks) is given in its short form, which names the
// same file; an entry that has none is left out, since nothing that fits the record would open it.
// The platform decides the order, and what of a change during the listing is seen.
//
// Threads: one task at a time. Errors end the listing and clear the entry. A folder that is not
// there has no entries: ZRErrEOF, as when nothing matches.
#pragma once

#include <cstdint>

#include "base/errors.h"
#include "files/paths.h"

namespace qv {

constexpr uint32_t kEntryFolder = 0x01, kEntryReadOnly = 0x02, kEntryHidden = 0x04,
                   kEntrySystem = 0x08, kEntryArchive = 0x10;

struct FolderEntry {
  uint32_t attributes;
  uint32_t modified, created;  // framework times on the local clock
  uint32_t unused;             // left as it is
  uint64_t data_size;
  uint64_t fork_size;  // this and the next two only with kListForkInfo, else 0
  uint32_t type, creator;
  char name[kNameSize];
};
static_assert(sizeof(FolderEntry) == 104);

// Options.
constexpr uint32_t kListForkInfo = 0x3;  // either bit
constexpr uint32_t kListFoldersOnly = 0x1000;

class FolderListing {
 public:
  explicit FolderListing(bool use_worker) : use_worker_(use_worker) {}
  ~FolderListing() { End(); }
  FolderListing(const FolderListing&) = delete;
  FolderListing& operator=(const FolderListing&) = delete;

  // Ends a listing in progress first. ZRErrTooLong when folder and pattern do not go together,
  // ZRErrBadFolder without a folder.
  ZRError First(const char* folder, const char* pattern, uint32_t options, FolderEntry* entry);
  // ZRErrEOF when there are no more, or no listing is in progress.
  ZRError Next(FolderEntry* entry);
  void End();
  bool InProgress() const;

  void UseWorker(bool use_worker) { use_worker_ = use_worker; }

 private:
  ZRError GiveOrGoOn(const void* found, FolderEntry* entry);
  ZRError Fail(uint32_t native, FolderEntry* entry);
  bool FillForkInfo(FolderEntry* entry) const;
  uint32_t Ask(uint32_t operation, void* found, const char* pattern);

  bool use_worker_;
  uint32_t options_ = 0;
  void* handle_ = reinterpret_cast<void*>(intptr_t{-1});  // the platform's listing
  char folder_[kFolderSize] = {};
};

}  // namespace qv

// One listing over the product's folders at all levels, from a first one to level 8: each name
// once, from the first level that has it (letter case of ASCII apart).
//
//   qv::LevelListing listing;
//   qv::FolderEntry entry;
//   ZRError error = listing.First(1, "Stationery", 0, &entry);
//   for (; error == 0; error = listing.Next(&entry)) Show(listing.level(), entry.name);
//
// A level that cannot be entered, or whose listing fails, is passed over. Threads: one task at a
// time. Errors: ZRErrEOF at the end, ZRErrNoMemory when a name could not be remembered (the listing
// is then over), ZRErrTooLong for a subfolder above 63 bytes.
#pragma once

#include <cstdint>
#include <set>
#include <string>

#include "files/disk_file.h"

namespace qv {

class LevelListing {
 public:
  ZRError First(uint32_t level, const char* subfolder, uint32_t options, FolderEntry* entry);
  ZRError Next(FolderEntry* entry);
  // The level of the last entry.
  uint32_t level() const { return level_; }

 private:
  ZRError StartLevel(FolderEntry* entry);
  ZRError GiveNew(ZRError error, FolderEntry* entry);

  CDiskFile folder_;
  uint32_t level_ = 0, options_ = 0;
  char subfolder_[kNameSize] = {};
  bool over_ = true;
  std::set<std::string> names_;  // given already, in upper case
};

}  // namespace qv

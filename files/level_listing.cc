#include "files/level_listing.h"

#include <cstring>
#include <new>

#include "files/locations.h"

namespace qv {
namespace {

constexpr uint32_t kLastLevel = kLocationApplication;

std::string UpperAscii(std::string text) {
  for (char& c : text) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return text;
}

}  // namespace

ZRError LevelListing::First(uint32_t level, const char* subfolder, uint32_t options,
                            FolderEntry* entry) {
  names_.clear();
  over_ = true;
  *entry = {};
  const char* text = subfolder == nullptr ? "" : subfolder;
  const size_t length = std::strlen(text);
  if (length >= kNameSize) return ZRErrTooLong;
  std::memmove(subfolder_, text, length + 1);
  options_ = options;
  level_ = level;
  over_ = false;
  return GiveNew(StartLevel(entry), entry);
}

ZRError LevelListing::Next(FolderEntry* entry) {
  if (over_) {
    *entry = {};
    return ZRErrEOF;
  }
  return GiveNew(folder_.NextEntry(entry), entry);
}

ZRError LevelListing::StartLevel(FolderEntry* entry) {
  const ZRError error = folder_.GoToLevelFolder(level_, subfolder_);
  return error == ZRErrNone ? folder_.FirstEntry(entry, options_) : error;
}

// Goes on from an answer of the level's listing to the next entry with a new name.
ZRError LevelListing::GiveNew(ZRError error, FolderEntry* entry) try {
  for (;;) {
    if (error == ZRErrNone) {
      if (names_.insert(UpperAscii(entry->name)).second) return ZRErrNone;
      error = folder_.NextEntry(entry);
    } else if (level_ < kLastLevel) {
      ++level_;
      error = StartLevel(entry);
    } else {
      break;
    }
  }
  over_ = true;
  *entry = {};
  return ZRErrEOF;
} catch (const std::bad_alloc&) {
  folder_.EndFind();
  over_ = true;
  *entry = {};
  return ZRErrNoMemory;
}

}  // namespace qv

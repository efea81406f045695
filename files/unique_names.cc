#include "files/unique_names.h"

#include <cstring>

#include "format/encodings/random.h"

namespace qv {

UniqueNames::UniqueNames(const char* folder) {
  const size_t length = strnlen(folder, kFolderSize - 1);
  std::memcpy(path_, folder, length);
  name_at_ = static_cast<uint32_t>(length);
  if (length > 0 && ZRLastSeparator(path_, '\\') != path_ + length - 1) path_[name_at_++] = '\\';
}

ZRError UniqueNames::Next() {
  char* const letter = path_ + name_at_;
  if (*letter != 0) {
    if (!CountOn()) return ZRErrCannotCreate;
  } else if (name_at_ < kFolderSize) {
    *letter = static_cast<char>('A' + ZRRandom32(25));
  }
  return name_at_ + 1 + letters_ < kFolderSize ? ZRErrNone : ZRErrTooLong;
}

bool UniqueNames::CountOn() {
  char* const counter = path_ + name_at_ + 1;
  for (uint32_t at = letters_; at-- > 0;) {
    if (counter[at] != 'Z') {
      ++counter[at];
      return true;
    }
    counter[at] = 'A';
  }
  if (letters_ == kMostLetters || name_at_ + 1 + letters_ >= kFolderSize) return false;
  counter[letters_++] = 'A';
  return true;
}

}  // namespace qv

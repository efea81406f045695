// Names that nothing in a folder has yet.
//
//   qv::UniqueNames names("C:\\mail");
//   while (names.Next() == 0 && TryToMake(names.path()) == ZRErrExists) continue;
//
// The first name is one random capital letter. The further ones are that letter and a counter of
// capital letters: A to Z, AA to ZZ, and so on, the last letter moving fastest.
#pragma once

#include <cstdint>

#include "base/errors.h"
#include "files/paths.h"

namespace qv {

class UniqueNames {
 public:
  // At most 255 bytes.
  explicit UniqueNames(const char* folder);

  // The next candidate. ZRErrCannotCreate when the counter would need 8 letters, ZRErrTooLong when
  // the path does not fit into 255 bytes.
  ZRError Next();

  const char* path() const { return path_; }
  const char* name() const { return path_ + name_at_; }

 private:
  // False when it has all its letters.
  bool CountOn();

  static constexpr uint32_t kMostLetters = 7;

  char path_[kFolderSize + 1] = {};
  uint32_t name_at_ = 0;  // where the random letter stands
  uint32_t letters_ = 0;  // of the counter, behind it
};

// Looks for the first candidate that nothing has and for which attempt(path) does not answer
// ZRErrExists; gives that answer. `candidates` then stands at it.
template <typename Exists, typename Attempt>
ZRError MakeUnique(UniqueNames& candidates, Exists exists, Attempt attempt) {
  for (;;) {
    ZRError error = candidates.Next();
    if (error != ZRErrNone) return error;
    if (exists(candidates.path())) continue;
    error = attempt(candidates.path());
    if (error != ZRErrExists) return error;
  }
}

}  // namespace qv

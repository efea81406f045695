// Zone lists: names of zones with their ids, as text.
//
//   Europe/London=28837376;Europe/Dublin;A\;B=-5
//
//   qv::ZoneListReader reader(text, cp);
//   qv::ZoneListEntry entry;
//   while (reader.Next(entry)) ...          // 28837376, then 28837377, then -5 of "A;B"
//
// Entries end at ';'; what stands behind the last one is an entry unless it is empty. In a name a
// '\' makes the next byte a plain one, unless the code page is a double-byte one, where it can be
// half of a character. Behind '=' digits make the id, wherever a '-' stands it is negative, blanks
// are passed over, and any other byte ends it. An id wraps at 32 bits. An entry without '=' has the
// id of the one before it plus 1; the first one has 0. A name of more than 255 bytes reads as
// empty.
//
// Threads: any; the text has to stay. Errors: none.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "text/code_pages.h"
#include "text/length_prefixed.h"

namespace qv {

struct ZoneListEntry {
  std::string_view name() const { return {bytes.data(), size}; }
  // Takes control characters out of the name.
  void RemoveControlCharacters();

  std::array<char, kMostLStr> bytes;
  size_t size = 0;
  uint32_t id = 0;
};

class ZoneListReader {
 public:
  ZoneListReader(std::string_view text, CodePage cp)
      : text_(text), escapes_(!IsDoubleByteCodePage(cp)) {}

  // False at the end.
  bool Next(ZoneListEntry& entry);

 private:
  void ReadName(ZoneListEntry& entry);
  uint32_t ReadId();

  std::string_view text_;
  size_t at_ = 0;
  bool escapes_;
  uint32_t next_id_ = 0;
};

}  // namespace qv

#include "time/zone_list.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// "NAME=ID|NAME=ID" of what is read.
std::string Read(const std::string& text, CodePage cp, bool remove_controls) {
  std::string entries;
  qv::ZoneListReader reader(text, cp);
  qv::ZoneListEntry entry;
  while (reader.Next(entry)) {
    if (remove_controls) entry.RemoveControlCharacters();
    entries += (entries.empty() ? "" : "|") + std::string(entry.name()) + "=" +
               std::to_string(static_cast<int32_t>(entry.id));
  }
  return entries;
}

TEST(ZoneList, Entries) {
  const std::string most(255, 'x');
  const struct {
    const char* name;
    std::string in, out;
    CodePage cp = kWesternWindows;
  } kRows[] = {
      {"nothing", "", ""},
      {"one", "A=5", "A=5"},
      {"an end of its own", "A=5;", "A=5"},
      {"the id after the one before", "Other=7;Name;Next", "Other=7|Name=8|Next=9"},
      {"the first one without an id", "A;B", "A=0|B=1"},
      {"a minus anywhere", "A=-5;B=5-;C=1-2;D", "A=-5|B=-5|C=-12|D=-11"},
      {"blanks in an id", "A= 1 2 ;B", "A=12|B=13"},
      {"what ends an id", "A=1x2;B=;C==5", "A=1|B=0|C=0"},
      {"an id that wraps", "A=4294967301", "A=5"},
      {"no name", ";=4;", "=0|=4"},
      {"escapes", "A\\;B\\=C\\\\=3", "A;B=C\\=3"},
      {"an escape of nothing", "A\\", "A\\=0"},
      {"no escapes in Japanese", "A\\;B=3", "A\\=0|B=3", 932},
      {"control characters", "\r\nA\tB\x7F=3", "AB=3"},
      {"the longest name", most + "=1", most + "=1"},
      {"a longer one", most + "y=1;B", "=1|B=2"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Read(row.in, row.cp, true), row.out);
  }
  EXPECT_EQ(Read("A\tB", kWesternWindows, false), "A\tB=0") << "the reader itself leaves them";
}

}  // namespace

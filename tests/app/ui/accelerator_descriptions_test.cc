#include "app/ui/accelerator_descriptions.h"

#include <cstdio>

#include "app/ui/accelerators.h"
#include "tests/app/ui/menu_fixture.h"

namespace {

// "COMMAND:FLAGS+KEY" and the text in brackets, for every entry.
std::string DumpTable() {
  std::string text;
  const qv::AcceleratorTable& table = qv::Accelerators();
  for (uint32_t i = 0; i < table.count; ++i) {
    const qv::Accelerator& entry = table.entries[i];
    char keys[32];
    std::snprintf(keys, sizeof keys, "%s%u:%02X+%02X", i > 0 ? " " : "", entry.command, entry.flags,
                  entry.key);
    text += keys;
    if (entry.display_text != nullptr) text += "[" + std::string(entry.display_text) + "]";
  }
  return text;
}

using AcceleratorDescriptionsTest = test::MenuTest;

TEST_F(AcceleratorDescriptionsTest, AreParsed) {
  const struct {
    std::string text;
    const char *entries, *lines;
  } kRows[] = {
      {R"(1001w0B43"Ctrl+C")", "1001:0B+43[Ctrl+C]", ""},
      {"7w0b7f", "7:0B+7F", ""},
      {"7w0170\"\"", "7:01+70[]", ""},
      {"65535w0170", "65535:01+70", ""},
      {R"(7w0170"a\"b\\c")", "7:01+70[a\"b\\c]", ""},
      {R"(7w0170"never closed)", "7:01+70[never closed]", ""},
      {R"(7w0170"end\)", "7:01+70[end]", ""},
      {"7w0170\"Gr\xC3\xB6\xC3\x9F"
       "e\"w0171",
       "7:01+70[Gr\xC3\xB6\xC3\x9F"
       "e] 7:01+71",
       ""},
      // Other platforms, before, behind and alone.
      {R"(7m12"4"w0170u"w0171)", "7:01+71", ""},  // a quote among the four characters, then a text
      {R"(7m1234"w0171"w0170uABCDw0172)", "7:01+70 7:01+72", ""},
      {"7m12", "", ""},
      {"7", "", ""},
      // What is wrong ends the string; what stands before it is kept.
      {"", "", "Could not parse command \n"},
      {"w0B43", "", "Could not parse command w0B43\n"},
      {"-1w0B43", "", "Could not parse command -1w0B43\n"},
      {"65536w0B43", "", "Could not parse command 65536w0B43\n"},
      {"99999999999999999999w0B43", "", "Could not parse command 99999999999999999999w0B43\n"},
      {"55w0B", "", "Could not parse 4 hex digits 0B\n"},
      {"55w0BG3w0B43", "", "Could not parse 4 hex digits 0BG3w0B43\n"},
      {"55w0B43w0", "55:0B+43", "Could not parse 4 hex digits 0\n"},
      {"55w0B43x\"a\"", "55:0B+43",
       "unrecognized Option in accel parser remainder skipped x\"a\" char:x\n"},
      {"55 w0B43", "", "unrecognized Option in accel parser remainder skipped  w0B43 char: \n"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.text);
    ClearAccelerators();
    ParseAccelerator(row.text.c_str());
    EXPECT_EQ(DumpTable(), row.entries);
    EXPECT_EQ(TakeLines(), row.lines);
  }
}

TEST_F(AcceleratorDescriptionsTest, ATextOfAnyLengthIsKeptWhole) {
  const std::string text(100000, 'x');
  ParseAccelerator(("7w0170\"" + text + "\"").c_str());
  EXPECT_EQ(qv::Accelerators().entries[0].display_text, text);
}

TEST_F(AcceleratorDescriptionsTest, TheListIsReadUntilItEndsOrTheTableIsFull) {
  SetList(qv::kAcceleratorList, {"1w0141\"A\"", "bad", "2w0142"});
  for (int i = 0; i < 2; ++i) {
    qv::FillAccelerators();
    EXPECT_EQ(DumpTable(), "1:01+41[A] 2:01+42");
    EXPECT_EQ(TakeLines(), "Could not parse command bad\n");
  }
  std::vector<std::string> strings;
  for (int i = 1; i <= 99; ++i) strings.push_back(std::to_string(i) + "w0141");
  strings.insert(strings.end(), {"100w0141w0142\"left out\"m1234", "101w0141", "not even read"});
  SetList(qv::kAcceleratorList, strings);
  qv::FillAccelerators();
  EXPECT_EQ(qv::Accelerators().count, 100u);
  EXPECT_EQ(FindAccelerator(100)->key, 0x41);
  EXPECT_EQ(FindAccelerator(101), nullptr);
}

TEST_F(AcceleratorDescriptionsTest, ThePlatformTableIsMadeOnce) {
  EXPECT_FALSE(qv::CreatePlatformAccelerators());  // of no entries
  ParseAccelerator("1001w0B43\"C\"wFD58");  // with a flag that would end the platform's table
  ParseAccelerator("7w0170");
  EXPECT_EQ(FindAccelerator(1001)->key, 0x43);  // the first one
  EXPECT_EQ(FindAccelerator(1001 + 0x10000), nullptr);
  ASSERT_TRUE(qv::CreatePlatformAccelerators());
  HACCEL table = qv::PlatformAccelerators();
  ACCEL entries[4] = {};
  ASSERT_EQ(CopyAcceleratorTableW(table, entries, 4), 3);
  EXPECT_EQ(entries[0].fVirt & 0x1F, 0x0B);
  EXPECT_EQ(entries[0].key, 0x43);
  EXPECT_EQ(entries[0].cmd, 1001);
  EXPECT_EQ(entries[1].fVirt & 0x80, 0);
  EXPECT_EQ(entries[1].key, 0x58);
  EXPECT_EQ(entries[2].cmd, 7);
  ClearAccelerators();
  ParseAccelerator("8w0171");
  EXPECT_TRUE(qv::CreatePlatformAccelerators());
  EXPECT_EQ(qv::PlatformAccelerators(), table);
  qv::ReleasePlatformAccelerators();
  EXPECT_TRUE(qv::CreatePlatformAccelerators());
  EXPECT_EQ(CopyAcceleratorTableW(qv::PlatformAccelerators(), entries, 4), 1);
  EXPECT_EQ(entries[0].cmd, 8);
}

}  // namespace

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "tools/resource_tool/tool.h"
#include "tools/resource_tool/version_record.h"

namespace qvresource {
namespace {

using namespace std::string_literals;
using Files = std::vector<std::pair<std::string, std::string>>;  // name and text

class ResourceTool : public testing::Test {
 protected:
  ResourceTool() {
    char pattern[] = "/tmp/qvresource-test-XXXXXX";
    folder_ = mkdtemp(pattern);
  }
  ~ResourceTool() override { std::filesystem::remove_all(folder_); }

  std::string Path(const std::string& name) const { return (folder_ / name).string(); }

  void Write(const Files& files) {
    for (const auto& [name, text] : files) {
      std::filesystem::create_directories((folder_ / name).parent_path());
      std::ofstream(folder_ / name, std::ios::binary) << text;
    }
  }
  std::string Read(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(folder_ / name, std::ios::binary).rdbuf();
    return text.str();
  }

  // Runs the tool on descriptions of the folder; errors without the folder's name.
  int Run(const std::string& form, const std::vector<std::string>& descriptions) {
    std::vector<std::string> arguments = {"--form",    form,       "--output",
                                          Path("out"), "--depend", Path("out.d")};
    for (const std::string& name : descriptions) arguments.push_back(Path(name));
    std::ostringstream out, errors;
    const int code = RunTool(arguments, out, errors);
    errors_ = errors.str();
    for (size_t at; (at = errors_.find(folder_.string() + "/")) != std::string::npos;) {
      errors_.erase(at, folder_.string().size() + 1);
    }
    return code;
  }

  std::filesystem::path folder_;
  std::string errors_;
};

// Rows of 16 values "first", "first + step", ...
std::string Rows(int first_row, int last_row, const char* format, int step = 1) {
  std::string text;
  for (int row = first_row; row <= last_row; ++row) {
    char piece[16];
    snprintf(piece, sizeof piece, "%X0:", row);
    text += piece;
    for (int i = 0; i < 16; ++i) {
      snprintf(piece, sizeof piece, format, (row * 16 + i) * step);
      text += piece;
    }
    text += "\n";
  }
  return text;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  return text.replace(text.find(from), from.size(), to);
}

// The resource of the pack, by the names and numbers in it.
std::string FindInPack(const std::string& pack, const std::string& type, uint32_t number) {
  const auto word = [&pack](size_t at) {
    uint32_t value = 0;
    for (size_t i = 4; i > 0; --i) value = value << 8 | static_cast<uint8_t>(pack.at(at + i - 1));
    return value;
  };
  EXPECT_EQ(pack.substr(0, 8), "QVRESPK1");
  for (uint32_t i = 0; i < word(8); ++i) {
    const size_t entry = 12 + 24 * i;
    const std::string name =
        word(entry + 4) ? pack.c_str() + word(entry + 4) : std::to_string(word(entry));
    EXPECT_EQ(word(entry + 16) % 4, 0u);
    if (name == type && word(entry + 8) == number) {
      return pack.substr(word(entry + 16), word(entry + 20));
    }
  }
  return "none";
}

TEST_F(ResourceTool, WrongDataStopsTheBuild) {
  const std::string map = "map 1 2\n" + Rows(0, 15, " %02X"), page = Rows(8, 15, " %04X"),
                    wide = "8140:" + Rows(0x300, 0x300, " %04X").substr(5);
  const struct {
    const char* name;
    Files files;  // the first is the description
    std::string error;
  } kRows[] = {
      {"unknown word", {{"d", "\n# comment\nmenu 1\n"}}, "d:3: no kind of resource: menu"},
      {"a field too few", {{"d", "string 1\n"}}, "d:1: string needs more fields"},
      {"a field too many", {{"d", "string 1 \"a\" 2\n"}}, "d:1: string takes fewer fields"},
      {"no number", {{"d", "string one \"a\"\n"}}, "d:1: bad digit in one"},
      {"number out of range", {{"d", "string 65536 \"a\"\n"}}, "d:1: 65536 is out of range"},
      {"text without marks",
       {{"d", "string 1 a\n"}},
       "d:1: a string in quotation marks is missing"},
      {"open mark", {{"d", "string 1 \"a\n"}}, "d:1: the string has no closing quotation mark"},
      {"not ASCII", {{"d", "string 1 \"\xE9\"\n"}}, "d:1: a byte is not printable ASCII"},
      {"a string twice",
       {{"d", "list 1 \"a\" \"b\"\nstring 17 \"c\"\n"}},
       "d:2: string 17 is there already"},
      {"a list too long", {{"d", "list 4096 \"a\"\n"}}, "d:1: the list's number is out of range"},
      {"a resource twice",
       {{"d", "zrcs 1 1252\nzrcs 1 1250\n"}},
       "d:2: resource ZRCS 1 is there already"},
      {"a resource number too high",
       {{"d", "chuc 65535 p 7\n"}, {"p/7.txt", page}},
       "d:1: resource CHUC 65536 is out of range"},
      {"version with three numbers", {{"d", "version 1.2.3\n"}}, "d:1: a version has four numbers"},
      {"version with five", {{"d", "version 1.2.3.4.5\n"}}, "d:1: a version has four numbers"},
      {"a byte of three digits",
       {{"d", "bytes TEST 1 00 0FF\n"}},
       "d:1: 0FF does not have 2 digits"},
      {"missing file", {{"d", "chst 128 1 none.txt\n"}}, "none.txt: cannot be read"},
      {"too few maps", {{"d", "chst 128 2 m\n"}, {"m", map}}, "m: holds 1 maps, not 2"},
      {"map without its head",
       {{"d", "chst 128 1 m\n"}, {"m", Rows(0, 15, " %02X")}},
       "m:1: \"map SOURCE DESTINATION\" expected"},
      {"map with a row missing",
       {{"d", "chst 128 1 m\n"}, {"m", Replaced(map, "30:", "40:")}},
       "m:5: row 30: expected, not 40:"},
      {"map cut short",
       {{"d", "chst 128 1 m\n"}, {"m", "map 1 2\n" + Rows(0, 14, " %02X")}},
       "m:1: the map has too few rows"},
      {"map that changes ASCII",
       {{"d", "chst 128 1 m\n"}, {"m", Replaced(map, "41", "42")}},
       "m:6: a byte below 80 does not map to itself"},
      {"page with a bad digit",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", Replaced(page, "9A", "9a")}},
       "p/7.txt:2: bad digit in 009a"},
      {"page with a short value",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", Replaced(page, "009A", "9A")}},
       "p/7.txt:2: 9A does not have 4 digits"},
      {"page with a value missing",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", Replaced(page, " 009A", "")}},
       "p/7.txt:2: the row has 15 values, not 16"},
      {"page with a surrogate",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", Replaced(page, "009A", "D800")}},
       "p/7.txt:2: a surrogate is no character"},
      {"page with a row twice",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", Rows(8, 8, " %04X") + page}},
       "p/7.txt:2: row 90: expected, not 80:"},
      {"page with a row missing",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", Rows(8, 14, " %04X")}},
       "p/7.txt: rows are missing at the end"},
      {"page with a row too many",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", page + Rows(15, 15, " %04X")}},
       "p/7.txt:9: a row too many"},
      {"line breaks with a code too few",
       {{"d", "qvlb l\n"}, {"l", "page 932\nfirst 2\n0024\nsecond 0\n"}},
       "l:2: the list has 1 codes, not 2"},
      {"line breaks out of order",
       {{"d", "qvlb l\n"}, {"l", "page 932\nfirst 2\n0024 0024\nsecond 0\n"}},
       "l:3: 0024 does not ascend"},
      {"line breaks with a lead byte that is none",
       {{"d", "qvlb l\n"}, {"l", "page 932\nfirst 1\n8040\nsecond 0\n"}},
       "l:3: 8040 is no code of a double-byte page"},
      {"line breaks without a second list",
       {{"d", "qvlb l\n"}, {"l", "page 932\nfirst 1\n0024\npage 936\n"}},
       "l:4: \"second NUMBER\" expected"},
      {"line breaks cut short",
       {{"d", "qvlb l\n"}, {"l", "page 932\n"}},
       "l: first is missing at the end"},
      {"line breaks of one page twice",
       {{"d", "qvlb l\n"}, {"l", "page 1\nfirst 0\nsecond 0\npage 1\nfirst 0\nsecond 0\n"}},
       "l: page 1 stands twice"},
      {"empty page",
       {{"d", "chuc 128 p 7\n"}, {"p/7.txt", "# nothing\n"}},
       "p/7.txt: rows are missing at the end"},
      {"wide page without its base",
       {{"d", "wide 1 932 w 20002\n"}, {"w.txt", wide}, {"w-reverse.txt", ""}},
       "d:1: the base has to stand above"},
      {"wide page without reverse entries",
       {{"d", "wide 1 932 none\n"}, {"none.txt", wide}},
       "none-reverse.txt: cannot be read"},
      {"empty wide page",
       {{"d", "wide 1 932 w\n"}, {"w.txt", ""}, {"w-reverse.txt", ""}},
       "w.txt: holds no character"},
      {"wide row of a short code",
       {{"d", "wide 1 932 w\n"}, {"w.txt", Replaced(wide, "8140:", "140:")}, {"w-reverse.txt", ""}},
       "w.txt:1: 140 does not have 4 digits"},
      {"wide row inside another",
       {{"d", "wide 1 932 w\n"},
        {"w.txt", Replaced(wide, "8140:", "8148:")},
        {"w-reverse.txt", ""}},
       "w.txt:1: a row begins at a code ending in 0"},
      {"wide row without a colon",
       {{"d", "wide 1 932 w\n"}, {"w.txt", Replaced(wide, "8140:", "8140")}, {"w-reverse.txt", ""}},
       "w.txt:1: \"CODE:\" expected"},
      {"wide rows that do not ascend",
       {{"d", "wide 1 932 w\n"}, {"w.txt", wide + wide}, {"w-reverse.txt", ""}},
       "w.txt:2: rows do not ascend"},
      {"wide row with a surrogate",
       {{"d", "wide 1 932 w\n"}, {"w.txt", Replaced(wide, "3001", "DFFF")}, {"w-reverse.txt", ""}},
       "w.txt:1: a surrogate is no character"},
      {"reverse entry to nowhere",
       {{"d", "wide 1 932 w\n"}, {"w.txt", wide}, {"w-reverse.txt", "2014 8150\n"}},
       "w-reverse.txt:1: 8150 is no code of the page"},
      {"reverse entry twice",
       {{"d", "wide 1 932 w\n"}, {"w.txt", wide}, {"w-reverse.txt", "2014 8141\n2014 8142\n"}},
       "w-reverse.txt:2: characters do not ascend"},
      {"reverse entry of one field",
       {{"d", "wide 1 932 w\n"}, {"w.txt", wide}, {"w-reverse.txt", "2014\n"}},
       "w-reverse.txt:1: \"CHARACTER CODE\" expected"},
      {"decomposition of another kind",
       {{"d", "decompositions 1 u\n"}, {"u", "X 00C0 0041\n"}},
       "u:1: C or K expected"},
      {"decomposition into nothing",
       {{"d", "decompositions 1 u\n"}, {"u", "C 00C0\n"}},
       "u:1: a part is missing"},
      {"decomposition twice",
       {{"d", "decompositions 1 u\n"}, {"u", "C 00C0 0041\nK 00C0 0041\nC 00C0 0042\n"}},
       "u:3: characters do not ascend"},
      {"decomposition of a short number",
       {{"d", "decompositions 1 u\n"}, {"u", "C 0C0 0041\n"}},
       "u:1: 0C0 does not have 4 digits"},
      {"a zone rule that does not parse",
       {{"d", "timezones 98 v l r\n"},
        {"v", "1\n"},
        {"l", "A=1\n"},
        {"r", "Zone A 1 - x\nRule R 1 only - Jan 32x 1:00 0 -\n"}},
       "r:2: Parse failed, bad grammar.  Expected symbol type 3, encountered symbol type 5."},
      {"a zone that does not parse",
       {{"d", "timezones 98 v l r\n"},
        {"v", "1\n"},
        {"l", ""},
        {"r", "Zone A 1 - x 2000 Jan 1 5\n"}},
       "r: Parse failed, bad grammar.  Expected symbol type 4, encountered symbol type 13."},
      {"a zone without rules",
       {{"d", "timezones 98 v l r\n"}, {"v", "1\n"}, {"l", "A=1\nB=2\n"}, {"r", "Zone A 1 - x\n"}},
       "l:2: B is no zone of the rules"},
      {"a version of two numbers",
       {{"d", "timezones 98 v l r\n"}, {"v", "1 2\n"}, {"l", ""}, {"r", ""}},
       "v: one number expected"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Write(row.files);
    EXPECT_EQ(Run("pack", {"d"}), 1);
    EXPECT_EQ(errors_, row.error + "\n");
    EXPECT_FALSE(std::filesystem::exists(Path("out")));
  }
}

TEST_F(ResourceTool, PacksStringsAsThePlatformDoes) {
  Write({{"a", "string 2578 \"C:\\Temp\\\"\nlist 999 \"Ctrl+\" \"# is text\"\n"},
         {"b", "string 2579 \"say \"\"x\"\"\"  # merges into the same block\n"}});
  ASSERT_EQ(Run("pack", {"a", "b"}), 0) << errors_;
  const std::string pack = Read("out.pack");
  const auto wide = [](const std::string& text) {
    std::string bytes{static_cast<char>(text.size()), '\0'};
    for (char c : text) bytes += {c, '\0'};
    return bytes;
  };
  // 2578 is the third string of the block of 2576 to 2591.
  EXPECT_EQ(FindInPack(pack, "6", 2578 / 16 + 1),
            std::string(4, '\0') + wide("C:\\Temp\\") + wide("say \"x\"") + std::string(24, '\0'));
  EXPECT_EQ(FindInPack(pack, "6", 1000), wide("Ctrl+") + wide("# is text") + std::string(28, '\0'));
  EXPECT_EQ(FindInPack(pack, "6", 1), "none");
}

TEST_F(ResourceTool, EncodesTablesBigEndian) {
  std::string page = Rows(8, 15, " %04X");
  page = Replaced(page, "00FF", "0041");  // ASCII again: the way back is ASCII's
  page = Replaced(page, "00FE", "00FD");  // the same character as the byte before it
  page = Replaced(page, "00F0", "0000");  // no character
  page = Replaced(page, "0080", "20AC");
  const std::string full =
      Replaced(Rows(0, 15, " %04X", 256), " D800 D900 DA00 DB00 DC00 DD00 DE00 DF00",
               " 0041 0041 0000 0000 0000 0000 0000 0000");
  Write(
      {{"d", "zrcs 1 1252\nbytes Test 3 00 FF\nnamed Test Own 41\nchst 128 1 m\nchuc 200 p 7 8\n"},
       {"m", Replaced("map 10000 20005\n" + Rows(0, 15, " %02X"), "80 81", "41 1A")},
       {"p/7.txt", page},
       {"p/8.txt", full}});
  ASSERT_EQ(Run("pack", {"d"}), 0) << errors_;
  const std::string pack = Read("out.pack");
  EXPECT_EQ(FindInPack(pack, "ZRCS", 1), "\x04\xE4");
  EXPECT_EQ(FindInPack(pack, "TEST", 3), "\0\xFF"s);
  EXPECT_EQ(FindInPack(pack, "TEST", 0xFFFFFFFF), "A");
  EXPECT_NE(pack.find("\0OWN\0"s), std::string::npos);
  const std::string map = FindInPack(pack, "CHST", 128);
  ASSERT_EQ(map.size(), 260u);
  EXPECT_EQ(map.substr(0, 4), "\x27\x10\x4E\x25");
  EXPECT_EQ(map.substr(4 + 0x7F, 4), "\x7F\x41\x1A\x82");

  const std::string to = FindInPack(pack, "CHUC", 200), from = FindInPack(pack, "CHUC", 201);
  ASSERT_EQ(to.size(), 260u);
  EXPECT_EQ(to.substr(0, 8), "\0\0\0\x07\x20\xAC\0\x81"s);
  EXPECT_EQ(to.substr(256), "\0\xFD\0\x41"s);
  ASSERT_EQ(from.size() % 18, 4u);
  EXPECT_EQ(from.substr(0, 8), "\x80\0\0\x07\0\x08\0\x81"s);    // row 8: 80 is no character
  EXPECT_EQ(from.substr(4 + 7 * 18, 4), "\0\x0F\0\xF1"s);       // row F: neither is F0
  EXPECT_EQ(from.substr(4 + 7 * 18 + 2 + 13, 3), "\xFD\0\0"s);  // FD: the lowest byte; FE: none
  EXPECT_EQ(from.substr(4 + 8 * 18), "\x02\x0A"s + std::string(12, '\0') + "\x80\0\0\0"s);

  EXPECT_EQ(FindInPack(pack, "CHUC", 202).substr(0, 8), "\0\x02\0\x08\0\0\x01\0"s);
  EXPECT_EQ(FindInPack(pack, "CHUC", 203).substr(0, 8), "\x80\x02\0\x08\0\x04\0\xD8"s);
}

// A base of three codes; a page that has two of them at their places in Shift-JIS, one elsewhere,
// and a single byte.
TEST_F(ResourceTool, EncodesDoubleBytePages) {
  const auto row = [](const std::string& code, const std::string& values) {
    std::string text = code + ": " + values;
    for (size_t i = values.size(); i < 16 * 5 - 1; i += 5) text += " 0000";
    return text + "\n";
  };
  Write({{"d", "wide 10 20002 jis\nwide 12 932 sjis 20002\n"},
         {"jis.txt", row("2120", "0000 3000 3001") + row("2420", "0000 3042")},
         {"jis-reverse.txt", "FF5E 2122\n"},
         {"sjis.txt", row("00B0", "FF70") + row("8140", "3000 3001") + row("8340", "3042 3042")},
         {"sjis-reverse.txt", "FF5E 8141\n"}});
  ASSERT_EQ(Run("pack", {"d"}), 0) << errors_;
  const std::string pack = Read("out.pack");
  const auto block = [&pack](uint32_t number, size_t at, size_t size) {
    return FindInPack(pack, "CHUC", number).substr(at, size);
  };
  EXPECT_EQ(FindInPack(pack, "CHUC", 10).size(), 4 + 2 * 516u);
  EXPECT_EQ(block(10, 0, 8), "\0\x06\x4E\x22\0\0\0\x42"s);
  EXPECT_EQ(block(10, 8 + 0x21 * 4, 8), "\0\0\x30\0\0\0\x30\x01"s);
  EXPECT_EQ(block(11, 0, 8), "\x80\x06\x4E\x22\0\0\0\x60"s);
  EXPECT_EQ(block(11, 8, 8), "\0\0\x21\x21\0\0\x21\x22"s);
  EXPECT_EQ(block(11, 8 + 0x42 * 4, 4), "\0\0\x24\x21"s);
  EXPECT_EQ(block(11, 4 + 516, 4), "\0\0\x01\xFE"s);  // the reverse entry

  // 8140 and 8141 are as in the base: no row. 829F is the base's 2421, which the page lacks.
  const size_t head = 6 + 512;
  EXPECT_EQ(FindInPack(pack, "CHUC", 12).size(), head + 2 * 258u);
  EXPECT_EQ(block(12, 0, 6), "\0\x0A\x03\xA4\x4E\x22"s);
  EXPECT_EQ(block(12, 6 + 0xB0 * 2, 2), "\xFF\x70");
  EXPECT_EQ(block(12, head, 258), "\x01\x05"s + std::string(256, '\0'));
  EXPECT_EQ(block(12, head + 258, 2), "\x01\x06"s);
  EXPECT_EQ(block(12, head + 260 + 0x40 * 2, 4), "\x30\x42\x30\x42");
  // Back, U+3042 differs from the base and carries its whole row; U+FF5E does not.
  EXPECT_EQ(FindInPack(pack, "CHUC", 13).size(), head + 2 * 258u);
  EXPECT_EQ(block(13, 0, 6), "\x80\x0A\x03\xA4\x4E\x22"s);
  EXPECT_EQ(block(13, head, 6), "\0\x60\x81\x40\x81\x41"s);
  EXPECT_EQ(block(13, head + 2 + 0x42 * 2, 2), "\x83\x40");
  EXPECT_EQ(block(13, head + 258, 2), "\x01\xFE"s);
  EXPECT_EQ(block(13, head + 260 + 0x70 * 2, 2), "\0\xB0"s);
}

TEST_F(ResourceTool, EncodesDecompositions) {
  Write({{"d", "decompositions 20 u\n"},
         {"u", "K 00A0 0020\nC 00C0 0041 0300\nC 1D15E 1D157 1D165\n"}});
  ASSERT_EQ(Run("pack", {"d"}), 0) << errors_;
  const std::string pack = Read("out.pack");
  EXPECT_EQ(FindInPack(pack, "CHUC", 20),
            "\xF0\0\x08\0\0\0\0\xC0\0\0\0\x02\0\x01\xD1\x5E\0\x02\0\x02"s);
  EXPECT_EQ(FindInPack(pack, "CHUC", 21),
            "\xF0\x01\x08\0\0\0\0\x41\0\0\x03\0\0\x01\xD1\x57\0\x01\xD1\x65"s);
  EXPECT_EQ(FindInPack(pack, "CHUC", 22), "\xF0\x02\x08\0\0\0\0\xA0\0\0\0\x01"s);
  EXPECT_EQ(FindInPack(pack, "CHUC", 23), "\xF0\x03\x08\0\0\0\0\x20"s);
}

TEST_F(ResourceTool, EncodesTimeZones) {
  Write({{"d", "timezones 98 v l r\njoined 16 l\n"},
         {"v", "# release\n202606\n"},
         {"l", "A,=1\n  C=2 # c\n"},
         {"r", "# rules\nZone A,   1 - x\nZone C 1 - x 2000\n\t2 - y\n"}});
  ASSERT_EQ(Run("pack", {"d"}), 0) << errors_;
  const std::string pack = Read("out.pack");
  EXPECT_EQ(FindInPack(pack, "ZRTZ", 98), "\xBA\xAD\xF0\x0D\0\0\0\x01\0\x03\x17\x6E"s);
  EXPECT_EQ(FindInPack(pack, "ZRTZ", 99), "A,=1;C=2");
  EXPECT_EQ(FindInPack(pack, "ZRTZ", 100), "Zone A, 1 - x\nZone C 1 - x 2000\n2 - y\n");
  EXPECT_EQ(FindInPack(pack, "6", 2).substr(0, 8), "\x08\0A\0,\0=\0"s);
}

TEST_F(ResourceTool, NamesItsFilesForTheBuild) {
  Write(
      {{"d", "chuc 1 p 7\nstring 5 \"x\"\nversion 1.0.0.0\n"}, {"p/7.txt", Rows(8, 15, " %04X")}});
  ASSERT_EQ(Run("rc", {"d"}), 0) << errors_;
  EXPECT_EQ(Read("out"), "1 CHUC \"" + Path("out.CHUC.1") + "\"\n2 CHUC \"" + Path("out.CHUC.2") +
                             "\"\n1 6 \"" + Path("out.6.1") + "\"\n1 16 \"" + Path("out.16.1") +
                             "\"\n");
  EXPECT_EQ(Read("out.CHUC.1").size(), 260u);
  EXPECT_EQ(Read("out.d"),
            Path("out") + ": \\\n  " + Path("d") + " \\\n  " + Path("p/7.txt") + "\n");
}

TEST_F(ResourceTool, ExplainsItself) {
  std::ostringstream out, errors;
  EXPECT_EQ(RunTool({"--help"}, out, errors), 0);
  EXPECT_NE(out.str().find("--form"), std::string::npos);
  for (const std::vector<std::string>& arguments : {std::vector<std::string>{},
                                                    {"--form", "pack", "d"},
                                                    {"--form", "zip", "--output", "o", "d"},
                                                    {"--form", "rc", "--output", "o"},
                                                    {"--what"},
                                                    {"d", "--output"}}) {
    EXPECT_EQ(RunTool(arguments, out, errors), 2);
  }
  EXPECT_NE(errors.str().find("usage"), std::string::npos);
}

// Offsets of the platform's published structure.
TEST(VersionRecord, HasTheFixedPartAndTheTexts) {
  const ByteVector bytes = EncodeVersionRecord({{1, 2, 3, 4}, {{"ProductName", "QVSMAPI"}}});
  const auto word = [&bytes](size_t at, int width) {
    uint32_t value = 0;
    for (int i = width - 1; i >= 0; --i) value = value << 8 | bytes.at(at + static_cast<size_t>(i));
    return value;
  };
  EXPECT_EQ(word(0, 2), bytes.size());
  EXPECT_EQ(word(2, 2), 52u);
  EXPECT_EQ(word(40, 4), 0xFEEF04BDu);
  EXPECT_EQ(word(48, 4), 0x00010002u);
  EXPECT_EQ(word(52, 4), 0x00030004u);
  EXPECT_EQ(word(56, 4), 0x00010002u);
  // The string block begins behind the fixed part; its table and string are nested in it.
  EXPECT_EQ(word(94, 2), 0u);
  EXPECT_EQ(word(96, 2), 1u);
  const size_t table = 92 + 36, text = table + 24;
  EXPECT_EQ(word(92, 2), 36u + word(table, 2));
  EXPECT_EQ(word(table, 2), 24u + word(text, 2));
  EXPECT_EQ(word(text, 2), 6u + 24 + 2 + 16);
  EXPECT_EQ(word(text + 2, 2), 8u);  // characters, with the terminator
  EXPECT_EQ(bytes.at(text + 32), 'Q');
}

}  // namespace
}  // namespace qvresource

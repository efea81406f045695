// Every single-byte code page that iconv knows, byte by byte, against it.
#include <gtest/gtest.h>
#include <iconv.h>

#include <map>
#include <set>

#include "tests/text/module_tables.h"

namespace qv {
namespace {

struct Page {
  CodePage cp;
  const char* iconv_name;
  // Bytes where the table differs on purpose, and why.
  std::set<int> differences;
  const char* reason;
};
const Page kPages[] = {
    {37, "IBM037", {}, ""},
    {424, "IBM424", {0x78, 0x8F}, "double low line and plus-minus, as in the other sources"},
    {437, "CP437", {}, ""},
    {500, "IBM500", {}, ""},
    {737, "CP737", {}, ""},
    {775, "CP775", {}, ""},
    {850, "CP850", {}, ""},
    {852, "CP852", {}, ""},
    {855, "CP855", {}, ""},
    {856, "CP856", {0x1A, 0x1C, 0x7F, 0xEE, 0xFA}, "controls are ASCII's; macron and middle dot"},
    {857, "CP857", {}, ""},
    {860, "CP860", {}, ""},
    {861, "CP861", {}, ""},
    {862, "CP862", {}, ""},
    {863, "CP863", {}, ""},
    {864, "CP864", {}, ""},
    {865, "CP865", {}, ""},
    {866, "CP866", {}, ""},
    {869, "CP869", {}, ""},
    {874, "CP874", {}, ""},
    {875, "CP875", {0x6A, 0x74, 0xDD}, "bar, no-break space, ano teleia as in the other sources"},
    {878, "KOI8-R", {}, ""},
    {1250, "CP1250", {}, ""},
    {1251, "CP1251", {}, ""},
    {1252, "CP1252", {}, ""},
    {1253, "CP1253", {}, ""},
    {1254, "CP1254", {}, ""},
    {1255, "CP1255", {0xCA}, "a vowel point that Windows has"},
    {1256, "CP1256", {}, ""},
    {1257, "CP1257", {}, ""},
    {10000, "MACINTOSH", {0xC6, 0xF0}, "increment and the apple, as their maker has them"},
    {10007, "MAC-CYRILLIC", {0xFF}, "the euro of later editions"},
    {10029, "MAC-CENTRALEUROPE", {}, ""},
    {10079,
     "MAC-IS",
     {0xA0, 0xC6, 0xD0, 0xD1, 0xD7, 0xDB, 0xDC, 0xDD, 0xE0, 0xF0, 0xF6, 0xF7},
     "another Icelandic set there"},
    {28592, "ISO-8859-2", {}, ""},
    {28593, "ISO-8859-3", {}, ""},
    {28594, "ISO-8859-4", {}, ""},
    {28595, "ISO-8859-5", {}, ""},
    {28596, "ISO-8859-6", {}, ""},
    {28597, "ISO-8859-7", {}, ""},
    {28598, "ISO-8859-8", {}, ""},
    {28599, "ISO-8859-9", {}, ""},
    {28600, "ISO-8859-10", {}, ""},
    {28601, "ISO-8859-11", {}, ""},
    {28603, "ISO-8859-13", {}, ""},
    {28604, "ISO-8859-14", {}, ""},
    {28605, "ISO-8859-15", {}, ""},
    {28606, "ISO-8859-16", {}, ""},
};

// UTF-16 of one byte in iconv's opinion; a NUL where it has no character.
std::string ByIconv(const char* name, char byte) {
  const iconv_t converter = iconv_open("UTF-16BE", name);
  EXPECT_NE(converter, reinterpret_cast<iconv_t>(-1)) << name;
  char out[8], *in_at = &byte, *out_at = out;
  size_t in_left = 1, out_left = sizeof out;
  const size_t result = iconv(converter, &in_at, &in_left, &out_at, &out_left);
  iconv(converter, nullptr, nullptr, &out_at, &out_left);  // the page may compose: flush
  iconv_close(converter);
  if (result == static_cast<size_t>(-1)) return std::string(2, '\0');
  return {out, sizeof out - out_left};
}

class Iconv : public test::ModuleTables {};

TEST_F(Iconv, AgreesOnEveryByteButTheListed) {
  for (const Page& page : kPages) {
    std::set<int> differences;
    std::map<std::string, std::string> bytes_of;  // the lowest byte of a character
    for (int i = 0; i < 256; ++i) {
      const std::string byte(1, static_cast<char>(i));
      const std::string mine = test::ConvertWithEngine(byte, page.cp, kUtf16Big, kKeep).text;
      if (mine != ByIconv(page.iconv_name, byte[0])) differences.insert(i);
      if (mine == std::string(2, '\0') && i != 0) continue;
      bytes_of.emplace(mine, byte);
      EXPECT_EQ(test::ConvertWithEngine(mine, kUtf16Big, page.cp, kKeep).text, bytes_of[mine])
          << page.cp << " byte " << i;
    }
    EXPECT_EQ(differences, page.differences) << page.cp << ": " << page.reason;
  }
}

// Whole random texts between the Unicode forms and through the code pages.
TEST_F(Iconv, AgreesOnTexts) {
  const struct {
    CodePage from, to;
    const char *from_name, *to_name;
  } kPairs[] = {
      {kUtf8, kUtf16Little, "UTF-8", "UTF-16LE"}, {kUtf8, kUtf16Big, "UTF-8", "UTF-16BE"},
      {kUtf8, kUtf32Little, "UTF-8", "UTF-32LE"}, {kUtf16Little, kUtf8, "UTF-16LE", "UTF-8"},
      {kUtf32Big, kUtf8, "UTF-32BE", "UTF-8"},    {kUtf16Big, kUtf32Big, "UTF-16BE", "UTF-32BE"},
      {kUtf8, kUtf8, "UTF-8", "UTF-8"},           {kUtf16Little, kUtf16Big, "UTF-16LE", "UTF-16BE"},
  };
  uint32_t seed = 12345;
  const auto next = [&seed](uint32_t limit) {
    seed = seed * 1664525 + 1013904223;
    return (seed >> 8) % limit;
  };
  for (int round = 0; round < 200; ++round) {
    std::string codes;  // UTF-32 little-endian
    const uint32_t length = next(120), wideness = next(5);
    for (uint32_t i = 0; i < length; ++i) {
      constexpr uint32_t kLimits[] = {0x80, 0x800, 0xD800, 0x110000};
      uint32_t code = next(next(12) ? 0x80 : kLimits[next(1 + std::min(wideness, 3u))]);
      if (code >= 0xD800 && code < 0xE000) code -= 0x800;
      for (int shift = 0; shift < 32; shift += 8) codes += static_cast<char>(code >> shift);
    }
    for (const auto& pair : kPairs) {
      const auto by_iconv = [](const char* to, const char* from, std::string in) {
        const iconv_t converter = iconv_open(to, from);
        std::string out(in.size() * 4 + 4, '\0');
        char *in_at = in.data(), *out_at = out.data();
        size_t in_left = in.size(), out_left = out.size();
        EXPECT_EQ(iconv(converter, &in_at, &in_left, &out_at, &out_left), 0u);
        iconv_close(converter);
        return out.substr(0, out.size() - out_left);
      };
      const std::string input = by_iconv(pair.from_name, "UTF-32LE", codes);
      ASSERT_EQ(test::ConvertWithEngine(input, pair.from, pair.to, kKeep).text,
                by_iconv(pair.to_name, pair.from_name, input))
          << pair.from_name << " to " << pair.to_name;
    }
  }
}

}  // namespace
}  // namespace qv

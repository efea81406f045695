// Every code of every code page through Unicode, against glibc's iconv and ICU. The differences are
// listed here with their reasons and, for users, in docs/character-sets.md.
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <span>

#include "tests/text/module_tables.h"
#include "tests/text/peers.h"

namespace qv {
namespace {

using test::kPeerUnicode;
using test::PeerText;

struct Page {
  CodePage cp;
  const char* name;
};
struct Peer {
  const char* name;
  std::function<PeerText(const char* from, const char* to, const std::string& text)> convert;
  std::vector<Page> pages;
};
const Peer kIconv = {"iconv",
                     test::ByIconv,
                     {{932, "CP932"},         {20001, "EUC-JP"},      {20001, "EUC-JP-MS"},
                      {20002, "ISO-2022-JP"}, {37, "IBM037"},         {424, "IBM424"},
                      {437, "CP437"},         {500, "IBM500"},        {737, "CP737"},
                      {775, "CP775"},         {850, "CP850"},         {852, "CP852"},
                      {855, "CP855"},         {856, "CP856"},         {857, "CP857"},
                      {860, "CP860"},         {861, "CP861"},         {862, "CP862"},
                      {863, "CP863"},         {864, "CP864"},         {865, "CP865"},
                      {866, "CP866"},         {869, "CP869"},         {874, "CP874"},
                      {875, "CP875"},         {878, "KOI8-R"},        {1250, "CP1250"},
                      {1251, "CP1251"},       {1252, "CP1252"},       {1253, "CP1253"},
                      {1254, "CP1254"},       {1255, "CP1255"},       {1256, "CP1256"},
                      {1257, "CP1257"},       {10000, "MACINTOSH"},   {10007, "MAC-CYRILLIC"},
                      {10029, "CP1282"},      {10079, "MAC-IS"},      {28592, "ISO-8859-2"},
                      {28593, "ISO-8859-3"},  {28594, "ISO-8859-4"},  {28595, "ISO-8859-5"},
                      {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},  {28598, "ISO-8859-8"},
                      {28599, "ISO-8859-9"},  {28600, "ISO-8859-10"}, {28601, "ISO-8859-11"},
                      {28603, "ISO-8859-13"}, {28604, "ISO-8859-14"}, {28605, "ISO-8859-15"},
                      {28606, "ISO-8859-16"}}};
const Peer kIcu = {"ICU",
                   test::ByIcu,
                   {{932, "windows-31j"},     {20001, "EUC-JP"},         {20002, "ISO-2022-JP"},
                    {37, "ibm-37"},           {424, "ibm-424"},          {437, "ibm-437"},
                    {500, "ibm-500"},         {737, "ibm-737"},          {775, "ibm-775"},
                    {850, "ibm-850"},         {852, "ibm-852"},          {855, "ibm-855"},
                    {856, "ibm-856"},         {857, "ibm-857"},          {860, "ibm-860"},
                    {861, "ibm-861"},         {862, "ibm-862"},          {863, "ibm-863"},
                    {864, "ibm-864"},         {865, "ibm-865"},          {866, "ibm-866"},
                    {869, "ibm-869"},         {874, "windows-874"},      {875, "ibm-875"},
                    {878, "KOI8-R"},          {1006, "ibm-1006"},        {1250, "windows-1250"},
                    {1251, "windows-1251"},   {1252, "windows-1252"},    {1253, "windows-1253"},
                    {1254, "windows-1254"},   {1255, "windows-1255"},    {1256, "windows-1256"},
                    {1257, "windows-1257"},   {1258, "windows-1258"},    {10000, "macintosh"},
                    {10006, "x-mac-greek"},   {10007, "x-mac-cyrillic"}, {10029, "x-mac-ce"},
                    {10081, "x-mac-turkish"}, {28592, "ISO-8859-2"},     {28593, "ISO-8859-3"},
                    {28594, "ISO-8859-4"},    {28595, "ISO-8859-5"},     {28596, "ISO-8859-6"},
                    {28597, "ISO-8859-7"},    {28598, "ISO-8859-8"},     {28599, "ISO-8859-9"},
                    {28600, "ISO-8859-10"},   {28601, "ISO-8859-11"},    {28603, "ISO-8859-13"},
                    {28604, "ISO-8859-14"},   {28605, "ISO-8859-15"}}};

// What both make of one code (of the page, or of Unicode on the way back); 0 for no character.
struct Opinion {
  const Peer& peer;
  const Page& page;
  uint32_t code, mine, theirs;
};

bool IsIcu(const Opinion& o) { return &o.peer == &kIcu; }
bool Within(uint32_t value, uint32_t first, uint32_t last) {
  return value >= first && value <= last;
}
bool IsPrivate(uint32_t code) { return Within(code, 0xE000, 0xF8FF); }
bool IsJapaneseMail(const Page& page) { return page.cp == 20001 || page.cp == 20002; }
uint32_t JisRow(uint32_t code) { return code >> 8 & 0x7F; }
bool IsExtensionRow(uint32_t code) {
  return JisRow(code) == 0x2D || Within(JisRow(code), 0x79, 0x7C);
}
bool Among(uint32_t value, std::initializer_list<uint32_t> values) {
  return std::find(values.begin(), values.end(), value) != values.end();
}
bool IsTwin(uint32_t code) {
  return Among(code, {0x301C, 0xFF5E, 0x2016, 0x2225, 0x2212, 0xFF0D, 0x00A2, 0xFFE0, 0x00A3,
                      0xFFE1, 0x00AC, 0xFFE2, 0x2014, 0x2015});
}

// A kind of difference, which has to occur at least so often.
struct Difference {
  const char* reason;
  std::function<bool(const Opinion&)> holds;
  size_t least = 1;
};

// Of a few codes of one page, all of them.
Difference OfPage(const char* reason, const Peer& peer, CodePage cp, std::set<uint32_t> codes) {
  const auto holds = [&peer, cp, codes](const Opinion& o) {
    return &o.peer == &peer && o.page.cp == cp && codes.contains(o.code);
  };
  return {reason, holds, codes.size()};
}

const Difference kToUnicode[] = {
    {"a byte without a character is itself there",
     [](const Opinion& o) {
       return (IsIcu(o) || IsJapaneseMail(o.page)) && o.mine == 0 && o.theirs == o.code &&
              o.code < 0x100;
     }},
    {"three controls change places there",
     [](const Opinion& o) {
       return (IsIcu(o) || o.page.cp == 856) && Among(o.code & 0xFF, {0x1A, 0x1C, 0x7F});
     }},
    {"user-defined characters", [](const Opinion& o) { return IsPrivate(o.theirs); }},
    {"the extensions of real mail are left out there",
     [](const Opinion& o) {
       return IsJapaneseMail(o.page) && IsExtensionRow(o.code) && o.theirs == 0;
     }},
    {"twins of the full-width signs",
     [](const Opinion& o) { return IsTwin(o.mine) && IsTwin(o.theirs); }},
    {"bytes behind 8E that are no katakana",
     [](const Opinion& o) { return o.page.cp == 20001 && Within(o.code, 0x8EE0, 0x8EE2); }},
    {"micro sign or Greek letter",
     [](const Opinion& o) { return IsIcu(o) && o.mine == 0xB5 && o.theirs == 0x3BC; }},
    {"macron and middle dot or overline and bullet",
     [](const Opinion& o) {
       return (o.mine == 0xAF && o.theirs == 0x203E) || (o.mine == 0xB7 && o.theirs == 0x2022);
     }},
    OfPage("852: not sign", kIcu, 852, {0xAA}),
    OfPage("1255: a vowel point that Windows has", kIconv, 1255, {0xCA}),
    OfPage("1255: the same in ICU", kIcu, 1255, {0xCA}),
    OfPage("869: middle dot and accent, or Greek ones", kIcu, 869, {0x88, 0xEF}),
    OfPage("864: percent sign and shapes of letters", kIcu, 864, {0x25, 0x9F, 0xD7, 0xD8, 0xF1}),
    OfPage("424: double low line and plus-minus", kIconv, 424, {0x78, 0x8F}),
    OfPage("875: bar, no-break space, ano teleia", kIconv, 875, {0x6A, 0x74, 0xDD}),
    OfPage("10000: increment", kIconv, 10000, {0xC6}),
    OfPage("10007: the euro of later editions", kIconv, 10007, {0xFF}),
    OfPage("10079: another Icelandic set there", kIconv, 10079,
           {0xA0, 0xC6, 0xD0, 0xD1, 0xD7, 0xDB, 0xDC, 0xDD, 0xE0, 0xF6, 0xF7}),
    {"1006: shapes of Urdu letters",
     [](const Opinion& o) { return IsIcu(o) && o.page.cp == 1006 && o.code >= 0xB2; }},
};

const Difference kFromUnicode[] = {
    {"JIS X 0212", [](const Opinion& o) { return o.theirs >> 16 == 0x8F; }},
    {"a control is itself there",
     [](const Opinion& o) { return o.mine == 0 && o.theirs == o.code && o.code < 0xA0; }},
    {"the extensions of real mail are left out there",
     [](const Opinion& o) {
       return IsJapaneseMail(o.page) && o.mine != 0 && IsExtensionRow(o.mine) && o.theirs == 0;
     }},
    {"twins are let in here", [](const Opinion& o) { return IsTwin(o.code) && o.theirs == 0; }},
    {"of two codes the lower one here, Windows' one there",
     [](const Opinion& o) {
       return o.page.cp == 932 && Within(o.mine >> 8, 0xED, 0xEE) &&
              Within(o.theirs >> 8, 0xFA, 0xFC);
     }},
    {"half-width katakana have no place in strict ISO-2022-JP",
     [](const Opinion& o) { return o.page.cp == 20002 && Within(o.code, 0xFF61, 0xFF9F); }},
    {"user-defined characters", [](const Opinion& o) { return IsPrivate(o.code) && o.mine == 0; }},
    {"yen sign and overline as ASCII or as JIS X 0201 there",
     [](const Opinion& o) { return (o.code == 0xA5 || o.code == 0x203E) && o.mine == 0; }},
};

// The text of a code: its bytes, in ISO-2022 with the sequences around it. Empty where it is none.
std::string TextOf(CodePage cp, uint32_t code) {
  const char high = static_cast<char>(code >> 8), low = static_cast<char>(code);
  if (cp == 20002) {
    if (code < 0x80) return {low};
    if (!Within(code >> 8, 0x21, 0x7E) || !Within(code & 0xFF, 0x21, 0x7E)) return "";
    return std::string("\x1B$B") + high + low + "\x1B(B";
  }
  if (code < 0x100) return {low};
  const bool wide = EastAsianFormOf(cp) != EastAsianForm::kNone;
  return wide && code >= 0x8000 && (code & 0xFF) >= (cp == 20001 ? 0xA1 : 0x40)
             ? std::string{high, low}
             : "";
}

std::string Unit(uint32_t code) { return {static_cast<char>(code >> 8), static_cast<char>(code)}; }

// The number in the bytes of a character; sequences of ISO-2022 are left out.
uint32_t NumberOf(std::string text) {
  if (text.size() > 6 && text[0] == '\x1B') text = text.substr(3, text.size() - 6);
  uint32_t number = 0;
  for (unsigned char byte : text) number = number << 8 | byte;
  return number;
}

// Ours; 0 where something of it has no character.
uint32_t Ours(const std::string& in, CodePage from, CodePage to) {
  const test::Converted converted = test::ConvertWithEngine(in, from, to, kKeep, 64);
  if (converted.consumed < in.size()) return 0;
  const uint32_t number = NumberOf(converted.text);
  const bool two = number > 0xFFFF && to == kUtf16Big;
  const bool lost = (number & 0xFFFF) == kReplacement || (two && number >> 16 == kReplacement);
  return lost ? 0 : number;
}

class UnicodePeers : public test::ModuleTables {
 protected:
  void Judge(const Opinion& opinion, std::span<const Difference> differences) {
    if (opinion.mine == opinion.theirs) return;
    for (const Difference& difference : differences) {
      if (!difference.holds(opinion)) continue;
      ++met_[difference.reason];
      return;
    }
    ADD_FAILURE() << opinion.page.cp << " and " << opinion.peer.name << "'s " << opinion.page.name
                  << std::hex << std::uppercase << ": " << opinion.code << " is " << opinion.mine
                  << ", not " << opinion.theirs;
  }
  void ExpectAllMet(std::span<const Difference> differences) {
    for (const Difference& difference : differences) {
      EXPECT_GE(met_[difference.reason], difference.least) << difference.reason;
    }
  }

 private:
  std::map<std::string, size_t> met_;
};

TEST_F(UnicodePeers, AgreeOnEveryCode) {
  for (const Peer* peer : {&kIconv, &kIcu}) {
    for (const Page& page : peer->pages) {
      for (uint32_t code = 0; code < 0x10000; ++code) {
        const std::string text = TextOf(page.cp, code);
        if (text.empty()) continue;
        const std::string theirs = peer->convert(page.name, kPeerUnicode, text).value_or("");
        const uint32_t sub = theirs == Unit(kReplacement) ? 0 : NumberOf(theirs);
        Judge({*peer, page, code, Ours(text, page.cp, kUtf16Big), sub}, kToUnicode);
      }
    }
  }
  ExpectAllMet(kToUnicode);
}

// The single-byte pages are the inverse of their tables, which the round trips prove.
TEST_F(UnicodePeers, AgreeOnEveryCharacterOfTheJapanesePages) {
  for (const Peer* peer : {&kIconv, &kIcu}) {
    for (const Page& page : peer->pages) {
      if (EastAsianFormOf(page.cp) == EastAsianForm::kNone) continue;
      for (uint32_t code = 0x80; code < 0x10000; ++code) {
        if (Within(code, 0xD800, 0xDFFF)) continue;
        const PeerText theirs = peer->convert(kPeerUnicode, page.name, Unit(code));
        const uint32_t ours = Ours(Unit(code), kUtf16Big, page.cp);
        Judge({*peer, page, code, ours, NumberOf(theirs.value_or(""))}, kFromUnicode);
      }
    }
  }
  ExpectAllMet(kFromUnicode);
}

// UTF-7 of both peers is read, and read by both; they disagree on what to encode.
TEST_F(UnicodePeers, ReadEachOthersUtf7) {
  for (const Peer* peer : {&kIconv, &kIcu}) {
    for (uint32_t code = 1; code < 0x10000; ++code) {
      if (Within(code, 0xD800, 0xDFFF)) continue;
      const std::string units = Unit(code) + Unit(code * 7 % 0xD800) + Unit('a');
      const std::string mine = test::ConvertWithEngine(units, kUtf16Big, kUtf7, kKeep, 64).text;
      ASSERT_EQ(peer->convert("UTF-7", kPeerUnicode, mine), units) << peer->name << " " << mine;
      const std::string theirs = peer->convert(kPeerUnicode, "UTF-7", units).value_or("");
      ASSERT_EQ(test::ConvertWithEngine(theirs, kUtf7, kUtf16Big, kKeep, 64).text, units)
          << peer->name << " " << theirs;
    }
  }
}

// Whole random texts between the Unicode forms.
TEST_F(UnicodePeers, AgreeOnTexts) {
  const struct {
    CodePage from, to;
    const char *from_name, *to_name;
  } kPairs[] = {
      {kUtf8, kUtf16Little, "UTF-8", "UTF-16LE"}, {kUtf8, kUtf16Big, "UTF-8", "UTF-16BE"},
      {kUtf8, kUtf32Little, "UTF-8", "UTF-32LE"}, {kUtf16Little, kUtf8, "UTF-16LE", "UTF-8"},
      {kUtf32Big, kUtf8, "UTF-32BE", "UTF-8"},    {kUtf16Big, kUtf32Big, "UTF-16BE", "UTF-32BE"},
      {kUtf8, kUtf8, "UTF-8", "UTF-8"},           {kUtf16Little, kUtf16Big, "UTF-16LE", "UTF-16BE"},
  };
  std::mt19937 random(12345);
  const auto next = [&random](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  for (int round = 0; round < 200; ++round) {
    std::string codes;  // UTF-32 little-endian
    for (uint32_t i = next(120), wideness = next(4); i > 0; --i) {
      constexpr uint32_t kLimits[] = {0x80, 0x800, 0xD800, 0x110000};
      uint32_t code = next(next(12) ? 0x80 : kLimits[next(1 + wideness)]);
      if (code >= 0xD800 && code < 0xE000) code -= 0x800;
      for (int shift = 0; shift < 32; shift += 8) codes += static_cast<char>(code >> shift);
    }
    for (const auto& pair : kPairs) {
      const PeerText input = test::ByIconv("UTF-32LE", pair.from_name, codes);
      ASSERT_EQ(PeerText(test::ConvertWithEngine(*input, pair.from, pair.to, kKeep).text),
                test::ByIconv(pair.from_name, pair.to_name, *input))
          << pair.from_name << " to " << pair.to_name;
    }
  }
}

}  // namespace
}  // namespace qv

// Every code of every code page through Unicode, against glibc's iconv and ICU. The differences are
// listed here with their reasons and, for users, in docs/character-sets.md.
#include <gtest/gtest.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <span>

#include "tests/text/module_tables.h"

namespace qv {
namespace {

// UTF-16 big-endian of the bytes and bytes of the UTF-16; empty where the peer has none.
struct Peer {
  const char* name;
  std::function<std::string(const char*page, const std::string&)> to_unicode, from_unicode;
};

struct CloseConverter {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
  void operator()(iconv_t converter) const { iconv_close(converter); }
};

iconv_t IconvConverter(const char* to, const char* from) {
  static std::map<std::pair<std::string, std::string>, std::unique_ptr<void, CloseConverter>> all;
  auto& converter = all[{to, from}];
  if (converter == nullptr) converter.reset(iconv_open(to, from));
  EXPECT_NE(converter.get(), reinterpret_cast<iconv_t>(-1)) << from << " to " << to;
  iconv(converter.get(), nullptr, nullptr, nullptr, nullptr);
  return converter.get();
}

std::string ByIconv(const char* to, const char* from, std::string in) {
  const iconv_t converter = IconvConverter(to, from);
  char out[32], *in_at = in.data(), *out_at = out;
  size_t in_left = in.size(), out_left = sizeof out;
  if (iconv(converter, &in_at, &in_left, &out_at, &out_left) != 0 || in_left != 0) return "";
  iconv(converter, nullptr, nullptr, &out_at, &out_left);
  return {out, sizeof out - out_left};
}

UConverter* IcuConverter(const char* page) {
  static std::map<std::string, std::unique_ptr<UConverter, CloseConverter>> all;
  auto& converter = all[page];
  UErrorCode error = U_ZERO_ERROR;
  if (converter == nullptr) {
    converter.reset(ucnv_open(page, &error));
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &error);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    ucnv_setFallback(converter.get(), false);
  }
  EXPECT_TRUE(U_SUCCESS(error)) << page;
  ucnv_reset(converter.get());
  return converter.get();
}

std::string IcuToUnicode(const char* page, const std::string& in) {
  UErrorCode error = U_ZERO_ERROR;
  char16_t units[16];
  const int count =
      ucnv_toUChars(IcuConverter(page), units, 16, in.data(), static_cast<int>(in.size()), &error);
  std::string out;
  for (int i = 0; U_SUCCESS(error) && i < count; ++i) {
    out += {static_cast<char>(units[i] >> 8), static_cast<char>(units[i])};
  }
  return out;
}

std::string IcuFromUnicode(const char* page, const std::string& in) {
  UErrorCode error = U_ZERO_ERROR;
  std::u16string units;
  for (size_t i = 0; i < in.size(); i += 2) {
    units +=
        static_cast<char16_t>(static_cast<uint8_t>(in[i]) << 8 | static_cast<uint8_t>(in[i + 1]));
  }
  char out[32];
  const int count = ucnv_fromUChars(IcuConverter(page), out, sizeof out, units.data(),
                                    static_cast<int>(units.size()), &error);
  return U_SUCCESS(error) ? std::string(out, static_cast<size_t>(count)) : "";
}

const Peer kIconv = {
    "iconv", [](const char* page, const std::string& in) { return ByIconv("UTF-16BE", page, in); },
    [](const char* page, const std::string& in) { return ByIconv(page, "UTF-16BE", in); }};
const Peer kIcu = {"ICU", IcuToUnicode, IcuFromUnicode};

struct Page {
  CodePage cp;
  const Peer& peer;
  const char* name;
};
const Page kPages[] = {
    {932, kIconv, "CP932"},       {932, kIcu, "windows-31j"},     {20001, kIconv, "EUC-JP"},
    {20001, kIconv, "EUC-JP-MS"}, {20001, kIcu, "EUC-JP"},        {20002, kIconv, "ISO-2022-JP"},
    {20002, kIcu, "ISO-2022-JP"}, {37, kIcu, "ibm-37"},           {424, kIcu, "ibm-424"},
    {437, kIcu, "ibm-437"},       {500, kIcu, "ibm-500"},         {737, kIcu, "ibm-737"},
    {775, kIcu, "ibm-775"},       {850, kIcu, "ibm-850"},         {852, kIcu, "ibm-852"},
    {855, kIcu, "ibm-855"},       {856, kIcu, "ibm-856"},         {857, kIcu, "ibm-857"},
    {860, kIcu, "ibm-860"},       {861, kIcu, "ibm-861"},         {862, kIcu, "ibm-862"},
    {863, kIcu, "ibm-863"},       {864, kIcu, "ibm-864"},         {865, kIcu, "ibm-865"},
    {866, kIcu, "ibm-866"},       {869, kIcu, "ibm-869"},         {874, kIcu, "windows-874"},
    {875, kIcu, "ibm-875"},       {878, kIcu, "KOI8-R"},          {1006, kIcu, "ibm-1006"},
    {1250, kIcu, "windows-1250"}, {1251, kIcu, "windows-1251"},   {1252, kIcu, "windows-1252"},
    {1253, kIcu, "windows-1253"}, {1254, kIcu, "windows-1254"},   {1255, kIcu, "windows-1255"},
    {1256, kIcu, "windows-1256"}, {1257, kIcu, "windows-1257"},   {1258, kIcu, "windows-1258"},
    {10000, kIcu, "macintosh"},   {10006, kIcu, "x-mac-greek"},   {10007, kIcu, "x-mac-cyrillic"},
    {10029, kIcu, "x-mac-ce"},    {10081, kIcu, "x-mac-turkish"}, {28592, kIcu, "ISO-8859-2"},
    {28593, kIcu, "ISO-8859-3"},  {28594, kIcu, "ISO-8859-4"},    {28595, kIcu, "ISO-8859-5"},
    {28596, kIcu, "ISO-8859-6"},  {28597, kIcu, "ISO-8859-7"},    {28598, kIcu, "ISO-8859-8"},
    {28599, kIcu, "ISO-8859-9"},  {28600, kIcu, "ISO-8859-10"},   {28601, kIcu, "ISO-8859-11"},
    {28603, kIcu, "ISO-8859-13"}, {28604, kIcu, "ISO-8859-14"},   {28605, kIcu, "ISO-8859-15"},
};

// What both make of one code (of the page, or of Unicode on the way back); 0 for no character.
struct Opinion {
  const Page& page;
  uint32_t code, mine, theirs;
};

bool Within(uint32_t value, uint32_t first, uint32_t last) {
  return value >= first && value <= last;
}
bool IsPrivate(uint32_t code) { return Within(code, 0xE000, 0xF8FF); }
bool IsJapaneseMail(const Page& page) { return page.cp == 20001 || page.cp == 20002; }
uint32_t JisRow(uint32_t code) { return code >> 8 & 0x7F; }
bool IsExtensionRow(uint32_t code) {
  return JisRow(code) == 0x2D || Within(JisRow(code), 0x79, 0x7C);
}
bool IsTwin(uint32_t code) {
  constexpr uint32_t kTwins[] = {0x301C, 0xFF5E, 0x2016, 0x2225, 0x2212, 0xFF0D, 0x00A2,
                                 0xFFE0, 0x00A3, 0xFFE1, 0x00AC, 0xFFE2, 0x2014, 0x2015};
  return std::find(std::begin(kTwins), std::end(kTwins), code) != std::end(kTwins);
}

// A kind of difference, which has to occur.
struct Difference {
  const char* reason;
  bool (*holds)(const Opinion&);
};

const Difference kToUnicode[] = {
    {"a byte without a character is itself there",
     [](const Opinion& o) { return o.mine == 0 && o.theirs == o.code && o.code < 0x100; }},
    {"three controls change places there",
     [](const Opinion& o) {
       const uint32_t byte = o.code & 0xFF;
       return byte == 0x1A || byte == 0x1C || byte == 0x7F;
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
     [](const Opinion& o) { return o.mine == 0xB5 && o.theirs == 0x3BC; }},
    {"macron and middle dot or overline and bullet",
     [](const Opinion& o) {
       return (o.mine == 0xAF && o.theirs == 0x203E) || (o.mine == 0xB7 && o.theirs == 0x2022);
     }},
    {"852: not sign", [](const Opinion& o) { return o.page.cp == 852 && o.code == 0xAA; }},
    {"1255: a vowel point that Windows has",
     [](const Opinion& o) { return o.page.cp == 1255 && o.code == 0xCA; }},
    {"869: middle dot and accent, or Greek ones",
     [](const Opinion& o) { return o.page.cp == 869 && (o.code == 0x88 || o.code == 0xEF); }},
    {"864: percent sign and shapes of Arabic letters",
     [](const Opinion& o) {
       return o.page.cp == 864 &&
              (o.code == 0x25 || o.code == 0x9F || Within(o.code, 0xD7, 0xD8) || o.code == 0xF1);
     }},
    {"1006: shapes of Urdu letters",
     [](const Opinion& o) { return o.page.cp == 1006 && o.code >= 0xB2; }},
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
      met_.insert(difference.reason);
      return;
    }
    ADD_FAILURE() << opinion.page.cp << " and " << opinion.page.peer.name << "'s "
                  << opinion.page.name << std::hex << std::uppercase << ": " << opinion.code
                  << " is " << opinion.mine << ", not " << opinion.theirs;
  }
  void ExpectAllMet(std::span<const Difference> differences) {
    for (const Difference& difference : differences) {
      EXPECT_EQ(met_.count(difference.reason), 1u) << difference.reason;
    }
  }

 private:
  std::set<std::string> met_;
};

TEST_F(UnicodePeers, AgreeOnEveryCode) {
  for (const Page& page : kPages) {
    for (uint32_t code = 0; code < 0x10000; ++code) {
      const std::string text = TextOf(page.cp, code);
      if (text.empty()) continue;
      const std::string theirs = page.peer.to_unicode(page.name, text);
      const uint32_t sub = theirs == Unit(kReplacement) ? 0 : NumberOf(theirs);
      Judge({page, code, Ours(text, page.cp, kUtf16Big), sub}, kToUnicode);
    }
  }
  ExpectAllMet(kToUnicode);
}

// The single-byte pages are the inverse of their tables, which the round trips prove.
TEST_F(UnicodePeers, AgreeOnEveryCharacterOfTheJapanesePages) {
  for (const Page& page : kPages) {
    if (EastAsianFormOf(page.cp) == EastAsianForm::kNone) continue;
    for (uint32_t code = 0x80; code < 0x10000; ++code) {
      if (Within(code, 0xD800, 0xDFFF)) continue;
      const uint32_t theirs = NumberOf(page.peer.from_unicode(page.name, Unit(code)));
      Judge({page, code, Ours(Unit(code), kUtf16Big, page.cp), theirs}, kFromUnicode);
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
      ASSERT_EQ(peer->to_unicode("UTF-7", mine), units) << peer->name << " " << mine;
      const std::string theirs = peer->from_unicode("UTF-7", units);
      ASSERT_EQ(test::ConvertWithEngine(theirs, kUtf7, kUtf16Big, kKeep, 64).text, units)
          << peer->name << " " << theirs;
    }
  }
}

}  // namespace
}  // namespace qv

#include "text/charset_names.h"

#include <algorithm>
#include <cstring>

#include "text/formatter.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

struct NameEntry {
  const char* name;
  CodePage cp;
};

// The order decides both look-ups.
constexpr NameEntry kCharsets[] = {{"US-ASCII", 20005},
                                   {"ISO-8859-1", 1252},
                                   {"UTF-8", 65001},
                                   {"UTF-16", 1201},
                                   {"UTF-16BE", 1201},
                                   {"UTF-16LE", 1200},
                                   {"ISO-8859-2", 28592},
                                   {"ISO-8859-3", 28593},
                                   {"ISO-8859-4", 28594},
                                   {"ISO-8859-5", 28595},
                                   {"ISO-8859-6", 28596},
                                   {"ISO-8859-7", 28597},
                                   {"ISO-8859-8", 28598},
                                   {"ISO-8859-9", 1254},
                                   {"ISO-8859-10", 28600},
                                   {"ISO-8859-11", 28601},
                                   {"ISO-8859-12", 28602},
                                   {"ISO-8859-13", 28603},
                                   {"ISO-8859-14", 28604},
                                   {"ISO-8859-15", 28605},
                                   {"ISO-8859-16", 28606},
                                   {"SHIFT_JIS", 932},
                                   {"ISO-2022-JP", 20002},
                                   {"EUC-KR", 20009},
                                   {"ISO-2022-KR", 20003},
                                   {"ISO-2022-CN", 20004},
                                   {"ISO-2022-CN-EXT", 20012},
                                   {"EUC-GB", 20013},
                                   {"GB2312", 936},
                                   {"GB2312", 10025},
                                   {"GBK", 20014},
                                   {"BIG5", 950},
                                   {"BIG5", 10002},
                                   {"ISO-2022-JP-1", 20007},
                                   {"ISO-2022-JP-2", 20008},
                                   {"UTF-7", 65000},
                                   {"UTF-2", 65001},
                                   {"UTF-1", 65000},
                                   {"UNICODE-1-1-UTF-7", 65000},
                                   {"UCS-2LE", 1200},
                                   {"UCS-2BE", 1201},
                                   {"UCS-2", 1201},
                                   {"UTF-32", 12001},
                                   {"UCS-4", 12001},
                                   {"UTF-32BE", 12001},
                                   {"UCS-4BE", 12001},
                                   {"UTF-32LE", 12000},
                                   {"UCS-4LE", 12000},
                                   {"Windows-1252", 1252},
                                   {"CP1252", 1252},
                                   {"X-CP1252", 1252},
                                   {"Windows-1250", 1250},
                                   {"X-CP1250", 1250},
                                   {"CP1250", 1250},
                                   {"Windows-1251", 1251},
                                   {"CP1251", 1251},
                                   {"X-CP1251", 1251},
                                   {"Windows-1253", 1253},
                                   {"CP1253", 1253},
                                   {"X-CP1253", 1253},
                                   {"Windows-1254", 1254},
                                   {"CP1254", 1254},
                                   {"X-CP1254", 1254},
                                   {"Windows-1255", 1255},
                                   {"CP-1255", 1255},
                                   {"X-CP1255", 1255},
                                   {"Windows-1256", 1256},
                                   {"CP1256", 1256},
                                   {"X-CP1256", 1256},
                                   {"Windows-1257", 1257},
                                   {"CP-1257", 1257},
                                   {"X-CP1257", 1257},
                                   {"Windows-1258", 1258},
                                   {"CP-1258", 1258},
                                   {"X-CP1258", 1258},
                                   {"KOI-8", 878},
                                   {"KOI8-R", 878},
                                   {"KOI8-U", 878},
                                   {"IBM878", 878},
                                   {"CP878", 878},
                                   {"X-CP878", 878},
                                   {"IBM855", 855},
                                   {"IBM866", 866},
                                   {"IBM864", 864},
                                   {"ASMO-708", 708},
                                   {"ASMO-449", 709},
                                   {"IBM737", 737},
                                   {"IBM851", 851},
                                   {"IBM869", 869},
                                   {"IBM862", 862},
                                   {"x-HebIBM", 862},
                                   {"IBM857", 857},
                                   {"IBM874", 874},
                                   {"IBM775", 775},
                                   {"x-mac-ce", 10029},
                                   {"IBM852", 852},
                                   {"x-mac-romanian", 10029},
                                   {"x-mac-cyrillic", 10007},
                                   {"x-mac-arabic", 10004},
                                   {"x-mac-greek", 10006},
                                   {"x-mac-hebrew", 10005},
                                   {"x-mac-turkish", 10081},
                                   {"x-mac-thai", 10021},
                                   {"SHIFT_JIS", 10001},
                                   {"ISO-8859-1", 28591},
                                   {"ISO-8859-6-i", 28596},
                                   {"ISO-8859-6-e", 28596},
                                   {"ISO-8859-8-i", 28598},
                                   {"ISO-8859-8-e", 28598},
                                   {"EUC-JP", 20001},
                                   {"X-EUC-JP", 20001},
                                   {"X-SJIS", 932},
                                   {"X-SJIS", 10001},
                                   {"ksc5601", 949},
                                   {"ksc5601", 10003},
                                   {"ISO-2022-GB", 20004},
                                   {"HZ-GB-2312", 20006}};
static_assert(std::size(kCharsets) == 117);

// In the order of the look-up by name.
constexpr NameEntry kFamilies[] = {{"Shift-JIS", 932},     {"GB2312", 936},  {"GBK", 20014},
                                   {"eucKR", 1361},        {"Big5", 950},    {"CP1255", 1255},
                                   {"CP1256", 1256},       {"CP1253", 1253}, {"CP1254", 1254},
                                   {"TIS-620", 874},       {"CP1250", 1250}, {"CP1251", 1251},
                                   {"Apple Roman", 10000}, {"CP1257", 1257}, {"CP1252", 1252}};

// The member of the family that the table of families names.
CodePage FamilyOf(CodePage cp) {
  switch (cp) {
    case 10001:
      return 932;
    case 10025:
      return 936;
    case 949:
      return 1361;
    case 10002:
      return 950;
    case 855:
      return 1251;
    case 737:
    case 851:
    case 869:
      return 1253;
    case 857:
      return 1254;
    case 862:
      return 1255;
    case 864:
      return 1256;
    case 775:
      return 1257;
    default:
      return cp;
  }
}

struct FontEntry {
  uint8_t charset;
  CodePage cp;
};
constexpr FontEntry kFonts[] = {
    {0, 1252},   {77, 10000}, {78, 10001}, {79, 10002},  {80, 10003},  {81, 10004}, {82, 10005},
    {83, 10006}, {84, 10007}, {98, 10021}, {102, 10025}, {106, 10029}, {128, 932},  {129, 949},
    {130, 1361}, {134, 936},  {136, 950},  {156, 10079}, {158, 10081}, {161, 1253}, {162, 1254},
    {177, 1255}, {178, 1256}, {186, 1257}, {204, 1251},  {222, 874},   {238, 1250}};

template <class Table, class Matches>
const auto* FindFirst(const Table& table, Matches matches) {
  const auto* found = std::find_if(std::begin(table), std::end(table), matches);
  return found == std::end(table) ? nullptr : found;
}

bool SameIgnoringCase(const char* a, const char* b) {
  return std::strlen(a) == std::strlen(b) && HasPrefix(a, b, true);
}

const char* LanguageOf(CodePage cp) {
  switch (cp) {
    case kEucJp:
    case kIso2022Jp:
    case kIso2022Jp1:
    case kIso2022Jp2:
    case 932:
    case 10001:
      return "japanese";
    case kIso2022Kr:
    case kEucKr:
      return "korean";
    case kIso2022Cn:
    case kIso2022CnExt:
    case kEucGb:
    case kGbk:
    case 936:
    case 10025:
      return "chinese";
    case 950:
    case 10002:
      return "taiwan";
    case 878:
    case 28595:
      return "russian";
    case 28592:
      return "hungarian";
    case 28594:
      return "lithuanian";
    case 28597:
      return "greek";
    case 28598:
      return "hebrew";
    default:
      return "english";
  }
}

}  // namespace
}  // namespace qv

const char* CharsetName(CodePage cp) {
  const auto* entry = qv::FindFirst(qv::kCharsets, [cp](const auto& e) { return e.cp == cp; });
  return entry == nullptr ? nullptr : entry->name;
}

CodePage CharsetCodePage(const char* name) {
  if (name == nullptr) return kDefaultCodePage;
  const auto* entry = qv::FindFirst(
      qv::kCharsets, [name](const auto& e) { return qv::SameIgnoringCase(e.name, name); });
  return entry == nullptr ? kDefaultCodePage : entry->cp;
}

const char* CharsetFamilyName(CodePage cp) {
  const CodePage family = qv::FamilyOf(cp);
  const auto* entry =
      qv::FindFirst(qv::kFamilies, [family](const auto& e) { return e.cp == family; });
  return entry == nullptr ? "CP1252" : entry->name;
}

CodePage CharsetFamilyCodePage(const char* name) {
  if (name == nullptr) return kDefaultCodePage;
  const auto* entry = qv::FindFirst(
      qv::kFamilies, [name](const auto& e) { return std::strcmp(e.name, name) == 0; });
  return entry == nullptr ? kDefaultCodePage : entry->cp;
}

CodePage FontCharsetToCodePage(uint32_t charset) {
  const auto* entry =
      qv::FindFirst(qv::kFonts, [charset](const auto& e) { return e.charset == charset; });
  return entry == nullptr ? kDefaultCodePage : entry->cp;
}

namespace qv {
namespace {

constexpr CodePage kFirstMacPage = 10000;
constexpr CodePage kLastMacPage = 19999;

}  // namespace
}  // namespace qv

CodePage MacScriptToCodePage(int16_t script) {
  return static_cast<CodePage>(qv::kFirstMacPage + std::max<int>(script, 0));
}

int16_t CodePageToMacScript(CodePage cp) {
  switch (cp) {
    case 950:
      cp = 10002;
      break;
    case 932:
      cp = 10001;
      break;
    case 936:
      cp = 10025;
      break;
    case 1361:
      cp = 10003;
      break;
  }
  const bool is_mac = cp >= qv::kFirstMacPage && cp <= qv::kLastMacPage;
  return static_cast<int16_t>(is_mac ? cp - qv::kFirstMacPage : 0);
}

void LocaleName(CodePage cp, char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return;
  const uint32_t limit = size - 1;
  if (cp >= 1250 && cp <= 1258) {
    FormatTextN(buffer, limit, ".%u", cp);
    return;
  }
  const char* language = qv::LanguageOf(cp);
  const char* name = CharsetName(cp);
  constexpr size_t kIsoBytes = sizeof "ISO-" - 1;
  if (name == nullptr) {
    FormatTextN(buffer, limit, "%s", language);
  } else if (qv::HasPrefix(name, "ISO-8", true)) {
    FormatTextN(buffer, limit, "%s.ISO%s", language, name + kIsoBytes);
  } else {
    FormatTextN(buffer, limit, "%s.%s", language, name);
  }
}

const char* JapaneseFontFace(CodePage cp, const char* language) {
  switch (cp) {
    case 932:
    case 10001:
    case kEucJp:
    case kIso2022Jp:
      return "Osaka";
  }
  if (qv::IsMultiByteCodePage(cp)) return nullptr;
  return qv::HasPrefix(language, "ja", true) ? "Osaka" : nullptr;
}

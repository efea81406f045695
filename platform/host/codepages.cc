#include "platform/host/codepages.h"

#include <iconv.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/text.h"

namespace host {
namespace {

struct CodePage {
  UINT number;
  const char* name;  // what iconv calls it; null where it has no such page
};

// The pages of a system with all its language support, in ascending order.
constexpr CodePage kCodePages[] = {{37, "CP037"},
                                   {437, "CP437"},
                                   {500, "CP500"},
                                   {708, "ISO-8859-6"},
                                   {720, nullptr},
                                   {737, "CP737"},
                                   {775, "CP775"},
                                   {850, "CP850"},
                                   {852, "CP852"},
                                   {855, "CP855"},
                                   {857, "CP857"},
                                   {858, "CP858"},
                                   {860, "CP860"},
                                   {861, "CP861"},
                                   {862, "CP862"},
                                   {863, "CP863"},
                                   {864, "CP864"},
                                   {865, "CP865"},
                                   {866, "CP866"},
                                   {869, "CP869"},
                                   {874, "WINDOWS-874"},
                                   {875, "CP875"},
                                   {932, "WINDOWS-31J"},
                                   {936, "CP936"},
                                   {949, "CP949"},
                                   {950, "CP950"},
                                   {1026, "CP1026"},
                                   {1047, "CP1047"},
                                   {1140, "CP1140"},
                                   {1141, "CP1141"},
                                   {1142, "CP1142"},
                                   {1143, "CP1143"},
                                   {1144, "CP1144"},
                                   {1145, "CP1145"},
                                   {1146, "CP1146"},
                                   {1147, "CP1147"},
                                   {1148, "CP1148"},
                                   {1149, "CP1149"},
                                   {1250, "CP1250"},
                                   {1251, "CP1251"},
                                   {1252, "CP1252"},
                                   {1253, "CP1253"},
                                   {1254, "CP1254"},
                                   {1255, "CP1255"},
                                   {1256, "CP1256"},
                                   {1257, "CP1257"},
                                   {1258, "CP1258"},
                                   {1361, "JOHAB"},
                                   {10000, "MACINTOSH"},
                                   {10001, "SJIS"},
                                   {10002, "BIG5"},
                                   {10003, "EUC-KR"},
                                   {10004, nullptr},
                                   {10005, nullptr},
                                   {10006, nullptr},
                                   {10007, "MAC-CYRILLIC"},
                                   {10008, "EUC-CN"},
                                   {10010, nullptr},
                                   {10017, "MAC-UK"},
                                   {10021, nullptr},
                                   {10029, "MAC-CENTRALEUROPE"},
                                   {10079, "MAC-IS"},
                                   {10081, nullptr},
                                   {10082, nullptr},
                                   {20127, "ASCII"},
                                   {20261, "T.61"},
                                   {20866, "KOI8-R"},
                                   {20932, "EUC-JP"},
                                   {20949, "EUC-KR"},
                                   {21866, "KOI8-U"},
                                   {28591, "ISO-8859-1"},
                                   {28592, "ISO-8859-2"},
                                   {28593, "ISO-8859-3"},
                                   {28594, "ISO-8859-4"},
                                   {28595, "ISO-8859-5"},
                                   {28596, "ISO-8859-6"},
                                   {28597, "ISO-8859-7"},
                                   {28598, "ISO-8859-8"},
                                   {28599, "ISO-8859-9"},
                                   {28603, "ISO-8859-13"},
                                   {28605, "ISO-8859-15"},
                                   {65000, "UTF-7"},
                                   {65001, "UTF-8"}};

const CodePage* FindCodePage(UINT number) {
  auto found = std::find_if(std::begin(kCodePages), std::end(kCodePages),
                            [number](const CodePage& page) { return page.number == number; });
  return found == std::end(kCodePages) ? nullptr : found;
}

// The number that stands for what the caller means: CP_ACP is the system's page.
UINT ResolveCodePage(UINT code_page) { return code_page == CP_ACP ? AnsiCodePage() : code_page; }

const iconv_t kNoConverter = reinterpret_cast<iconv_t>(-1);

// Converters of this thread by direction and name; opening one costs more than a conversion.
class ConverterCache {
 public:
  ~ConverterCache() {
    for (auto& [key, converter] : open_) iconv_close(converter);
  }
  // In its starting state; kNoConverter when iconv has none.
  iconv_t Get(const std::string& to, const std::string& from) {
    auto [place, added] = open_.try_emplace(to + '\n' + from, kNoConverter);
    if (added) place->second = iconv_open(to.c_str(), from.c_str());
    if (place->second == kNoConverter) {
      open_.erase(place);
      return kNoConverter;
    }
    iconv(place->second, nullptr, nullptr, nullptr, nullptr);
    return place->second;
  }

 private:
  std::map<std::string, iconv_t> open_;
};

iconv_t Converter(const char* to, const char* from) {
  thread_local ConverterCache cache;
  return cache.Get(to, from);
}

// Feeds all of `input` through a converter. For input that it does not take, `skip` appends what
// stands for it and says how many bytes to leave out.
template <typename Skip>
std::string RunConverter(iconv_t converter, std::string_view input, Skip skip) {
  std::string output;
  char* from = const_cast<char*>(input.data());  // iconv does not write there
  size_t left = input.size();
  char room[512];
  for (bool flushing = false;;) {
    char* to = room;
    size_t space = sizeof room;
    size_t result = flushing ? iconv(converter, nullptr, nullptr, &to, &space)
                             : iconv(converter, &from, &left, &to, &space);
    int error = result == static_cast<size_t>(-1) ? errno : 0;
    output.append(room, sizeof room - space);
    if (error == E2BIG) continue;
    if (error != 0 && left > 0) {
      size_t skipped = std::min(left, skip(std::string_view(from, left), output));
      from += skipped;
      left -= skipped;
      continue;
    }
    if (flushing) return output;
    flushing = true;
  }
}

void AppendUnit(std::string& output, char16_t unit) {
  output += static_cast<char>(unit & 0xFF);
  output += static_cast<char>(unit >> 8);
}

std::u16string UnitsOf(std::string_view little_endian) {
  std::u16string units(little_endian.size() / 2, u'\0');
  std::memcpy(units.data(), little_endian.data(), units.size() * 2);
  return units;
}

std::string_view BytesOf(std::u16string_view wide) {
  return {reinterpret_cast<const char*>(wide.data()), wide.size() * 2};
}

}  // namespace

bool CodePageIsKnown(UINT code_page) {
  const CodePage* page = FindCodePage(ResolveCodePage(code_page));
  return page && page->name;
}

std::u16string WideFromBytes(UINT code_page, std::string_view bytes, bool* malformed) {
  code_page = ResolveCodePage(code_page);
  if (code_page == CP_UTF8) return WideFromUtf8(bytes, malformed);
  const CodePage* page = FindCodePage(code_page);
  iconv_t converter = page && page->name ? Converter("UTF-16LE", page->name) : kNoConverter;
  if (converter == kNoConverter) return {};
  return UnitsOf(RunConverter(converter, bytes, [&](std::string_view rest, std::string& output) {
    auto byte = static_cast<unsigned char>(rest[0]);
    bool control = byte >= 0x80 && byte < 0xA0 && code_page >= 1250 && code_page <= 1258;
    if (!control && malformed) *malformed = true;
    AppendUnit(output, control ? byte : 0xFFFD);
    return size_t{1};
  }));
}

std::string BytesFromWide(UINT code_page, std::u16string_view wide, std::string_view replacement,
                          bool* replaced) {
  code_page = ResolveCodePage(code_page);
  if (code_page == CP_UTF8) return Utf8FromWide(wide, replaced);
  const CodePage* page = FindCodePage(code_page);
  iconv_t converter = page && page->name ? Converter(page->name, "UTF-16LE") : kNoConverter;
  if (converter == kNoConverter) return {};
  return RunConverter(converter, BytesOf(wide), [&](std::string_view rest, std::string& output) {
    char16_t unit = UnitsOf(rest.substr(0, 2))[0];
    bool control = unit >= 0x80 && unit < 0xA0 && code_page >= 1250 && code_page <= 1258;
    if (!control && replaced) *replaced = true;
    if (control) {
      output += static_cast<char>(unit);
    } else {
      output += replacement;
    }
    bool pair = unit >= 0xD800 && unit < 0xDC00 && rest.size() >= 4;
    return pair ? size_t{4} : size_t{2};
  });
}

}  // namespace host

using host::Enter;
using host::Fail;

BOOL IsValidCodePage(UINT code_page) {
  if (Enter(__func__)) return FALSE;
  return host::FindCodePage(code_page) != nullptr;
}

BOOL EnumSystemCodePagesA(CODEPAGE_ENUMPROCA callback, DWORD) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!callback) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  for (const host::CodePage& page : host::kCodePages) {
    char digits[16] = {};
    std::to_chars(digits, std::end(digits) - 1, page.number);
    if (!callback(digits)) break;
  }
  return TRUE;
}

int MultiByteToWideChar(UINT code_page, DWORD flags, LPCSTR text, int bytes, LPWSTR wide,
                        int wide_size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  if (!text || bytes == 0 || bytes < -1 || wide_size < 0 || (wide_size > 0 && !wide) ||
      !host::CodePageIsKnown(code_page)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  size_t length = bytes == -1 ? std::strlen(text) + 1 : static_cast<size_t>(bytes);
  bool malformed = false;
  std::u16string result = host::WideFromBytes(code_page, {text, length}, &malformed);
  if (malformed && (flags & MB_ERR_INVALID_CHARS)) return Fail(ERROR_NO_UNICODE_TRANSLATION, 0);
  if (wide_size == 0) return static_cast<int>(result.size());
  size_t copied = result.copy(wide, static_cast<size_t>(wide_size));
  if (copied < result.size()) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  return static_cast<int>(copied);
}

int WideCharToMultiByte(UINT code_page, DWORD flags, LPCWSTR wide, int units, LPSTR text, int size,
                        LPCSTR replacement, LPBOOL replaced) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  bool is_utf8 = code_page == CP_UTF8;
  if (!wide || units == 0 || units < -1 || size < 0 || (size > 0 && !text) ||
      (is_utf8 && (replacement || replaced)) || !host::CodePageIsKnown(code_page)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  std::u16string_view source(wide, units == -1 ? std::char_traits<char16_t>::length(wide) + 1
                                               : static_cast<size_t>(units));
  bool lost = false;
  std::string result =
      host::BytesFromWide(code_page, source, replacement ? replacement : "?", &lost);
  if (replaced) *replaced = lost;
  if (lost && (flags & WC_ERR_INVALID_CHARS)) return Fail(ERROR_NO_UNICODE_TRANSLATION, 0);
  if (size == 0) return static_cast<int>(result.size());
  size_t copied = result.copy(text, static_cast<size_t>(size));
  if (copied < result.size()) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  return static_cast<int>(copied);
}

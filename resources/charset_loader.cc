#include "resources/charset_loader.h"

#include <cstdlib>
#include <new>
#include <vector>

#include "platform/windows_api.h"
#include "resources/module_source.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/line_breaks.h"
#include "text/pair_converters.h"
#include "text/unicode_table.h"

namespace qv {
namespace {

constexpr ResourceTypeCode kByteMapType = ResourceType("CHST");
constexpr ResourceTypeCode kUnicodeTableType = ResourceType("CHUC");
constexpr ResourceTypeCode kLineBreakType = ResourceType("QVLB");
constexpr ResourceTypeCode kCodePageType = ResourceType("ZRcs");
constexpr int kGoOn = 0, kStop = 1;

// The enumeration of code pages passes no user pointer to its callback.
struct CharsetLoaderState {
  ZRError error = ZRErrNone;  // the first that the callbacks met
};

CharsetLoaderState& State() {
  static CharsetLoaderState state;
  return state;
}

// --- Step: the system's code pages that a font can show ---

class DesktopContext {
 public:
  DesktopContext() : window_(GetDesktopWindow()), context_(GetDC(window_)) {}
  ~DesktopContext() {
    if (context_ != nullptr) ReleaseDC(window_, context_);
  }
  DesktopContext(const DesktopContext&) = delete;
  DesktopContext& operator=(const DesktopContext&) = delete;
  HDC get() const { return context_; }

 private:
  HWND window_;
  HDC context_;
};

class CharsetFont {
 public:
  explicit CharsetFont(uint8_t charset)
      : font_(CreateFontA(0, 0, 0, 0, 0, FALSE, FALSE, FALSE, charset, OUT_TT_PRECIS,
                          CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH, nullptr)) {}
  ~CharsetFont() {
    if (font_ != nullptr) DeleteObject(font_);
  }
  CharsetFont(const CharsetFont&) = delete;
  CharsetFont& operator=(const CharsetFont&) = delete;
  HFONT get() const { return font_; }

 private:
  HFONT font_;
};

// True when the system has a font of that very character set.
bool FontExists(uint8_t charset) {
  const DesktopContext context;
  if (context.get() == nullptr) return false;
  const CharsetFont font(charset);
  if (font.get() == nullptr) return false;
  const HGDIOBJ before = SelectObject(context.get(), font.get());
  if (before == nullptr) return false;
  TEXTMETRICA metrics{};
  const bool known = GetTextMetricsA(context.get(), &metrics) != FALSE;
  SelectObject(context.get(), before);
  return known && metrics.tmCharSet == charset;
}

BOOL CALLBACK AddSystemCodePage(LPSTR text) {
  const unsigned long number = std::strtoul(text, nullptr, 10);
  if (number == 0 || number > 0xFFFF || !IsValidCodePage(static_cast<UINT>(number))) return TRUE;
  const auto cp = static_cast<CodePage>(number);
  const uint8_t charset = FontCharset(cp);
  if (charset == DEFAULT_CHARSET || !FontExists(charset)) return TRUE;
  if (AddConverter(IsMultiByteCodePage(cp) ? NewPairConverter(cp, cp)
                                           : NewIdentityConverter(cp, cp))) {
    return TRUE;
  }
  State().error = ZRErrNoMemory;
  return FALSE;
}

ZRError AddSystemCodePages() {
  State().error = ZRErrNone;
  const BOOL done = EnumSystemCodePagesA(AddSystemCodePage, CP_SUPPORTED);
  if (State().error != ZRErrNone) return State().error;
  return done ? ZRErrNone : ZRErrUnexpected;
}

// --- Step: the module's byte maps ---

int AddByteMap(ResourceTypeCode type, int32_t number, void*) {
  if (AddConverter(NewTableConverter(ModuleSource().Find(type, number)))) return kGoOn;
  State().error = ZRErrNoMemory;
  return kStop;
}

ZRError AddByteMaps() {
  State().error = ZRErrNone;
  ModuleSource().Enumerate(kByteMapType, AddByteMap, nullptr);
  return State().error;
}

// --- Step: the pairs of the East Asian families ---

struct Family {
  CodePage source;
  CodePage destinations[3];  // 0 ends the list
};
constexpr Family kFamilies[] = {
    {932, {10001, 20002, 20001}}, {10001, {932, 20002, 20001}}, {20001, {932, 10001, 20002}},
    {20002, {932, 10001, 20001}}, {936, {10025, 20004, 20014}}, {10025, {936, 20004, 20014}},
    {20004, {936, 10025, 20014}}, {949, {10003, 20003}},        {10003, {949, 20003}},
    {20003, {10003, 949}},
};

ZRError AddPairs() {
  for (const Family& family : kFamilies) {
    for (CodePage destination : family.destinations) {
      if (destination == 0) break;
      if (!AddConverter(NewPairConverter(family.source, destination))) return ZRErrNoMemory;
    }
  }
  return ZRErrNone;
}

ZRError SortAll() { return SortConverters() ? ZRErrNone : ZRErrNoMemory; }

// --- Step: the tables to and from Unicode ---

int CountResource(ResourceTypeCode, int32_t, void*) { return kGoOn; }

// The room was made before: nothing may be thrown through the platform's enumeration.
int CollectResource(ResourceTypeCode type, int32_t number, void* user_data) {
  auto& resources = *static_cast<std::vector<Bytes>*>(user_data);
  if (resources.size() == resources.capacity()) return kStop;
  resources.push_back(ModuleSource().Find(type, number));
  return kGoOn;
}

ZRError LoadUnicodeTables() {
  std::vector<Bytes> resources;
  try {
    resources.reserve(ModuleSource().Enumerate(kUnicodeTableType, CountResource, nullptr));
  } catch (const std::bad_alloc&) {
    return ZRErrNoMemory;
  }
  ModuleSource().Enumerate(kUnicodeTableType, CollectResource, &resources);
  return BuildUnicodeTables(resources) ? ZRErrNone : ZRErrNoMemory;
}

// --- Step: the line-break lists; the resource's number is the code page ---

int AddLineBreaks(ResourceTypeCode type, int32_t number, void*) {
  const LineBreakLoad load =
      AddLineBreakLists(static_cast<CodePage>(number), ModuleSource().Find(type, number));
  if (load != LineBreakLoad::kNoMemory) return kGoOn;
  State().error = ZRErrNoMemory;
  return kStop;
}

ZRError LoadLineBreaks() {
  State().error = ZRErrNone;
  ModuleSource().Enumerate(kLineBreakType, AddLineBreaks, nullptr);
  return State().error;
}

void SetApplicationCodePageFromModule() {
  constexpr Field kCodePage{0, 2};
  Bytes resource = ModuleSource().Find(kCodePageType, 1);
  if (resource.empty()) resource = ModuleSource().Find(kCodePageType, 0);
  if (resource.size() < kCodePage.width) return;
  const auto cp = static_cast<CodePage>(ReadBigEndian(resource, kCodePage));
  if (cp != kDefaultCodePage) SetApplicationCodePage(MapCodePage(cp));
}

}  // namespace
}  // namespace qv

ZRError LoadCharsetTables() {
  ReleaseCharsetTables();
  SetApplicationCodePage(kWesternWindows);
  constexpr ZRError (*kSteps[])() = {qv::AddSystemCodePages, qv::AddByteMaps,
                                     qv::AddPairs,           qv::SortAll,
                                     qv::LoadUnicodeTables,  qv::LoadLineBreaks};
  for (const auto& step : kSteps) {
    const ZRError error = step();
    if (error == ZRErrNone) continue;
    qv::ReleaseConverters();
    return error;
  }
  qv::SetApplicationCodePageFromModule();
  return ZRErrNone;
}

void ReleaseCharsetTables() {
  qv::ReleaseConverters();
  qv::ReleaseUnicodeTables();
  qv::ReleaseLineBreakLists();
}

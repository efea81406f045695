// What is known of a code page without its table: its class, lead bytes, unit width, native line
// end, script class and font character set.
#pragma once

#include <cstdint>

using CodePage = uint16_t;

constexpr CodePage kDefaultCodePage = 20000;  // "the current default"; for conversions "none"
constexpr CodePage kUtf8 = 65001;
constexpr CodePage kUtf7 = 65000;
constexpr CodePage kUtf16Little = 1200;
constexpr CodePage kUtf16Big = 1201;
constexpr CodePage kUtf32Little = 12000;
constexpr CodePage kUtf32Big = 12001;
constexpr CodePage kPlainAscii = 20005;  // letters without their accents
constexpr CodePage kWesternWindows = 1252;

// What stands for a character that the target does not have (SUB).
constexpr uint8_t kReplacement = 0x1A;

// Bytes of the terminator, which is also the width of one unit: 1, 2 (1200, 1201) or 4 (12000,
// 12001).
int CPTermSize(CodePage cp);

// True for the first byte of a two-byte character of a double-byte code page.
bool CPIsLeadByte(uint8_t byte, CodePage cp);

namespace qv {

bool IsUnicodeCodePage(CodePage cp);        // 1200, 1201, 12000, 12001, 65000, 65001
bool IsCharacterWiseCodePage(CodePage cp);  // primitives walk characters
bool IsDoubleByteCodePage(CodePage cp);     // the lead-byte rule holds

// Character-wise and not Unicode: the class of the pair converters.
inline bool IsMultiByteCodePage(CodePage cp) {
  return IsCharacterWiseCodePage(cp) && !IsUnicodeCodePage(cp);
}

// How a conversion writes line ends. kNativeTo and kNativeFrom are resolved to one of the others.
enum LineEndMode : int {
  kNativeTo = 0,    // the destination code page's native line end
  kNativeFrom = 1,  // the source code page's
  kCr = 2,
  kLf = 3,
  kCrLf = 4,
  kKeep = 5,     // line ends are bytes like any other
  kKeepToo = 6,  // the Unicode engines take it as kKeep
};

// kCr for 10000 to 20000 except the Unicode pages, kCrLf for all others.
LineEndMode NativeLineEnd(CodePage cp);

// 0 Windows, 1 Unicode, 2 Macintosh, 4 DOS, 3 every other: the order of the converter registry.
int ScriptClass(CodePage cp);

// The font character set that goes with a code page, 1 (DEFAULT_CHARSET) where there is none.
uint8_t FontCharset(CodePage cp);

}  // namespace qv

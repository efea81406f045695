// The names that the outside world has for code pages, and the way back: charset names of mail and
// web headers, short family names of fonts and systems, font character sets, Macintosh scripts and
// locale strings of the C runtime.
//
//   CodePage cp = CharsetCodePage("windows-1252");  // 1252
//   const char* name = CharsetName(cp);             // "ISO-8859-1"
//   char locale[64];
//   LocaleName(932, locale, sizeof locale);         // "japanese.SHIFT_JIS"
//
// The first entry of the charset table wins in both directions, so a name and a code page need not
// lead back to each other: 1252 is called "ISO-8859-1", "ISO-8859-1" means 1252, 28591 has the same
// name. 20000 has no name and stands for "none"; it is not resolved to the default code page here.
//
// Threads: any; everything is constant. Names returned live as long as the program.
#pragma once

#include <cstdint>

#include "text/code_pages.h"

// The library's own numbers for encodings that the platform has none for (20005: kPlainAscii).
constexpr CodePage kEucJp = 20001;
constexpr CodePage kIso2022Jp = 20002;
constexpr CodePage kIso2022Kr = 20003;
constexpr CodePage kIso2022Cn = 20004;
constexpr CodePage kHzGb2312 = 20006;
constexpr CodePage kIso2022Jp1 = 20007;
constexpr CodePage kIso2022Jp2 = 20008;
constexpr CodePage kEucKr = 20009;
constexpr CodePage kIso2022CnExt = 20012;
constexpr CodePage kEucGb = 20013;
constexpr CodePage kGbk = 20014;

// Null for a code page without a name.
const char* CharsetName(CodePage cp);
// ASCII letter case is ignored. 20000 for an unknown name and for null.
CodePage CharsetCodePage(const char* name);

// "Shift-JIS", "GB2312", "GBK", "eucKR", "Big5", "CP1250" to "CP1257", "TIS-620" or "Apple Roman";
// "CP1252" for every other code page.
const char* CharsetFamilyName(CodePage cp);
// Letter case counts. "eucKR" gives 1361. 20000 for an unknown name and for null.
CodePage CharsetFamilyCodePage(const char* name);

// The code page that goes with a font character set (the reverse is qv::FontCharset), 20000 where
// there is none: so for 1, the default character set, and for a number that is no byte.
CodePage FontCharsetToCodePage(uint32_t charset);

// The code page of a Macintosh script code. A negative one (the system's own script) gives 10000.
CodePage MacScriptToCodePage(int16_t script);
// 0, the Roman script, for a code page that is neither one of 10000 to 19999 nor the Windows form
// of an East Asian one.
int16_t CodePageToMacScript(CodePage cp);

// Writes a locale string: ".1252" for 1250 to 1258, else a language and the charset's name, such as
// "russian.ISO8859-5", or the language alone. Cut to `size` bytes, terminator included; with a size
// of 0 or a null buffer nothing is written.
void LocaleName(CodePage cp, char* buffer, uint32_t size);

// "Osaka" for Japanese text, else null. `language` (may be null) is asked only where the code page
// does not tell: for single-byte and Unicode text; "ja", "JA-jp" are Japanese.
const char* JapaneseFontFace(CodePage cp, const char* language);

// Text resources with rules of their own: whole strings, numbered messages with variants for
// several platforms, and the table of file name extensions and four-character file types.
//
//   Str255 title;
//   if (ZRGetMessageText(title, 255, 1001, 0, true)) ...
//   uint32_t type, creator;
//   ZRTypeFromExtension("photo.JPG", &type, &creator);      // "mdos" and 0 when it is not known
//
// All of them read through the resource chain (resource_chain.h); lists 10 and 800 onward come from
// the application's module or resource files.
//
// File types: each string of list 10 is one entry, taken byte for byte:
//
//   EXT=TYPECREA?KIND      EXT: 1 to 4 characters; TYPE, CREA: 4 characters; ?: any one character;
//   jpg=JPEGogle 0012      KIND: a decimal number in 4 characters
//
// Strings of another form are skipped. The first entry that fits counts.
// Threads: as the chain. Errors: false, with the outputs stated below; outputs may be null.
#pragma once

#include <cstdint>

#include "memory/handles.h"
#include "resources/resource_source.h"
#include "text/text_variants.h"

// String `number` as zero-terminated text of the code page, in a new handle that the caller owns
// and that ends with the terminator. 0 when it is not found or there is no memory. The buffer that
// it is first read into is 5000 bytes where no source tells a size, which is the longest then.
ZRHandle ZRLoadStringHandle(int32_t number, CodePage cp = kUtf8);

// The text of message `number` (from 1) in UTF-8: of string (number - 1) % 16 + 1 of list
// 800 + (number - 1) / 16 the field and variant that ZRSelectVariant selects, at most `maximum`
// bytes of it, cut at a whole character. False, with `out` as it was, when there is none.
bool ZRGetMessageText(uint8_t* out, int32_t maximum, int32_t number, int32_t field, bool strip,
                      char letter = kWindowsVariant);

// By the extension of a zero-terminated file name, letter case ignored (ASCII). Not found: "mdos",
// creator 0, kind ZRErrNoMapping.
bool ZRTypeFromExtension(const char* file_name, uint32_t* type, uint32_t* creator,
                         int32_t* kind = nullptr);

// Not found, or both 0: kind ZRErrNoMapping.
bool ZRKindFromTypeCreator(uint32_t type, uint32_t creator, int32_t* kind);

// Appends "." and the extension to a length-prefixed name, as much as fits into `maximum` bytes in
// all. Not found: the name stays as it is.
bool ZRExtensionFromCreator(uint8_t* out, int32_t maximum, uint32_t creator);

namespace qv {

constexpr int32_t kFileTypeList = 10, kFirstMessageList = 800;
constexpr uint32_t kUnknownFileType = ResourceType("mdos");

}  // namespace qv

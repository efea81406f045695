// Resources of the process: every request asks an ordered chain of sources, the first hit wins.
//
//   ZRInitModuleResources(instance);                 // or ZROpenResourceFiles(instance)
//   Str255 text;
//   if (ZRGetIndString(text, 999, 1, 255)) ...       // "Ctrl+", in UTF-8
//   ZRHandle zones = ZRGetResource(qv::ResourceType("ZRtz"), 128);
//   if (const void* bytes = ZRLockHandle(zones)) ... // never disposed of by the caller
//
// The chain: optional file B, the main file, optional file A, the module source. The optional files
// are asked only while the extra-files switch is on (it starts off), the module source always.
// Sources stay in the chain while the process runs.
//
// Errors: a look-up that finds nothing gives 0, kNoResource, false or an empty text.
// Threads: one task at a time; start-up comes before all others.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"
#include "resources/resource_source.h"

// --- resources ---

// The first source's own handle; 0 when none has it. The caller locks it, never disposes of it, and
// may hand it back with ZRReleaseResource. A name is a length-prefixed string.
ZRHandle ZRGetResource(qv::ResourceTypeCode type, int32_t number);
ZRHandle ZRGetNamedResource(qv::ResourceTypeCode type, const uint8_t* name);

// A new handle, which the caller owns and disposes of.
ZRHandle ZRLoadResourceCopy(qv::ResourceTypeCode type, int32_t number);
ZRHandle ZRLoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name);

// Bytes; kNoResource (-1) when no source has it.
int32_t ZRGetResourceSize(qv::ResourceTypeCode type, int32_t number);

// Calls for every resource of the type (0: of all types), in every source. An answer other than 0
// ends the walk of that source; the next one is walked all the same. A resource with a name of its
// own has number 0, the others an empty name. Returns the calls made.
using ZRResourceCallback = int (*)(qv::ResourceTypeCode type, const uint8_t* name, CodePage cp,
                                   int32_t number, void* user_data);
uint32_t ZREnumResources(qv::ResourceTypeCode type, ZRResourceCallback callback, void* user_data);

// Offers the handle to the sources until one takes it back (and sets it to 0, when it frees it).
// The module source keeps its handles and takes none.
void ZRReleaseResource(ZRHandle* handle);
void ZRPurgeResources();
// Reads the bytes of a purged resource again; true when some source did.
bool ZRReloadResource(ZRHandle handle);

// --- text ---

// String `index` (from 1) of a list: at most `maximum` bytes behind the length byte, in the code
// page (qv::kNoConversion: the bytes as they are). Nothing found: false and an empty text.
bool ZRGetIndString(uint8_t* out, int32_t list, int32_t index, int32_t maximum,
                    CodePage cp = kUtf8);
// The same in UTF-8 and zero-terminated; `out` holds maximum + 1 bytes.
bool ZRGetIndCString(char* out, int32_t list, int32_t index, int32_t maximum);
// A whole string, zero-terminated, in a buffer of `size` bytes.
bool ZRGetString(char* out, int32_t number, int32_t size, CodePage cp = kUtf8);

// --- start-up ---

// The start-up of an application (a library uses ZRInitModuleResources): binds the module source,
// opens up to three resource files for the places of the chain that are still empty, empties the
// accelerator table and loads the character set tables, whose error it returns. A file that cannot
// be opened is left out.
//
//   main     string 7 of list 161, else LANGUAGE-COUNTRY.rez, else LANGUAGE.rez
//   A, B     strings 8 and 9 of list 161
//
// The names of list 161 are taken byte for byte: a module's strings are in the system's code page,
// as paths are, and no tables are loaded yet. LANGUAGE and COUNTRY are the user's ISO codes
// ("de-AT"), en-US where they cannot be had.
ZRError ZROpenResourceFiles(HMODULE module);

// Opens a resource file for reading; null when that fails. A bare name lies in the folder of the
// application. The caller owns the source.
CResSource* ZROpenResourceFile(const char* path);

void ZRUseExtraResourceFiles(bool use);

namespace qv {

// String list with the file names of an application.
constexpr int32_t kFileNameList = 161;
constexpr int32_t kMainFileString = 7, kFileAString = 8, kFileBString = 9;

// The first file of the chain that has the resource, the module left out; null when none has it.
// The source belongs to the chain.
CResSource* FindFileWithResource(ResourceTypeCode type, int32_t number);

// Opens the resource file at a whole path and gives the source that serves it, made with `new`, or
// null. A test may put another one in the place of that which opens files (resource_file.h).
using ResourceFileOpener = CResSource* (*)(const char* path);
void SetResourceFileOpener(ResourceFileOpener opener);

// Destroys the sources of files, and everything else is as in a new process; the module stays.
void ResetResourceChainForTest();

}  // namespace qv

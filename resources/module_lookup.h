// The platform's side of a module's resources: which type and name it is asked for, and what it
// calls what it has. Nothing here needs memory of ours, so the start of the library can use it when
// there is none.
//
// A type is looked up by its four characters without a blank at the end ("STR "), a number by
// itself. A negative number n is looked up as -n under "NEG" and the four characters, blank
// included. Only the low 16 bits of a number count. Look-ups ignore letter case; the resource
// compiler stores names in upper case, and so they are enumerated.
//
// Threads: any. A null module has no resources.
#pragma once

#include "base/big_endian.h"
#include "platform/windows_api.h"
#include "resources/resource_source.h"

namespace qv {

// The bytes, which stay as long as the module is loaded; null data when there are none. By name
// when there is one (zero-terminated), else by number.
Bytes FindInModule(HMODULE module, ResourceTypeCode type, int32_t number, const char* name);

// Calls for each resource of the type (letter case ignored; 0: of all types) in the module's order,
// until the callback answers kStopWalk. A name is cut to 255 bytes; the code page is always 65001.
void WalkModule(HMODULE module, ResourceTypeCode type, SourceCallback callback, void* user_data);

// The type of a numbered platform type: 6 is "STRS", 16 "VERS"; 0 and numbers above 16 are "????".
ResourceTypeCode TypeOfPlatformNumber(uint32_t number);

}  // namespace qv

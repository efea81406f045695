// The two outputs: a pack for the stand-in of the platform, a script for the platform's own
// resource compiler.
#pragma once

#include <string>

#include "tools/resource_tool/problem.h"
#include "tools/resource_tool/resource_set.h"

namespace qvresource {

// The pack, all little-endian, offsets from its first byte:
//   8 bytes "QVRESPK1", a 4-byte count, then for each resource six numbers of 4 bytes:
//   type number (0: named), offset of the type's name (0: numbered), number (FFFFFFFF: named),
//   offset of the name (0: numbered), offset of the data (a multiple of 4), size of the data.
// Names are upper case and end with a NUL. Sorted: named types first, each group ascending, then by
// number.
ByteVector EncodePack(const ResourceSet& set);

// Writes the pack beside `path`, and to `path` the assembler source that puts it into the section
// ".qvres".
bool WritePack(const std::string& path, const ResourceSet& set, Problem& problem);

// Writes the bodies beside `path`, and to `path` the script that names them.
bool WriteScript(const std::string& path, const ResourceSet& set, Problem& problem);

// Writes a whole file.
bool WriteFile(const std::string& path, const std::string& bytes, Problem& problem);

}  // namespace qvresource

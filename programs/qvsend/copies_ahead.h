// Copies of all attachments but the last in the staging folder, made before the library makes its
// own over them. The library reports only that the last one could not be copied; of any other it
// would deliver the message without it.
#pragma once

#include <cstdint>
#include <string>

#include "programs/qvsend/outgoing.h"

namespace qvsend {

// The line that says which file cannot be copied and why; "" for none. After a failure no copy of
// this call is left.
std::string CopyAhead(const Letter& letter, const Outgoing& outgoing, uint32_t code_page);

// What it and the diagnosis afterwards (diagnosis.h) are made of:

// The path of the library's copy, in UTF-8.
std::string CopyPath(const OutgoingFile& file, uint32_t code_page);
// As the library makes it. Returns the system's error, 0 for none.
DWORD MakeCopy(const OutgoingFile& file, uint32_t code_page);
// "cannot copy FILE into FOLDER: WHY"; `error` 0 for a reason that is not known.
std::string CannotCopy(const AttachmentFile& file, DWORD error);

}  // namespace qvsend

// Menus of a module's resources, in the layout that resource compilers write: a header of two
// words (0, and how many bytes lie between it and the items), then the items of a level. An item is
// a word of flags, for all but a submenu a word with the command, and a text of 16-bit units that
// ends with 0; the items of a submenu follow it. MF_END marks the last item of a level.
//
// LoadMenuW (menus.h) is the caller in programs. The newer layout with help numbers (version 1) is
// not read.
#pragma once

#include <span>

#include "platform/host/control.h"
#include "platform/host/menus.h"

namespace host {

// The menu, which the caller destroys; null with ERROR_INVALID_DATA for what is no template whole,
// and with the failed call's error. Bytes behind the last item are not looked at.
QV_HOST_CONTROL HMENU MenuFromTemplate(std::span<const BYTE> bytes);

}  // namespace host

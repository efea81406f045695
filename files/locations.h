// Well-known folders.
#pragma once

#include <cstdint>

#include "base/errors.h"

// The user's temporary folder, without a trailing "\" (but "X:\" for a drive root). ZRErrTooLong
// when it does not fit into `size` bytes, ZRErrNotFound when the system names none. The buffer is
// empty after a failure.
ZRError ZRGetTempFolder(char* buffer, uint32_t size);

// Platform error numbers as framework error codes: the one place where they are translated.
#pragma once

#include <cstdint>

#include "base/errors.h"

namespace qv {

// The framework code of a platform error number (its low 16 bits count); 0 for 0. Framework codes
// from 4101 to 4128 pass through, any other number without a row is ZRErrUnexpected.
ZRError TranslateNativeError(uint32_t native);

}  // namespace qv

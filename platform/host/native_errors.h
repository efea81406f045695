// The machine's error numbers as Windows error numbers: one table for all calls.
#pragma once

#include "platform/host/types.h"

namespace host {

// ERROR_GEN_FAILURE for a number that the table does not have.
DWORD ErrorFromNative(int native);

}  // namespace host

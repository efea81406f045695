// What the library keeps in the program's resources, made ready for the commands that need it.
#pragma once

#include "programs/common/standard_streams.h"

namespace qvtool {

// The words of durations.
program::Trouble OpenResources();

// These and the character set tables.
program::Trouble LoadTables();

}  // namespace qvtool

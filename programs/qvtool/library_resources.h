// What the library keeps in the program's resources, made ready for the commands that need it.
#pragma once

#include "programs/common/standard_streams.h"

namespace qvtool {

// Binds the resources and loads the character set tables, through which their texts are read too.
program::Trouble LoadTables();

}  // namespace qvtool

// What runs when the library is loaded, and the paths that it learns then.
#pragma once

#include "platform/windows_api.h"

namespace qv {

struct ModuleState {
  HINSTANCE instance = nullptr;     // set at process attach, kept for the life of the library
  char module_path[MAX_PATH] = {};  // the library's own file
  char host_path[MAX_PATH] = {};    // the executable's
};
ModuleState& Module();

}  // namespace qv

// Runs at each loader notification. At process attach: binds the module's resources, empties the
// accelerator table, loads the character set tables. Always: refreshes both paths. Returns 1;
// loading never fails.
int ModuleStartup(HINSTANCE instance, DWORD reason);

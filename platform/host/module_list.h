// The ELF objects of the process. A module handle is the loader's link map of its object, which is
// also what dlopen gives.
#pragma once

#include <string>

#include "platform/host/types.h"

namespace host {

struct LoadedModule {
  HMODULE handle = nullptr;
  std::string file;         // native path
  uintptr_t load_base = 0;  // what is added to the addresses in the file
};

// The module of a handle; null is the executable. handle stays null when there is none.
LoadedModule FindModule(HMODULE handle);
// The module of a native path, or of a bare file name; letter case is ignored.
LoadedModule FindModuleByName(const std::string& name);

// The stand-in itself.
LoadedModule FindStandIn();

}  // namespace host

// The resources of the process's modules, out of the section ".qvres" of each module's own file.
#pragma once

#include "platform/host/resource_pack.h"
#include "platform/host/types.h"

namespace host {

// The resources of a loaded module; null for a handle that is none. The list lives as long as the
// module does.
const ResourceList* ResourcesOf(HMODULE module);
void ForgetResources(HMODULE module);

}  // namespace host

#include "platform/state_folder.h"

#include "platform/host/control.h"
#include "platform/native_files.h"

namespace platform {

std::string StateFolder() { return PlatformPath(host::StateDirectory()); }

}  // namespace platform

#include "platform/native_files.h"

#include <unistd.h>

#include "platform/host/control.h"
#include "platform/host/native_names.h"

namespace platform {

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

// Streams carry bytes anyway.
void UseBinaryStreams() {}

bool ErrorStreamIsTerminal() { return isatty(STDERR_FILENO) != 0; }

std::string PlatformPath(const std::string& native) { return host::PlatformName(native); }

std::string NativePath(const std::string& platform_path) { return host::NativeName(platform_path); }

}  // namespace platform

#include "platform/native_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>

#include "platform/host/control.h"
#include "platform/host/native_names.h"

namespace platform {

std::vector<std::string> Utf8Arguments(int argc, char** argv) {
  return argc > 0 ? std::vector<std::string>(argv + 1, argv + argc) : std::vector<std::string>();
}

// Streams carry bytes anyway.
void UseBinaryStreams() {}

void KeepStreamErrors() {
  std::signal(SIGPIPE, SIG_IGN);
  // The lowest free descriptor is the closed one, since those below it are open. Opened the wrong
  // way round it still fails.
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(stream, F_GETFD) >= 0) continue;
    open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
  }
}

bool ErrorStreamIsTerminal() { return isatty(STDERR_FILENO) != 0; }

std::string PlatformPath(const std::string& native) { return host::PlatformName(native); }

std::string NativePath(const std::string& platform_path) { return host::NativeName(platform_path); }

}  // namespace platform

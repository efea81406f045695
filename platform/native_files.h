// What programs need of the system they were started on: arguments in UTF-8, byte streams as they
// are, and file names between the shell's form and the one that the library understands.
#pragma once

#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace platform {

// The program's arguments without its name, in UTF-8 whatever the system's code page is.
std::vector<std::string> Utf8Arguments(int argc, char** argv);

// Standard input, output and error carry bytes, not lines.
void UseBinaryStreams();

// From here on a failing standard stream is an error that the writer or reader sees: output to a
// pipe that nobody reads does not end the program, and a stream that was closed by the starter is
// not taken over by the next file that is opened.
void KeepStreamErrors();

// True when standard error is a terminal (progress is shown only there).
bool ErrorStreamIsTerminal();

// Full path, in UTF-8, in the form of the Windows calls, of a file that a user named on the command
// line. "" when there is none. Where the system is Windows only the relative part is resolved.
std::string PlatformPath(const std::string& native);

// The reverse for showing a path to the user, in the form that the user's shell takes.
std::string NativePath(const std::string& platform_path);

}  // namespace platform

// The state directory: everything of the stand-in that lasts, or is shared between processes.
//
//   registry.txt   the registry            drive_c/   drive C:
//   debug.txt      debugger output         dde/       one socket per DDE service
//
// Native paths in UTF-8. Found once per process: QVSMAPI_HOME, else $XDG_STATE_HOME/qvsmapi, else
// ~/.local/state/qvsmapi.
#pragma once

#include <string>

namespace host {

// A path below the state directory, which is made when it is missing.
std::string StatePath(const std::string& name);

// Makes a folder and those above it. False when the last one is not there afterwards.
bool MakeFolders(const std::string& path);

// The machine's name of the user, without characters that no file name may have.
std::string UserName();

}  // namespace host

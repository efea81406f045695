// The shell's own folders, by the call that this system has for them: the one of "SHFOLDER.DLL" or
// "SHELL32.DLL", looked up on the first use, else the shell's item lists.
#pragma once

namespace qv {

// Gives the library back; the next look-up loads it anew.
void ReleaseShellLibrary();

}  // namespace qv

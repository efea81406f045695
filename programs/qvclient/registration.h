// What makes the library find the client: its launch command under the "qvp" URL scheme, and the
// entries of the default mail client.
#pragma once

#include <string>

namespace qvclient {

// Registers `program_path` (UTF-8), the bare path that the library starts; under the user's own
// classes where the machine's may not be written. Returns what went wrong, "" for nothing.
std::string RegisterCommand(const std::string& program_path);

// Removes the scheme, whoever registered it; success when there is none.
std::string UnregisterCommand();

// Makes the entries that the library expects to be there, and lets it register the client and
// itself. `library_path` "": the one beside the program.
std::string MakeDefaultClient(const std::string& library_path);

}  // namespace qvclient

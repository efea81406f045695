// Where programs keep what they receive when the user names no place.
#pragma once

#include <string>

namespace platform {

// UTF-8, in the form of the Windows calls: the stand-in's state directory; on Windows "Quorvantis"
// below the user's application data. "" when the system does not tell. It need not be there yet.
std::string StateFolder();

}  // namespace platform

// Text values of the registry, and the one that names the client.
//
// Texts are bytes of the system's code page.
#pragma once

#include <string>

#include "platform/windows_api.h"

namespace program {

// "" for a value that is not there or holds no text. `name` null: the key's default value.
std::string RegistryText(HKEY root, const std::string& path, const char* name);

// The key is made when it is missing.
LSTATUS SetRegistryText(HKEY root, const std::string& path, const char* name,
                        const std::string& text);

// The command that the library starts when no client runs, in UTF-8; "" for none.
std::string RegisteredCommand();

}  // namespace program

// The settings file of a program. Its name stands in the program's own resources and lies below the
// user's application data; reading and writing is app/settings.h.
#pragma once

#include <string>

namespace program {

// Makes the folder of the settings file and puts its path in force. False when the system does not
// tell where the user's application data are, or the path is too long: there are no settings then.
bool UseProgramSettings();

// A text of section "Programs"; UTF-8 of any kind survives.
std::string ReadProgramSetting(const char* key);
// An empty text removes the key. False when it could not be written.
bool WriteProgramSetting(const char* key, const std::string& text);

}  // namespace program

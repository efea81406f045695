// For platform/native_files.h: file names between the shell's form and that of the calls.
#pragma once

#include <string>

namespace host {

// "" for a native name that has no form in the calls.
__attribute__((visibility("default"))) std::string PlatformName(const std::string& native);
// "" for a path whose folder does not exist.
__attribute__((visibility("default"))) std::string NativeName(const std::string& platform_path);

}  // namespace host

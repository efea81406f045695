// The names that a loaded library exports, read from its own tables.
#pragma once

#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace mapi_test {

std::vector<std::string> ExportedSymbols(HMODULE module);

}  // namespace mapi_test

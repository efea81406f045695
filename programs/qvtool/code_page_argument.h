// A code page on the command line: its number or a charset name.
#pragma once

#include <optional>
#include <string>

#include "text/code_pages.h"

namespace qvtool {

// 1 to 65535 but for 20000, which means "none"; a name in any letter case. Nothing for all else.
std::optional<CodePage> CodePageOf(const std::string& argument);

// "" for an argument that CodePageOf takes, else what is wrong with it.
std::string WrongCodePage(const std::string& argument);

// The same for a code page whose text is lines of bytes: not UTF-16 or UTF-32.
std::string WrongByteCodePage(const std::string& argument);

// "932 (SHIFT_JIS)", "437".
std::string ShownCodePage(CodePage cp);

}  // namespace qvtool

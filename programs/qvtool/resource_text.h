// Types, names and errors of resource files as people read and write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "base/errors.h"
#include "resources/resource_source.h"

namespace qvtool {

// Four printable ASCII characters, the last ones blanks or left out, or 0x and eight hexadecimal
// digits. TypeText gives the first form where it can, blanks at the end included.
std::optional<qv::ResourceTypeCode> TypeOf(std::string_view text);
std::string TypeText(qv::ResourceTypeCode type);

// Names between UTF-8 and the code page of a file. What the system cannot convert is shown as it
// is; nothing for a name that the code page lacks or that has more than 255 bytes in it.
std::string NameText(const std::string& bytes, CodePage cp);
std::optional<std::string> NameBytes(const std::string& text, CodePage cp);

// "error 4702, no resource file, or a damaged one".
std::string ErrorMeaning(ZRError error);

}  // namespace qvtool

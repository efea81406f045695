// The user's language and country as a tag like "de-AT".
// Threads: any.
#pragma once

#include <cstdint>

namespace qv {

constexpr uint32_t kUserLanguageSize = 32;  // bytes, terminator included

// The ISO 639 name of the language, "-" and the ISO 3166 name of the country, as the platform gives
// them for the user; "en-US" when either cannot be had.
void GetUserLanguage(char (&tag)[kUserLanguageSize]);

}  // namespace qv

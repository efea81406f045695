// The user's language and country as a tag like "de-AT".
//
//   char tag[qv::kUserLanguageSize];
//   ZRGetLanguageTag(tag, sizeof tag);
//
// Threads: any.
#pragma once

#include <cstdint>

// The tag as it was when the process first asked, in UTF-8: at most size - 1 bytes of it and a
// terminator. Null, or a size of 0, gives nothing.
void ZRGetLanguageTag(char* output, uint32_t size);

namespace qv {

constexpr uint32_t kUserLanguageSize = 32;  // bytes, terminator included

// The ISO 639 name of the language, "-" and the ISO 3166 name of the country, as the platform gives
// them for the user; "en-US" when either cannot be had. Asks the platform each time.
void GetUserLanguage(char (&tag)[kUserLanguageSize]);

// ZRGetLanguageTag asks the platform again.
void ResetLanguageTagForTest();

}  // namespace qv

// The choice of a code page for a text whose receiver left it open.
#pragma once

#include <cstdint>

#include "text/code_pages.h"

namespace qv {

// The code page, of those with a table from Unicode, that loses the fewest characters of the text
// (characters above 127 that map to the replacement; in plain ASCII, where letters only lose their
// accents, all of them count). Of equals: the application code page; then those that are
// multi-byte, or not, as it is; then the lower script class; then the lower code page. The
// application code page when there is no table at all.
CodePage ChooseTargetCodePage(const char* input, uint32_t input_bytes, CodePage from);

}  // namespace qv

#include "app/debug_output.h"

#include <cstdarg>

#include "base/scratch_pool.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

void DebugPrintf(const char* format, ...) {
  qv::ScratchBlock text;
  if (text.data() == nullptr) return;
  va_list arguments;
  va_start(arguments, format);
  FormatTextList(text.data(), format, arguments);
  va_end(arguments);
  OutputDebugStringA(text.data());
}

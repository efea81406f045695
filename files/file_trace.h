// Trace lines of the file layer, by the console print. Off in a new process; nothing here switches
// them on, an application does.
//
//   qv::SetFileTrace(qv::kTraceOpens);
//   qv::TraceFile(qv::kTraceOpens, "ZRFile: Open(\"%s\")", path);
//
// Threads: any.
#pragma once

#include <cstdint>

namespace qv {

constexpr uint32_t kTraceOpens = 0x1;      // open, create, close, rename, volume information
constexpr uint32_t kTraceTransfers = 0x2;  // read, write, places, truncation, move

void SetFileTrace(uint32_t flags);

// Prints when one of the flags is on; otherwise nothing is formatted.
void TraceFile(uint32_t flags, const char* format, ...);

}  // namespace qv

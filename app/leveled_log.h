// The leveled log: diagnostic lines of components that say what they decided, each with a level.
//
//   LogAtLevel(4, "ZRCleanAddress attempting to normalize addr '%s'", address);
//   SetLeveledLogThreshold(5);  // now the line is seen in the debug output
//
// Levels: 0 matters most; the lines of addresses have 4 and 5. A line carries no line end.
// Threads: any; hook and threshold are each read and stored whole.
#pragma once

#include <cstdarg>
#include <cstdint>

namespace qv {

constexpr int32_t kDefaultLogThreshold = 3;

// Takes every line, whatever its level: a hook of one's own decides by itself what it shows. The
// arguments are valid during the call.
using LeveledLogHook = void (*)(int32_t level, const char* format, va_list arguments);

// Puts a hook in force; null puts the default back, which writes the line and a line end to the
// debug output when the level is at most the threshold.
void SetLeveledLogHook(LeveledLogHook hook);

// The threshold of the default hook.
int32_t LeveledLogThreshold();
void SetLeveledLogThreshold(int32_t threshold);

// Gives a line to the hook in force. Formats follow FormatText's rules.
void LogAtLevel(int32_t level, const char* format, ...);

}  // namespace qv

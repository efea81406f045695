// Accelerators in words: each string of list 960 names a command and the keys that stand for it.
//
//   description := command { option }
//   option      := "w" flags key [ text ]       the keys on this platform
//                | ( "m" | "u" ) 4 characters [ text ]      those on others, skipped
//   flags, key  := 2 hexadecimal digits each    the platform's flags, a virtual key code
//   text        := '"' { character | "\" any } '"'          what a menu shows for the key
//
//   1001w0B43              Ctrl+C for command 1001: 01 a key code, 02 no highlight, 08 Ctrl
//   1002w0170"F1"          F1, whose key code alone would show as a letter
//   1003m0043w0B58w052D    two short-cuts; the first one is shown
//
// Flags: 01 virtual key, 02 no highlight, 04 Shift, 08 Ctrl, 10 Alt. A menu puts the names of the
// modifiers in front by itself, so the text is that of the key alone.
//
// Errors: a line of debug output with the part that was not understood; what was read before it
// stays. A command is a number up to 65535. Entries that find the table full are left out; one
// whose text finds no memory has none. Threads: the thread that runs the user interface.
#pragma once

#include <cstdint>

// Adds the entries of one description to the table: one for each "w".
void ParseAccelerator(const char* text);

namespace qv {

constexpr int32_t kAcceleratorList = 960;

// Empties the table and fills it from list 960, read until the list ends or the table is full, but
// no further than to string kMostDescriptions.
void FillAccelerators();

}  // namespace qv

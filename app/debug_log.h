// The debug log file: in the folder of the application, named by string 2579 of the module that is
// the application.
//
//   if (qv::OpenDebugLog()) DebugPrint("started\n");
//
// The first opening in a process keeps the log of the run before as a backup: its extension becomes
// ".OLD" (".OLD" is appended to a name without one), and an older backup goes. Every opening writes
// the UTF-8 byte-order mark and then appends. Text is gathered until a message ends with a line end
// and is written then; line ends in the file are CR LF, as in every text file of the platform.
// Threads: any. Lock order: the log's lock is held around file calls only.
#pragma once

#include <string_view>

#include "platform/windows_api.h"

namespace qv {

// `module` is the one with the string; null is the program itself. False when the log cannot be
// opened (no such string, a path that is too long, a file that cannot be written); it stays closed
// then. True without doing anything when it is open already.
bool OpenDebugLog(HMODULE module = nullptr);
// Writes what is gathered and closes the log.
void CloseDebugLog();
bool DebugLogIsOpen();

// Returns text.size() when the text was taken, 0 when the log is closed or could not be written
// (the text is lost then, and the log stays open).
uint32_t WriteDebugLog(std::string_view text);

// Moves the log to a name made of the local date and time, such as "20260307_0905.OLD", in the same
// folder. A log that is open is opened again, empty. False when there is no log to move, the name
// is taken, or the file cannot be moved; the log is as it was then.
bool KeepDatedDebugLog();

// Closes the log; the next opening is the first one again.
void ResetDebugLogForTest();

}  // namespace qv

// The run of an application that is built on the library: what is set up before its main function
// and put away after it.
//
//   int WINAPI WinMain(HINSTANCE instance, HINSTANCE previous, LPSTR command_line, int show) {
//     ZRSetApplicationMain(Main);
//     ZRApplicationEntry(instance, previous, command_line, show);
//     return 0;
//   }
//
// Order: the filter for unhandled faults; a previous instance gets the keyboard focus instead of a
// run; with the setting "DEBUG" on, the console window and the debug log; the resources and
// resource files, an empty accelerator table, the character set tables; the console's input mode;
// the main function. Nothing of it fails: what cannot be had is missing later. Threads: the one
// that starts the program, once at a time.
#pragma once

#include "platform/windows_api.h"

// What the application does; null, as at first, does nothing.
void ZRSetApplicationMain(void (*application_main)());

// Runs the application. 1 after a run, 0 when a previous instance had the focus given.
int ZRRunApplication(HINSTANCE instance, HINSTANCE previous, const char* command_line, int show);

// The same, and posts the quit message to the calling thread after a run.
int ZRApplicationEntry(HINSTANCE instance, HINSTANCE previous, const char* command_line, int show);

namespace qv {

// As the system started the program; zeros before the run.
struct ApplicationState {
  HINSTANCE instance = nullptr;
  HINSTANCE previous = nullptr;
  const char* command_line = nullptr;  // the system's; not copied
  int show = 0;
  void (*main)() = nullptr;
};
const ApplicationState& Application();

}  // namespace qv

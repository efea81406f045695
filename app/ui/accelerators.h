// The accelerator table: at most 100 keyboard short-cuts, each with its command and the text shown
// beside it in menus.
//
// One table per process; touched by the thread that runs the user interface.
#pragma once

#include <cstdint>

namespace qv {

struct Accelerator {
  uint8_t flags = 0;  // the platform's accelerator flags
  uint8_t key = 0;    // virtual key code
  uint16_t command = 0;
  char* display_text = nullptr;  // owned, from the allocation hook; null when there is none
};

constexpr uint32_t kMostAccelerators = 100;

struct AcceleratorTable {
  Accelerator entries[kMostAccelerators];
  uint32_t count = 0;
};

// Makes ClearAccelerators what the layers below empty the table with (GlobalHooks().
// clear_accelerators); for the start of an application.
void InstallAccelerators();

// The process's table.
AcceleratorTable& Accelerators();

}  // namespace qv

// Releases every display text and empties the table.
void ClearAccelerators();

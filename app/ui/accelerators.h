// The accelerator table: at most 100 keyboard short-cuts, each with its command and the text shown
// beside it in menus; and the platform's table, which a message loop asks.
//
//   qv::CreatePlatformAccelerators();
//   if (!TranslateAcceleratorW(window, qv::PlatformAccelerators(), &message)) ...
//
// The platform's table is made once, from the entries that there are then; a table that is filled
// anew afterwards changes the texts only, until ReleasePlatformAccelerators. Flag 80, with which
// the platform marks the end of its own tables, is left out of it. What the entries are read from:
// accelerator_descriptions.h.
//
// One table per process; touched by the thread that runs the user interface.
#pragma once

#include <cstdint>

#include "platform/windows_api.h"

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

// Makes the platform's table when there is none yet. False when there are no entries, or when the
// platform refuses; the application is without short-cuts then.
bool CreatePlatformAccelerators();
// Null when there is none.
HACCEL PlatformAccelerators();
void ReleasePlatformAccelerators();

}  // namespace qv

// Releases every display text and empties the table.
void ClearAccelerators();

// The first entry with that command, null when there is none. It is good until the table changes.
const qv::Accelerator* FindAccelerator(int32_t command);

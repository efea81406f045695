// The clock of the stand-in: that of the machine, or one that a test has frozen.
#pragma once

#include "platform/host/types.h"

namespace host {

bool TicksFrozen();

// Lets time pass: waits, or moves a frozen clock on.
void PassTime(DWORD milliseconds);

// Milliseconds of the machine's clock, whatever a test did to the ticks.
uint64_t RealMilliseconds();

// Units of 100 nanoseconds; stands still with the ticks.
QV_HOST_API uint64_t InterruptTime();

}  // namespace host

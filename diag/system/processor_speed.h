// The clock speed of the processor, as the registry has it.
//
//   uint32_t megahertz = ZRProcessorSpeed(kProcessorSpeedBest, false);  // 0 when unknown
//
// The registry value is "~MHz" (or, when that is absent, "~Mhz", then "~mhz") of
// HKEY_LOCAL_MACHINE\HARDWARE\DESCRIPTION\System\CentralProcessor\0. It is read once, on the first
// call. Threads: any. Errors: a key or value that cannot be read, or is no 32-bit number, gives 0.
#pragma once

#include <cstdint>

// Kinds of speed. The first two are never filled: they stay 0.
constexpr uint32_t kProcessorSpeedNominal = 0;
constexpr uint32_t kProcessorSpeedMeasured = 1;
constexpr uint32_t kProcessorSpeedRegistry = 2;
// This and every higher kind: the registry speed, or the nominal one when that is 0.
constexpr uint32_t kProcessorSpeedBest = 3;

// In MHz. With `refresh` the registry is read again first.
uint32_t ZRProcessorSpeed(uint32_t kind, bool refresh);

namespace qv {
void ResetProcessorSpeedForTest();
}  // namespace qv

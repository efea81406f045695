// The system's interrupt time, which no documented call of older systems gives.
#pragma once

#include <cstdint>

namespace platform {

// Units of 100 nanoseconds since the system was started. Threads: any.
uint64_t InterruptTime();

}  // namespace platform

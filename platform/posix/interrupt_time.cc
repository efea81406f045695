#include "platform/interrupt_time.h"

#include "platform/host/clock.h"

namespace platform {

uint64_t InterruptTime() { return host::InterruptTime(); }

}  // namespace platform

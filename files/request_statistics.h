// How often each kind of file request ran and how long it took: the record behind
// ZRDumpWorkerStatistics. Codes outside 0 to 23 are not counted. Threads: any (file_request.h).
#pragma once

#include <cstdint>

namespace qv {

// Seconds, but for the count.
struct RequestStatistics {
  double count, latest, total, longest;
};

void CountRequest(uint32_t operation, double seconds);
RequestStatistics RequestStatisticsOf(uint32_t operation);
void ResetRequestStatistics();

// "<Other>" for a code without a name.
const char* RequestName(uint32_t operation);

}  // namespace qv

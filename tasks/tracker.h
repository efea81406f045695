// Reports operations that take longer than they should.
//
//   const uint64_t start = ZRTrackStart();
//   CompactMailbox(box);
//   ZRTrackEnd(start, "compacting");
//
// The limit is "TrackLimit" of section "QVSetup", microseconds; 0, the default, and negative values
// turn tracking off. It is read once, as soon as there is a settings file. Threads: any.
#pragma once

#include <cstdint>

// Microseconds now, 0 when tracking is off.
uint64_t ZRTrackStart();

// When more than the limit has passed since `start`, writes two lines with the name (null: empty)
// and the time through ZRMessage, and a traceback of the caller. A start of 0 is ignored: tracking
// was off then.
void ZRTrackEnd(uint64_t start, const char* name);

namespace qv {

// The setting is read again at the next call.
void ResetTrackerForTest();

}  // namespace qv

// Universal timestamps in ISO 8601 form.
//
//   char text[qv::kISOTimeSize];
//   ZRFormatISOTime(now, paris, text, sizeof text);      // "2026-11-25T12:00:00Z"
//
// Threads: as time_zones.h.
#pragma once

#include <cstdint>

namespace qv {
constexpr uint32_t kISOTimeSize = 21;  // bytes, terminator included
}

// Writes the local time of the zone as universal time, zero-terminated and cut to the buffer, and
// returns its length. A time that cannot be converted (ZRConvertZoneTime) is written as it is, with
// the "Z" all the same. A size of 0 writes nothing.
uint32_t ZRFormatISOTime(uint32_t time, uint32_t zone, char* buffer, uint32_t size);

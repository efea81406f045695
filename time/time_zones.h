// Time zones: the offsets of a zone at a time, and local times of one zone in another.
//
//   uint32_t paris = qv::FindTimeZone("Europe/Paris");                     // 32769028
//   ZRZoneOffsets offsets;
//   if (ZRTimeZoneOffsets(now, qv::TimeKind::kLocal, paris, &offsets)) ... // total 3600 or 7200
//   uint32_t there = ZRConvertZoneTime(now, paris, new_york);
//
// Times are framework times (dates.h): local ones show what a clock of the zone shows, universal
// ones what one in UTC shows. A zone id holds a zone number in bits 16 to 31, a rule group in bits
// 8 to 15 (for information; 1: none) and in bits 0 to 7 the standard offset in quarter hours,
// signed. Zone number 0x0ACE makes an id of that fixed offset, for which no data are needed.
//
// The data are resources of type "ZRtz", read when a zone is needed first: 98 the version record
// (version_layout below), 99 the list of offered zones (zone_list.h), 100 the rules
// (tz_parser.h). They are the library's own unless an open resource file has a good version record
// with a higher data version, or the library has none; then all three come from that file.
// Resources that are missing leave the data empty: look-ups fail.
//
// Taken here: of a jump of the clocks that a local time cannot exist in, or exists twice in, the
// rules of zone_changes.h decide; a file's version record without its magic and format counts as
// none, and the version in use is that of the copy in use.
//
// Threads. Tasks of the kernel call anything; while one loads the data or works out a zone, which
// takes some milliseconds, others run, and those that need the result wait; when that task is
// killed over it, one that waits takes its place (copies of resources that it had locked stay).
// Other threads get answers about zones that were worked out before, and are refused like a missing
// zone otherwise. Without a kernel any thread calls anything and waits likewise. Reloading waits
// until no call is inside.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/big_endian.h"
#include "memory/handles.h"
#include "time/tz_data.h"
#include "time/zone_changes.h"

struct ZRZoneOffsets {
  int32_t total;             // standard + saving
  int32_t standard, saving;  // seconds
};

constexpr uint32_t kUniversalZone = 0x0ACE0000;  // fixed offset 0

// --- look-up ---

// The id of the first offered zone with exactly that name (a length-prefixed string); 0 for none.
uint32_t ZRFindTimeZone(const uint8_t* name);

// The offsets in effect. False, and *offsets all 0, for a zone that is not offered or has no rules,
// and for a caller that is refused (see above).
bool ZRTimeZoneOffsets(uint32_t time, qv::TimeKind kind, uint32_t zone, ZRZoneOffsets* offsets);

// A local time of one zone as a local time of another. The time comes back as it is when an id is
// 0, when it is within three days of either end of the range, and when a zone is missing.
uint32_t ZRConvertZoneTime(uint32_t time, uint32_t from, uint32_t to);

// --- the data ---

// Reads the data, once; what needs them calls it. False only for a caller that is refused.
bool ZRLoadTimeZones();
// Forgets them and reads them again. False as above.
bool ZRReloadTimeZones();
// Forgets them and gives back their memory, for the end of the process: nobody may be inside a
// call. What needs them later reads them again.
void ZRReleaseTimeZones();

// Of the data in use, such as 202606; 0 when there are none.
uint32_t ZRTimeZoneDataVersion();

// Adds the rules of a text to the data. True when it was read to its end without an error; errors
// are written to the debug output as "TZDataParser: %s\r\n". The handle is locked meanwhile.
bool ZRParseTimeZones(ZRHandle text, qv::TimeZoneData* data);

namespace qv {

// The version record.
namespace version_layout {
constexpr Field kMagic{0, 4}, kFormat{4, 4}, kDataVersion{8, 4};
constexpr uint32_t kSize = 12;
constexpr uint32_t kGoodMagic = 0xBAADF00D, kGoodFormat = 1;
}  // namespace version_layout

constexpr int32_t kZoneVersionResource = 98, kZoneListResource = 99, kZoneRulesResource = 100;

constexpr bool IsFixedOffset(uint32_t zone) { return zone >> 16 == kUniversalZone >> 16; }

// The same by a text of any kind.
uint32_t FindTimeZone(std::string_view name);

// The offered zones in their order, `index` from 0; false behind the last. One that shares its id
// with an earlier one counts too.
bool GetOfferedZone(size_t index, uint32_t* zone);

// What the data take in memory.
struct TimeZoneMemory {
  size_t data = 0;   // rules, zone lines and names
  size_t zones = 0;  // the registry with the changes of the zones that were used
};
TimeZoneMemory TimeZoneMemoryHeld();

}  // namespace qv

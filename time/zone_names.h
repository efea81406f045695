// What a zone is called, for people.
//
//   Str255 name;
//   ZRTimeZoneName(name, sizeof name, 32769028, qv::ZoneNameForm::kBest);   // "(GMT+1:00) Paris"
//   ZRTimeZoneName(name, 8, 32769028, qv::ZoneNameForm::kNumeric);          // "+0100", in winter
//
// The names stand in string 131 of the resources, a zone list (zone_list.h), in the system's code
// page. A caller may give a list of its own instead.
//
// Threads and look-ups: as time_zones.h, which "now" is taken from the local clock.
#pragma once

#include <cstdint>

#include "text/code_pages.h"

namespace qv {

enum class ZoneNameForm { kBest, kNumeric };

constexpr int32_t kZoneNamesString = 131;
constexpr uint32_t kNumericZoneNameSize = 7;  // the least size of a buffer

}  // namespace qv

// Writes a length-prefixed name into a buffer of `size` bytes, its length byte included. The best
// form is the display name: the first entry of the list with that id and a name, cut to the buffer.
// Without one, in a buffer of less than 255 bytes, or asked for the numeric form, it is the zone's
// offset now: '+', hours and minutes in two digits each; '-' also for an offset of 0 ("-0000").
//
// `names` null: the resources. False, and an empty name, when neither can be had: a zone that is
// not known, a buffer of less than 7 bytes for an offset. A size of 0 writes nothing.
bool ZRTimeZoneName(uint8_t* name, uint32_t size, uint32_t zone, qv::ZoneNameForm form,
                    const char* names = nullptr, CodePage cp = kWesternWindows);

// The same; "UNKNOWN", cut to the buffer, in place of a failure.
void ZRTimeZoneNameOrUnknown(uint8_t* name, uint32_t size, uint32_t zone, qv::ZoneNameForm form,
                             const char* names = nullptr, CodePage cp = kWesternWindows);

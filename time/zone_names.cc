#include "time/zone_names.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

#include "platform/windows_api.h"
#include "resources/locked_handle.h"
#include "resources/string_resources.h"
#include "text/formatter.h"
#include "text/length_prefixed.h"
#include "time/calendar.h"
#include "time/dates.h"
#include "time/time_zones.h"
#include "time/zone_list.h"

namespace qv {
namespace {

constexpr uint32_t kLeastNameSize = 255;  // of a buffer for a display name
constexpr char kUnknown[] = "UNKNOWN";

// The bytes that a text may have behind its length byte.
int32_t RoomIn(uint32_t size) {
  return static_cast<int32_t>(std::min<uint32_t>(size - 1, kMostLStr));
}

bool FindInList(std::string_view list, CodePage cp, uint32_t zone, uint8_t* name, uint32_t size) {
  ZoneListReader reader(list, cp);
  ZoneListEntry entry;
  while (reader.Next(entry)) {
    if (entry.id != zone) continue;
    entry.RemoveControlCharacters();
    SetLStr(name, RoomIn(size), entry.bytes.data(), static_cast<int32_t>(entry.size));
    return name[0] != 0;
  }
  return false;
}

bool FindInResources(uint32_t zone, uint8_t* name, uint32_t size) {
  const auto cp = static_cast<CodePage>(GetACP());
  ZRHandle handle = ZRLoadStringHandle(kZoneNamesString, cp);
  bool found = false;
  {
    const LockedHandle list(handle);
    const auto* text = reinterpret_cast<const char*>(list.data());
    found = text != nullptr && FindInList(text, cp, zone, name, size);
  }
  ZRDisposeHandle(&handle);
  return found;
}

bool FormatOffset(uint32_t zone, uint8_t* name, uint32_t size) {
  ZRZoneOffsets offsets;
  if (size < kNumericZoneNameSize ||
      !ZRTimeZoneOffsets(ZRGetCurrentTime(), TimeKind::kLocal, zone, &offsets)) {
    return false;
  }
  const int64_t seconds = std::abs(int64_t{offsets.total});
  const auto hours = static_cast<int>(seconds / kSecondsPerHour % 24);
  const auto minutes = static_cast<int>(seconds % kSecondsPerHour / kSecondsPerMinute);
  char text[kNumericZoneNameSize];
  FormatTextN(text, sizeof text - 1, "%c%02d%02d", offsets.total > 0 ? '+' : '-', hours, minutes);
  CStrToLStr(name, RoomIn(size), text);
  return true;
}

}  // namespace
}  // namespace qv

bool ZRTimeZoneName(uint8_t* name, uint32_t size, uint32_t zone, qv::ZoneNameForm form,
                    const char* names, CodePage cp) {
  if (size == 0) return false;
  name[0] = 0;
  if (form == qv::ZoneNameForm::kBest && size >= qv::kLeastNameSize) {
    const bool found = names != nullptr ? qv::FindInList(names, cp, zone, name, size)
                                        : qv::FindInResources(zone, name, size);
    if (found) return true;
  }
  return qv::FormatOffset(zone, name, size);
}

void ZRTimeZoneNameOrUnknown(uint8_t* name, uint32_t size, uint32_t zone, qv::ZoneNameForm form,
                             const char* names, CodePage cp) {
  if (size == 0 || ZRTimeZoneName(name, size, zone, form, names, cp)) return;
  qv::CStrToLStr(name, qv::RoomIn(size), qv::kUnknown);
}

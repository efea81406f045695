#include "time/iso_time.h"

#include "text/formatter.h"
#include "time/dates.h"
#include "time/time_zones.h"

uint32_t ZRFormatISOTime(uint32_t time, uint32_t zone, char* buffer, uint32_t size) {
  if (size == 0) return 0;
  ZRDate date;
  ZRTimeToDate(ZRConvertZoneTime(time, zone, kUniversalZone), &date);
  return FormatTextN(buffer, size - 1, "%04d-%02d-%02dT%02d:%02d:%02dZ", int{date.year},
                     int{date.month}, int{date.day}, int{date.hour}, int{date.minute},
                     int{date.second});
}

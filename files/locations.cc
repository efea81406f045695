#include "files/locations.h"

#include <cstring>

#include "files/paths.h"
#include "platform/windows_api.h"

ZRError ZRGetTempFolder(char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return ZRErrTooLong;
  buffer[0] = 0;
  char path[MAX_PATH + 2] = {};  // the longest that the platform gives has MAX_PATH + 1 characters
  const DWORD length = GetTempPathA(sizeof path, path);
  if (length == 0) return ZRErrNotFound;
  if (length >= sizeof path) return ZRErrTooLong;
  ZRPathNormalize(path);
  const size_t bytes = std::strlen(path) + 1;
  if (bytes > size) return ZRErrTooLong;
  std::memcpy(buffer, path, bytes);
  return ZRErrNone;
}

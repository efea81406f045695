#include "app/settings.h"

#include <cstring>

#include "base/lock_object.h"
#include "base/never_destroyed.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr size_t kPathSize = 255;  // terminator included

struct SettingsState {
  LockObject lock;
  // Written once under the lock, and by SetSettingsPath before a second thread runs; read after
  // the lock was taken once.
  bool established = false;
  char path[kPathSize] = {};
};

// Settings are read until the last thread ends, so the lock is never destroyed.
SettingsState& State() {
  static constinit NeverDestroyed<SettingsState> state;
  return state.value;
}

// The path, or null where there is no settings file.
const char* PathOrNull() {
  const char* path = SettingsPath();
  return path[0] == 0 ? nullptr : path;
}

}  // namespace

const char* SettingsPath() {
  SettingsState& state = State();
  ScopedLock hold(state.lock);
  if (!state.established) {
    state.established = true;
    const int length =
        LoadStringA(GetModuleHandleA(nullptr), kSettingsPathString, state.path, kPathSize);
    if (length <= 0) state.path[0] = 0;
  }
  return state.path;
}

bool SetSettingsPath(const char* path) {
  if (path == nullptr) return false;
  const size_t length = std::strlen(path);
  if (length >= kPathSize) return false;
  SettingsState& state = State();
  ScopedLock hold(state.lock);
  std::memmove(state.path, path, length + 1);
  state.established = true;
  return true;
}

void ResetSettingsForTest() {
  SettingsState& state = State();
  ScopedLock hold(state.lock);
  state.established = false;
  state.path[0] = 0;
}

int32_t ReadSetting(const SettingKey& key) { return ReadSetting(key, key.default_number); }

int32_t ReadSetting(const SettingKey& key, int32_t computed_default) {
  return ReadSettingInt(key.section, key.key, computed_default);
}

uint32_t ReadSettingText(const SettingKey& key, char* buffer, uint32_t size) {
  return ReadSettingString(key.section, key.key, key.default_text, buffer, size);
}

bool WriteSetting(const SettingKey& key, int32_t value) {
  char text[16];
  FormatTextN(text, sizeof text - 1, "%d", value);
  return WriteSettingString(key.section, key.key, text) != 0;
}

}  // namespace qv

uint32_t ReadSettingString(const char* section, const char* key, const char* default_text,
                           char* buffer, uint32_t size) {
  if (buffer == nullptr || size == 0) return 0;
  if (default_text == nullptr) default_text = "";
  const char* path = qv::PathOrNull();
  if (path == nullptr) return FormatTextN(buffer, size - 1, "%s", default_text);
  return GetPrivateProfileStringA(section, key, default_text, buffer, size, path);
}

int32_t ReadSettingInt(const char* section, const char* key, int32_t default_value) {
  const char* path = qv::PathOrNull();
  if (path == nullptr) return default_value;
  return static_cast<int32_t>(GetPrivateProfileIntA(section, key, default_value, path));
}

int32_t WriteSettingString(const char* section, const char* key, const char* value) {
  const char* path = qv::PathOrNull();
  return path == nullptr ? 0 : WritePrivateProfileStringA(section, key, value, path);
}

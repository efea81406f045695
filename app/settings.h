// The settings file: sections in square brackets, key=value lines, kept by the platform's
// private-profile calls.
//
//   int32_t limit = qv::ReadSetting(qv::setting::kCachedIOLimit);
//   int32_t other = ReadSettingInt("Section", "Key", 128);   // keys of a program's own
//
// The file's path is string 2578 of the host executable (not of this library), at most 254
// characters, loaded on the first call of any operation and never again. Where that string is
// missing or empty there is no settings file: reads yield their default, writes do nothing, and the
// platform is not called. A bare name would be looked for in the Windows folder, so a program
// either has a full path in its resources or resolves it and calls SetSettingsPath first.
// Threads: any.
#pragma once

#include <cstdint>

#include "app/setting_keys.h"

// Reads a text of at most size - 1 characters into buffer; returns the characters stored. A null
// default is the empty text; without a buffer 0 is returned.
uint32_t ReadSettingString(const char* section, const char* key, const char* default_text,
                           char* buffer, uint32_t size);
int32_t ReadSettingInt(const char* section, const char* key, int32_t default_value);
// Returns the platform's result, 0 where there is no settings file.
int32_t WriteSettingString(const char* section, const char* key, const char* value);

namespace qv {

// A number of the table, with its default or with one that the reader has worked out.
int32_t ReadSetting(const SettingKey& key);
int32_t ReadSetting(const SettingKey& key, int32_t computed_default);
// A text of the table; as ReadSettingString.
uint32_t ReadSettingText(const SettingKey& key, char* buffer, uint32_t size);
// Stores a number as decimal text; true when it was written.
bool WriteSetting(const SettingKey& key, int32_t value);

// String of the host executable that names the settings file.
constexpr uint32_t kSettingsPathString = 2578;
// String of the host executable that names the debug log file.
constexpr uint32_t kDebugLogString = 2579;

// Our own addition, for a program whose path is known only when it runs: from now on the file is
// `path` (null, or more than 254 characters, is refused: false). To be called before a second
// thread reads settings.
bool SetSettingsPath(const char* path);
// The path in force; establishes it when that has not happened yet.
const char* SettingsPath();
void ResetSettingsForTest();

}  // namespace qv

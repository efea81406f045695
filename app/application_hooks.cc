#include "app/application_hooks.h"

#include "app/debug_output.h"
#include "app/settings.h"
#include "base/hooks.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

ClockSettings ReadClockSettings() {
  return {.use_performance_counter = ReadSetting(setting::kUsePerformanceCounter),
          .minimum_frequency_100_khz = ReadSetting(setting::kLeastCounterFrequency)};
}

}  // namespace

void InstallApplicationHooks() {
  Hooks& hooks = GlobalHooks();
  hooks.read_clock_settings = ReadClockSettings;
  hooks.write_debug_text = [](const char* text) { DebugPrint("%s", text); };
  hooks.write_debugger_text = [](const char* text) { OutputDebugStringA(text); };
}

}  // namespace qv

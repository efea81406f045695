#include "tasks/kernel_settings.h"

#include <algorithm>
#include <utility>

#include "app/debug_output.h"
#include "app/settings.h"
#include "diag/system/system_record.h"
#include "tasks/kernel_state.h"

namespace qv {
namespace {

constexpr uint32_t kSleepBound = 1001;           // values from here on are no sleeps
constexpr uint32_t kKeepThreshold = 0xFFFFFFFE;  // -2

void SetSleeps(int32_t sleep, int32_t idle_sleep) {
  TheKernel().settings.sleep = sleep;
  TheKernel().settings.idle_sleep = idle_sleep;
}

void ResetParams() {
  KernelConfiguration& configuration = TheKernelConfiguration();
  ZRTaskSetFriendliness(configuration.friendliness);
  configuration.longest_latency = 0;
  configuration.trace_latency = 1;
  configuration.io_yield = static_cast<uint16_t>(ReadSetting(setting::kIOYield));
}

void ReportSleeps(const KernelSettings& settings) {
  if (settings.sleep != kNeverSleep) {
    DebugPrint("ZRTask: Sleep time (friendliness) set to %u ms.\n", settings.sleep);
  }
  if (settings.idle_sleep == kNeverSleep) {
    DebugPrint("ZRTask: Idle sleep time set to NEVER.\n");
  } else if (settings.idle_sleep != kAutomaticSleep) {
    DebugPrint("ZRTask: Idle sleep time set to %u ms.\n", settings.idle_sleep);
  }
}

}  // namespace

KernelSettings ReadKernelSettings() {
  KernelSettings settings;
  settings.hot_limit = ReadSetting(setting::kHotLimit);
  settings.hot_limit_per_task = ReadSetting(setting::kHotLimitPerTask);
  settings.hot_cycle = ReadSetting(setting::kHotCycle);
  settings.use_parked_lists = ReadSetting(setting::kUseParkedTasks) == 1;
  settings.trace = ReadSetting(setting::kTaskTrace);
  settings.check_stacks = ReadSetting(setting::kTaskDiagnostics) != 0;
  // Once the default of "Sleep" on machines with several processors, which is now never.
  if (ZRSystemProcessors() > 1) static_cast<void>(ReadSetting(setting::kMultiprocessorSleep));
  settings.sleep = std::min(ReadSetting(setting::kSleep), KernelSettings::kLongestSleep);
  settings.idle_sleep = std::min(ReadSetting(setting::kIdleSleep), KernelSettings::kLongestSleep);
  // Negative times mean nothing but the choices.
  if (settings.sleep < 0) settings.sleep = kNeverSleep;
  if (settings.idle_sleep < kAutomaticSleep) settings.idle_sleep = kAutomaticSleep;
  ReportSleeps(settings);
  return settings;
}

}  // namespace qv

void ZRTaskGetParams(KernelParams* params) {
  if (params == nullptr) return;
  const qv::KernelConfiguration& configuration = qv::TheKernelConfiguration();
  *params = {.sleep = static_cast<uint32_t>(qv::TheKernel().settings.sleep),
             .idle_sleep = static_cast<uint32_t>(qv::TheKernel().settings.idle_sleep),
             .longest_latency = configuration.longest_latency,
             .trace_latency = configuration.trace_latency,
             .io_yield = configuration.io_yield};
}

void ZRTaskSetParams(const KernelParams* params) {
  if (params == nullptr) {
    qv::ResetParams();
    return;
  }
  qv::KernelSettings& settings = qv::TheKernel().settings;
  qv::KernelConfiguration& configuration = qv::TheKernelConfiguration();
  if (params->sleep < qv::kSleepBound) settings.sleep = static_cast<int32_t>(params->sleep);
  if (params->idle_sleep < qv::kSleepBound) {
    settings.idle_sleep = static_cast<int32_t>(params->idle_sleep);
  }
  if (params->longest_latency != qv::kKeepThreshold) {
    configuration.longest_latency = params->longest_latency;
  }
  configuration.trace_latency = params->trace_latency;
  configuration.io_yield = params->io_yield;
}

void ZRTaskSetFriendliness(int32_t mode) {
  int32_t& friendliness = qv::TheKernelConfiguration().friendliness;
  switch (mode) {
    case 0:
      friendliness = 0;
      qv::SetSleeps(kNeverSleep, kNeverSleep);
      return;
    case 2:
      friendliness = 2;
      qv::SetSleeps(1, kAutomaticSleep);
      return;
    default:
      friendliness = 1;
      qv::SetSleeps(kNeverSleep, kAutomaticSleep);
  }
}

int32_t ZRTaskGetFriendliness() { return qv::TheKernelConfiguration().friendliness; }

ZRIdleHook ZRTaskSetIdleHook(ZRIdleHook hook) {
  return std::exchange(qv::TheKernelConfiguration().idle_hook, hook);
}

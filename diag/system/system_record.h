// The machine that the library runs on: platform, version, processors.
//
//   if (ZRSystemFlags(kSystemWorkersAllowed | kSystemThreadsAvailable) == ...) StartWorker();
//
// The record is made on the first use of any accessor (the library's start-up makes that early) and
// never changes. Threads: any; it is made exactly once. Errors: a system that does not tell its
// version has platform kPlatformUnknown and version 0.
#pragma once

#include <cstdint>

// Platforms.
constexpr int32_t kPlatformUnknown = -1;
constexpr int32_t kPlatformWin32s = 3;
constexpr int32_t kPlatformWindows95 = 4;  // the 95/98 family
constexpr int32_t kPlatformNt = 5;         // the NT family

// Flags.
constexpr uint32_t kSystemWorkersAllowed = 0x08;    // always set
constexpr uint32_t kSystemThreadsAvailable = 0x10;  // every known platform
constexpr uint32_t kSystemNtFamily = 0x20;

struct SystemRecord {
  uint32_t valid;  // 1
  int32_t platform;
  uint32_t reserved;    // 0
  uint32_t version;     // 6001 for 6.1; 0 when unknown
  uint32_t processors;  // of the system information
  uint32_t flags;
};
static_assert(sizeof(SystemRecord) == 24);

uint32_t ZRSystemValid();
int32_t ZRSystemPlatform();
uint32_t ZRSystemVersion();
uint32_t ZRSystemProcessors();
// The flags of `mask` that are set.
uint32_t ZRSystemFlags(uint32_t mask);

namespace qv {

// What the system answers about its version.
struct VersionAnswer {
  bool known;         // false: nothing below means anything
  uint32_t platform;  // the system's number: 0 Win32s, 1 the 95/98 family, 2 the NT family
  uint32_t major;
  uint32_t minor;
};

// The record that follows from an answer. The version is major * 1000 + minor, a minor above 1000
// divided by 10 until it is not.
SystemRecord MakeSystemRecord(const VersionAnswer& answer, uint32_t processors);

// Asks the system anew; the accessors' record stays as it is.
SystemRecord ReadSystemRecord();

}  // namespace qv

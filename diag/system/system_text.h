// The system in words: one line for the operating system, one for the processors.
//
//   char system[qv::kSystemTextSize], processors[qv::kProcessorTextSize];
//   ZRSystemDescribe(system, sizeof system, processors, sizeof processors);
//     Windows XP Professional (Build 2600) Service Pack 3
//     2 processors installed running at 2394 MHz
//
// Threads: any. Errors: a system that does not tell its version is an "unknown operating system";
// without scratch memory for the formatter a text is empty.
#pragma once

#include <cstdint>

// Fills either text, cut to its size in bytes and always terminated. A null text, or one of size 0,
// is left out. The processor text is empty unless the system is of the NT or the 95/98 family.
void ZRSystemDescribe(char* system_text, uint32_t system_size, char* processor_text,
                      uint32_t processor_size);

// Writes "Running %s" with the system's text and, unless that is empty, "[%s]" with the
// processors', as messages.
void ZRSystemLogDescription();

namespace qv {

constexpr uint32_t kSystemTextSize = 513;  // 512 characters and the terminator
constexpr uint32_t kProcessorTextSize = 128;

// What the texts are made of.
struct SystemVersion {
  enum Answer { kNone, kBasic, kExtended } answer;
  uint32_t platform;  // the system's number: 0 Win32s, 1 the 95/98 family, 2 the NT family
  uint32_t major, minor, build;
  char service_pack[128];  // or the extra text of the 95/98 family
  // Of the extended answer, else 0:
  uint8_t product;  // 1 workstation, 2 domain controller, 3 server
  uint16_t suite;
  bool server_r2;  // metric 89
};

// Asks the system: for the extended record, and when that fails for the basic one.
SystemVersion ReadSystemVersion();

// Writes the system's text; returns its length.
//
// For the NT family that is "Windows ", the name, an edition, a release candidate, and the build,
// with the version number where the name does not tell it. Every name of the 5.2 servers, R2 too,
// tells it, and so does the "XP" of the versions 7 to 9 and above 10.1. Without the extended record
// there is no edition, and 5.2 counts as a server. An empty service pack leaves a space at the end.
uint32_t DescribeSystem(const SystemVersion& version, char* text, uint32_t size);

// Writes the processors' text; a speed of 0 MHz is unknown.
uint32_t DescribeProcessors(uint32_t count, uint32_t megahertz, char* text, uint32_t size);

}  // namespace qv

#include "diag/system/system_text.h"

#include <cstring>

#include "app/message.h"
#include "diag/system/processor_speed.h"
#include "diag/system/system_record.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace qv {
namespace {

constexpr uint32_t kAny = UINT32_MAX;          // in a row: every number
constexpr uint32_t kFirstBuildOf2019 = 17763;  // servers of version 10

// --- names ---

struct Name {
  const char* text;
  bool tells_version;  // the number of the version is left out of the text
};

// The first row that fits a version counts.
constexpr struct {
  uint32_t major, minor;
  Name name;
} kNames[] = {{4, kAny, {"NT", false}},   {5, 0, {"2000", true}},   {5, 1, {"XP", true}},
              {5, kAny, {"OS", false}},   {6, 0, {"Vista", true}},  {6, 1, {"7", true}},
              {6, 2, {"8", true}},        {6, 3, {"8.1", true}},    {6, kAny, {"OS", false}},
              {7, kAny, {"XP", true}},    {8, kAny, {"XP", true}},  {9, kAny, {"XP", true}},
              {10, 0, {"10.0", false}},   {10, 1, {"10.1", false}}, {10, kAny, {"XP", true}},
              {kAny, kAny, {"OS", false}}};

bool Fits(uint32_t wanted, uint32_t number) { return wanted == kAny || wanted == number; }

bool Is(const SystemVersion& version, uint32_t major, uint32_t minor) {
  return version.major == major && version.minor == minor;
}

Name NameOf52(const SystemVersion& version) {
  if (version.product == VER_NT_WORKSTATION) return {"XP", true};
  return {version.server_r2 ? "Server 2003 R2" : "Server 2003", true};
}

Name NameOf(const SystemVersion& version) {
  if (Is(version, 5, 2)) return NameOf52(version);
  for (const auto& row : kNames) {
    if (Fits(row.major, version.major) && Fits(row.minor, version.minor)) return row.name;
  }
  return {"OS", false};
}

// --- release candidates ---

constexpr struct {
  uint32_t major, minor, build;
  const char* text;
} kReleases[] = {{5, 0, 2072, " RC1"}, {5, 0, 2128, " RC2"}, {5, 0, 2183, " RC3"},
                 {5, 1, 2505, " RC1"}, {5, 1, 2526, " RC2"}, {6, 0, 5112, " Beta 1"}};

const char* ReleaseOf(const SystemVersion& version) {
  for (const auto& row : kReleases) {
    if (Is(version, row.major, row.minor) && version.build == row.build) return row.text;
  }
  return "";
}

// --- editions ---

// Of a server, by the first suite it has. A version without a text for a suite shows its plain one.
struct ServerEdition {
  uint32_t major, minor;
  const char *datacenter, *enterprise, *plain;
};

constexpr ServerEdition kServer2016{kAny, kAny, " Server 2016 Datacenter",
                                    " Server 2016 Enterprise", " Server 2016"};
constexpr ServerEdition kServer2019{kAny, kAny, " Server 2019 Datacenter",
                                    " Server 2019 Enterprise", " Server 2019"};
// The first row that fits a version counts.
constexpr ServerEdition kServers[] = {
    {6, 3, " Server 2012 R2 Datacenter", " Server 2012 R2 Enterprise", " Server 2012 R2"},
    {6, 2, " Server 2012 Datacenter", " Server 2012 Enterprise", " Server 2012"},
    {6, 1, " Server 2008 R2 Datacenter", " Server 2008 R2 Enterprise", " Server 2008 R2"},
    {6, 0, " Server 2008 Datacenter", " Server 2008 Enterprise", " Server 2008"},
    {5, 2, " Datacenter Edition", " Enterprise Edition", " Standard Edition"},
    {5, 0, " Datacenter Server", " Advanced Server", " Server"}};
constexpr ServerEdition kOtherServer{kAny, kAny, " Server 4.0", " Server 4.0, Enterprise Edition",
                                     " Server 4.0"};

const ServerEdition& ServerRow(const SystemVersion& version) {
  if (version.major == 10) return version.build < kFirstBuildOf2019 ? kServer2016 : kServer2019;
  for (const ServerEdition& row : kServers) {
    if (Is(version, row.major, row.minor)) return row;
  }
  return kOtherServer;
}

const char* ServerEditionOf(const SystemVersion& version) {
  // A suite of its own, not one among others.
  if (Is(version, 5, 2) && version.suite == VER_SUITE_BLADE) return " Web Edition";
  const ServerEdition& row = ServerRow(version);
  const bool knows_datacenter = &row != &kOtherServer;
  if (knows_datacenter && (version.suite & VER_SUITE_DATACENTER)) return row.datacenter;
  return version.suite & VER_SUITE_ENTERPRISE ? row.enterprise : row.plain;
}

const char* WorkstationEditionOf(const SystemVersion& version) {
  if (version.major >= 6) return "";
  if (version.major == 4) return " Workstation";
  if (version.suite & VER_SUITE_PERSONAL) return " Home Edition";
  return Is(version, 5, 2) ? " Professional x64 Edition" : " Professional";
}

const char* EditionOf(const SystemVersion& version) {
  if (version.answer != SystemVersion::kExtended) return "";
  if (version.product == VER_NT_WORKSTATION) return WorkstationEditionOf(version);
  return version.product == VER_NT_SERVER ? ServerEditionOf(version) : "";
}

// --- texts ---

uint32_t DescribeNt(const SystemVersion& version, char* text, uint32_t limit) {
  const Name name = NameOf(version);
  const char* edition = EditionOf(version);
  const char* release = ReleaseOf(version);
  if (name.tells_version) {
    return FormatTextN(text, limit, "Windows %s%s%s (Build %lu) %s", name.text, edition, release,
                       version.build, version.service_pack);
  }
  return FormatTextN(text, limit, "Windows %s%s%s (Version %lu.%lu, Build %lu) %s", name.text,
                     edition, release, version.major, version.minor, version.build,
                     version.service_pack);
}

uint32_t Describe95(const SystemVersion& version, char* text, uint32_t limit) {
  const bool first = version.major < 4 || Is(version, 4, 0);
  // The upper half of this family's build repeats the version.
  return FormatTextN(text, limit, "Windows %lu (Version %lu.%02lu, Build %lu) %s",
                     first ? 95u : 98u, version.major, version.minor, version.build & 0xFFFF,
                     version.service_pack);
}

// --- asking the system ---

void CopyBasic(const OSVERSIONINFOEXA& record, SystemVersion* version) {
  version->platform = record.dwPlatformId;
  version->major = record.dwMajorVersion;
  version->minor = record.dwMinorVersion;
  version->build = record.dwBuildNumber;
  std::memcpy(version->service_pack, record.szCSDVersion, sizeof version->service_pack - 1);
}

bool Ask(DWORD record_size, OSVERSIONINFOEXA* record) {
  *record = {};
  record->dwOSVersionInfoSize = record_size;
  return GetVersionExA(reinterpret_cast<OSVERSIONINFOA*>(record)) != FALSE;
}

bool HasProcessorText(const SystemVersion& version) {
  return version.answer != SystemVersion::kNone && (version.platform == VER_PLATFORM_WIN32_NT ||
                                                    version.platform == VER_PLATFORM_WIN32_WINDOWS);
}

}  // namespace

SystemVersion ReadSystemVersion() {
  SystemVersion version{};
  OSVERSIONINFOEXA record;
  if (Ask(sizeof(OSVERSIONINFOEXA), &record)) {
    version.answer = SystemVersion::kExtended;
    version.product = record.wProductType;
    version.suite = record.wSuiteMask;
  } else if (Ask(sizeof(OSVERSIONINFOA), &record)) {
    version.answer = SystemVersion::kBasic;
  } else {
    return version;
  }
  CopyBasic(record, &version);
  version.server_r2 = GetSystemMetrics(SM_SERVERR2) != 0;
  return version;
}

uint32_t DescribeSystem(const SystemVersion& version, char* text, uint32_t size) {
  if (text == nullptr || size == 0) return 0;
  const uint32_t limit = size < kSystemTextSize ? size - 1 : kSystemTextSize - 1;
  if (version.answer == SystemVersion::kNone) {
    return FormatTextN(text, limit, "unknown operating system");
  }
  switch (version.platform) {
    case VER_PLATFORM_WIN32_NT:
      return DescribeNt(version, text, limit);
    case VER_PLATFORM_WIN32_WINDOWS:
      return Describe95(version, text, limit);
    case VER_PLATFORM_WIN32s:
      return FormatTextN(text, limit, "Windows %lu.%lu (with Win32s)", version.major,
                         version.minor);
    default:
      return FormatTextN(text, limit, "unrecognized operating system");
  }
}

uint32_t DescribeProcessors(uint32_t count, uint32_t megahertz, char* text, uint32_t size) {
  if (text == nullptr || size == 0) return 0;
  const char* plural = count == 1 ? "" : "s";
  if (megahertz == 0) {
    return FormatTextN(text, size - 1, "%lu processor%s installed", count, plural);
  }
  return FormatTextN(text, size - 1, "%lu processor%s installed running at %lu MHz", count, plural,
                     megahertz);
}

}  // namespace qv

void ZRSystemDescribe(char* system_text, uint32_t system_size, char* processor_text,
                      uint32_t processor_size) {
  const qv::SystemVersion version = qv::ReadSystemVersion();
  qv::DescribeSystem(version, system_text, system_size);
  if (processor_text == nullptr || processor_size == 0) return;
  processor_text[0] = '\0';
  if (!qv::HasProcessorText(version)) return;
  qv::DescribeProcessors(ZRSystemProcessors(), ZRProcessorSpeed(kProcessorSpeedBest, false),
                         processor_text, processor_size);
}

void ZRSystemLogDescription() {
  char system[qv::kSystemTextSize];
  char processors[qv::kProcessorTextSize];
  ZRSystemDescribe(system, sizeof system, processors, sizeof processors);
  ZRMessage("Running %s", system);
  if (processors[0] != '\0') ZRMessage("[%s]", processors);
}

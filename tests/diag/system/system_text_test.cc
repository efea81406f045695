#include "diag/system/system_text.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "diag/system/processor_speed.h"
#include "diag/system/system_record.h"

namespace {

using qv::SystemVersion;

constexpr uint8_t kWorkstation = 1, kController = 2, kServer = 3;
constexpr uint16_t kEnterprise = 0x2, kDatacenter = 0x80, kPersonal = 0x200, kBlade = 0x400;

SystemVersion Version(uint32_t platform, uint32_t major, uint32_t minor, uint32_t build,
                      const std::string& extra) {
  SystemVersion version{};
  version.answer = SystemVersion::kExtended;
  version.platform = platform;
  version.major = major;
  version.minor = minor;
  version.build = build;
  std::snprintf(version.service_pack, sizeof version.service_pack, "%s", extra.c_str());
  return version;
}

std::string Text(const SystemVersion& version) {
  char text[qv::kSystemTextSize];
  uint32_t length = qv::DescribeSystem(version, text, sizeof text);
  EXPECT_EQ(length, std::strlen(text));
  return text;
}

struct NtRow {
  const char* name;
  uint32_t major, minor, build;
  uint8_t product;
  uint16_t suite;
  const char* text;
};

std::string NtText(const NtRow& row, bool server_r2 = false) {
  SystemVersion version = Version(2, row.major, row.minor, row.build, "SP");
  version.product = row.product;
  version.suite = row.suite;
  version.server_r2 = server_r2;
  return Text(version);
}

TEST(SystemTextTest, Workstations) {
  const NtRow kRows[] = {
      {"NT 4", 4, 0, 1381, kWorkstation, 0, "Windows NT Workstation (Version 4.0, Build 1381) SP"},
      {"NT 4, home suite", 4, 0, 1, kWorkstation, kPersonal,
       "Windows NT Workstation (Version 4.0, Build 1) SP"},
      {"NT 3.51", 3, 51, 1057, kWorkstation, 0,
       "Windows OS Professional (Version 3.51, Build 1057) SP"},
      {"2000 RC2", 5, 0, 2128, kWorkstation, 0, "Windows 2000 Professional RC2 (Build 2128) SP"},
      {"XP", 5, 1, 2600, kWorkstation, 0x100, "Windows XP Professional (Build 2600) SP"},
      {"XP home", 5, 1, 2600, kWorkstation, kPersonal | 0x100,
       "Windows XP Home Edition (Build 2600) SP"},
      {"XP RC2", 5, 1, 2526, kWorkstation, 0, "Windows XP Professional RC2 (Build 2526) SP"},
      {"XP with a build of 2000", 5, 1, 2072, kWorkstation, 0,
       "Windows XP Professional (Build 2072) SP"},
      {"XP x64", 5, 2, 3790, kWorkstation, 0,
       "Windows XP Professional x64 Edition (Build 3790) SP"},
      {"XP x64 home", 5, 2, 3790, kWorkstation, kPersonal,
       "Windows XP Home Edition (Build 3790) SP"},
      {"5.3", 5, 3, 1, kWorkstation, 0, "Windows OS Professional (Version 5.3, Build 1) SP"},
      {"Vista", 6, 0, 6002, kWorkstation, kPersonal, "Windows Vista (Build 6002) SP"},
      {"Vista beta", 6, 0, 5112, kWorkstation, 0, "Windows Vista Beta 1 (Build 5112) SP"},
      {"8.1", 6, 3, 9600, kWorkstation, 0, "Windows 8.1 (Build 9600) SP"},
      {"6.4", 6, 4, 9841, kWorkstation, 0, "Windows OS (Version 6.4, Build 9841) SP"},
      {"7.0", 7, 0, 1, kWorkstation, 0, "Windows XP (Build 1) SP"},
      {"10", 10, 0, 19041, kWorkstation, 0, "Windows 10.0 (Version 10.0, Build 19041) SP"},
      {"10.1", 10, 1, 2, kWorkstation, 0, "Windows 10.1 (Version 10.1, Build 2) SP"},
      {"10.2", 10, 2, 2, kWorkstation, 0, "Windows XP (Build 2) SP"},
      {"11.0", 11, 0, 2, kWorkstation, 0, "Windows OS (Version 11.0, Build 2) SP"}};
  for (const NtRow& row : kRows) EXPECT_EQ(NtText(row), row.text) << row.name;
}

TEST(SystemTextTest, Servers) {
  const NtRow kRows[] = {
      {"NT 4", 4, 0, 1, kServer, 0, "Windows NT Server 4.0 (Version 4.0, Build 1) SP"},
      {"NT 4 enterprise", 4, 0, 1, kServer, kEnterprise,
       "Windows NT Server 4.0, Enterprise Edition (Version 4.0, Build 1) SP"},
      {"NT 4 datacenter alone", 4, 0, 1, kServer, kDatacenter,
       "Windows NT Server 4.0 (Version 4.0, Build 1) SP"},
      {"NT 4 datacenter and enterprise", 4, 0, 1, kServer, kDatacenter | kEnterprise,
       "Windows NT Server 4.0, Enterprise Edition (Version 4.0, Build 1) SP"},
      {"2000 advanced", 5, 0, 1, kServer, kEnterprise, "Windows 2000 Advanced Server (Build 1) SP"},
      {"2000 datacenter", 5, 0, 1, kServer, kDatacenter | kEnterprise,
       "Windows 2000 Datacenter Server (Build 1) SP"},
      {"5.1", 5, 1, 1, kServer, 0, "Windows XP Server 4.0 (Build 1) SP"},
      {"2003 web", 5, 2, 1, kServer, kBlade, "Windows Server 2003 Web Edition (Build 1) SP"},
      {"2003 web and more", 5, 2, 1, kServer, kBlade | 0x100,
       "Windows Server 2003 Standard Edition (Build 1) SP"},
      {"2003 datacenter", 5, 2, 1, kServer, kDatacenter,
       "Windows Server 2003 Datacenter Edition (Build 1) SP"},
      {"2008", 6, 0, 6002, kServer, kDatacenter,
       "Windows Vista Server 2008 Datacenter (Build 6002) SP"},
      {"2008 R2", 6, 1, 7601, kServer, kEnterprise,
       "Windows 7 Server 2008 R2 Enterprise (Build 7601) SP"},
      {"2012 R2 datacenter", 6, 3, 1, kServer, kDatacenter,
       "Windows 8.1 Server 2012 R2 Datacenter (Build 1) SP"},
      {"6.4", 6, 4, 1, kServer, kEnterprise,
       "Windows OS Server 4.0, Enterprise Edition (Version 6.4, Build 1) SP"},
      {"2016", 10, 0, 17762, kServer, 0, "Windows 10.0 Server 2016 (Version 10.0, Build 17762) SP"},
      {"2016 enterprise", 10, 0, 14393, kServer, kEnterprise,
       "Windows 10.0 Server 2016 Enterprise (Version 10.0, Build 14393) SP"},
      {"2019", 10, 0, 17763, kServer, 0, "Windows 10.0 Server 2019 (Version 10.0, Build 17763) SP"},
      {"2019 datacenter", 10, 0, 20348, kServer, kDatacenter,
       "Windows 10.0 Server 2019 Datacenter (Version 10.0, Build 20348) SP"},
      {"a controller of 2003", 5, 2, 1, kController, kDatacenter,
       "Windows Server 2003 (Build 1) SP"},
      {"a controller of 2019", 10, 0, 17763, kController, 0,
       "Windows 10.0 (Version 10.0, Build 17763) SP"}};
  for (const NtRow& row : kRows) EXPECT_EQ(NtText(row), row.text) << row.name;
}

TEST(SystemTextTest, TheR2MetricNamesServersOf52Only) {
  const NtRow kRows[] = {
      {"server", 5, 2, 3790, kServer, kDatacenter,
       "Windows Server 2003 R2 Datacenter Edition (Build 3790) SP"},
      {"workstation", 5, 2, 3790, kWorkstation, 0,
       "Windows XP Professional x64 Edition (Build 3790) SP"},
      {"another", 5, 1, 2600, kWorkstation, 0, "Windows XP Professional (Build 2600) SP"}};
  for (const NtRow& row : kRows) EXPECT_EQ(NtText(row, true), row.text) << row.name;
}

TEST(SystemTextTest, OtherFamiliesAndAnswers) {
  auto basic = Version(2, 5, 2, 3790, "Service Pack 1");
  basic.answer = SystemVersion::kBasic;
  auto none = basic;
  none.answer = SystemVersion::kNone;
  const struct {
    const char* name;
    SystemVersion version;
    const char* text;
  } kRows[] = {
      {"95", Version(1, 4, 0, 0x040003B6, " B"), "Windows 95 (Version 4.00, Build 950)  B"},
      {"before 95", Version(1, 3, 95, 1, ""), "Windows 95 (Version 3.95, Build 1) "},
      {"98", Version(1, 4, 10, 0x040A08AE, "A"), "Windows 98 (Version 4.10, Build 2222) A"},
      {"later", Version(1, 5, 0, 3, ""), "Windows 98 (Version 5.00, Build 3) "},
      {"Win32s", Version(0, 3, 11, 9, "x"), "Windows 3.11 (with Win32s)"},
      {"another platform", Version(3, 6, 1, 9, "x"), "unrecognized operating system"},
      {"no answer", none, "unknown operating system"},
      {"no extended record", basic, "Windows Server 2003 (Build 3790) Service Pack 1"}};
  for (const auto& row : kRows) EXPECT_EQ(Text(row.version), row.text) << row.name;
}

TEST(SystemTextTest, TextsAreCutAndTerminated) {
  SystemVersion version = Version(2, 5, 1, 2600, std::string(127, 'x'));
  char text[32];
  for (uint32_t size : {1u, 2u, 20u}) {
    std::memset(text, '#', sizeof text);
    EXPECT_EQ(qv::DescribeSystem(version, text, size), size - 1);
    EXPECT_EQ(std::string(text), std::string("Windows XP (Build 2600) x").substr(0, size - 1));
    EXPECT_EQ(text[size], '#') << size;
  }
  EXPECT_EQ(qv::DescribeSystem(version, text, 0), 0u);
  EXPECT_EQ(qv::DescribeSystem(version, nullptr, 9), 0u);
  EXPECT_EQ(Text(version), "Windows XP (Build 2600) " + std::string(127, 'x'));
}

TEST(SystemTextTest, Processors) {
  const struct {
    uint32_t count, megahertz;
    const char* text;
  } kRows[] = {{1, 0, "1 processor installed"},
               {2, 0, "2 processors installed"},
               {1, 2394, "1 processor installed running at 2394 MHz"},
               {16, 3000, "16 processors installed running at 3000 MHz"},
               {0, 7, "0 processors installed running at 7 MHz"}};
  char text[qv::kProcessorTextSize];
  for (const auto& row : kRows) {
    EXPECT_EQ(qv::DescribeProcessors(row.count, row.megahertz, text, sizeof text),
              std::strlen(row.text));
    EXPECT_STREQ(text, row.text);
  }
  EXPECT_EQ(qv::DescribeProcessors(12, 0, text, 5), 4u);
  EXPECT_STREQ(text, "12 p");
}

TEST(ProcessorSpeedTest, OnlyTheRegistrySpeedIsFilled) {
  qv::ResetProcessorSpeedForTest();
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedNominal, true), 0u);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedMeasured, true), 0u);
  const uint32_t registry = ZRProcessorSpeed(kProcessorSpeedRegistry, false);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedBest, false), registry);
  EXPECT_EQ(ZRProcessorSpeed(0xFFFFFFFF, false), registry);
}

// On the real system too: the texts are those of what it answers.
TEST(SystemTextTest, DescribesTheRunningSystem) {
  char system[qv::kSystemTextSize], processors[qv::kProcessorTextSize];
  ZRSystemDescribe(system, sizeof system, processors, sizeof processors);
  EXPECT_EQ(system, Text(qv::ReadSystemVersion()));
  char expected[qv::kProcessorTextSize];
  qv::DescribeProcessors(ZRSystemProcessors(), ZRProcessorSpeed(3, false), expected,
                         sizeof expected);
  EXPECT_STREQ(processors, expected);
  ZRSystemDescribe(nullptr, 7, system, 0);
  EXPECT_EQ(system, Text(qv::ReadSystemVersion())) << "a text of size 0 is left alone";
}

}  // namespace

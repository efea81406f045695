// What the system answers, chosen: versions, figures, failures.
#include <gtest/gtest.h>

#include <string>

#include "app/message.h"
#include "base/hooks.h"
#include "base/scratch_pool.h"
#include "diag/system/memory_status.h"
#include "diag/system/processor_speed.h"
#include "diag/system/system_record.h"
#include "diag/system/system_text.h"
#include "platform/host/control.h"
#include "platform/windows_api.h"
#include "text/formatter.h"

namespace {

constexpr char kProcessorKey[] = "HARDWARE\\DESCRIPTION\\System\\CentralProcessor\\0";

class SystemHostTest : public testing::Test {
 protected:
  SystemHostTest() {
    host::ResetState();
    qv::ResetProcessorSpeedForTest();
  }
  ~SystemHostTest() override {
    host::ResetState();
    qv::ResetHooksForTest();
    qv::ResetProcessorSpeedForTest();
  }

  static void SetSpeed(DWORD type, const std::string& bytes) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, kProcessorKey, 0, nullptr, 0, KEY_ALL_ACCESS,
                              nullptr, &key, nullptr),
              0);
    EXPECT_EQ(RegSetValueExA(key, "~MHz", 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                             static_cast<DWORD>(bytes.size())),
              0);
    RegCloseKey(key);
  }

  static std::string SystemText() {
    char text[qv::kSystemTextSize];
    ZRSystemDescribe(text, sizeof text, nullptr, 0);
    return text;
  }
  static std::string ProcessorText() {
    char text[qv::kProcessorTextSize];
    ZRSystemDescribe(nullptr, 0, text, sizeof text);
    return text;
  }
};

TEST_F(SystemHostTest, TheWholeAnswerReachesTheText) {
  EXPECT_EQ(SystemText(), "Windows 7 (Build 7601) Service Pack 1");
  host::SetSystemVersion({.major = 5,
                          .minor = 2,
                          .build = 3790,
                          .service_pack = "Service Pack 2",
                          .suite = 0x80,
                          .product = 3,
                          .server_r2 = 1});
  EXPECT_EQ(SystemText(), "Windows Server 2003 R2 Datacenter Edition (Build 3790) Service Pack 2");
  SystemRecord record = qv::ReadSystemRecord();
  EXPECT_EQ(record.version, 5002u);
  EXPECT_EQ(record.platform, kPlatformNt);
}

TEST_F(SystemHostTest, VersionCallsThatFail) {
  host::SetSystemVersion({.major = 5, .minor = 1, .build = 2600});
  host::FailCall("GetVersionExA", 1, ERROR_INSUFFICIENT_BUFFER);
  EXPECT_EQ(SystemText(), "Windows XP (Build 2600) Service Pack 1") << "the basic record";
  host::FailCall("GetVersionExA", 1, ERROR_INSUFFICIENT_BUFFER, true);
  EXPECT_EQ(SystemText(), "unknown operating system");
  EXPECT_EQ(ProcessorText(), "");
  SystemRecord record = qv::ReadSystemRecord();
  EXPECT_EQ(record.platform, kPlatformUnknown);
  EXPECT_EQ(record.version, 0u);
  EXPECT_EQ(record.flags, kSystemWorkersAllowed);
  EXPECT_GE(record.processors, 1u);
  EXPECT_GE(host::FaultsStruck(), 6u);
}

TEST_F(SystemHostTest, OnlyTwoFamiliesHaveAProcessorText) {
  SetSpeed(REG_DWORD, std::string("\x5A\x09\0\0", 4));
  const uint32_t count = ZRSystemProcessors();
  const std::string text = std::to_string(count) + (count == 1 ? " processor" : " processors") +
                           " installed running at 2394 MHz";
  const struct {
    DWORD platform;
    std::string text;
  } kRows[] = {{0, ""}, {1, text}, {2, text}, {3, ""}};
  for (const auto& row : kRows) {
    host::SetSystemVersion({.platform = row.platform});
    EXPECT_EQ(ProcessorText(), row.text) << row.platform;
  }
}

TEST_F(SystemHostTest, LogsBothTexts) {
  static std::string& log = *new std::string;
  log.clear();
  ZRSetMessageHook([](ZRError, uint32_t, const char* format, va_list arguments) {
    char text[8000];
    FormatTextList(text, format, arguments);
    log += text + std::string("\n");
  });
  ZRSystemLogDescription();
  EXPECT_EQ(log, "Running " + SystemText() + "\n[" + ProcessorText() + "]\n");
  log.clear();
  host::SetSystemVersion({.platform = 0, .major = 3, .minor = 11});
  ZRSystemLogDescription();
  ZRSetMessageHook(nullptr);
  EXPECT_EQ(log, "Running Windows 3.11 (with Win32s)\n");
}

TEST_F(SystemHostTest, WithoutScratchMemoryTheTextsAreEmpty) {
  qv::ResetScratchPoolForTest();
  qv::GlobalHooks().allocate = [](size_t) -> void* { return nullptr; };
  EXPECT_EQ(SystemText(), "");
  EXPECT_EQ(ProcessorText(), "");
}

TEST_F(SystemHostTest, SpeedsThatCannotBeRead) {
  const struct {
    const char* name;
    DWORD type;
    std::string bytes;
    uint32_t speed;
  } kRows[] = {{"a number", REG_DWORD, std::string("\x40\x01\0\0", 4), 320},
               {"another type", REG_BINARY, std::string("\x40\x01\0\0", 4), 0},
               {"too short", REG_DWORD, "\x40", 0},
               {"too long", REG_DWORD, std::string(8, '\1'), 0}};
  for (const auto& row : kRows) {
    SetSpeed(row.type, row.bytes);
    EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedRegistry, true), row.speed) << row.name;
  }
}

TEST_F(SystemHostTest, TheSpeedIsReadOnce) {
  SetSpeed(REG_DWORD, std::string("\x40\x01\0\0", 4));
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedBest, false), 320u);
  SetSpeed(REG_DWORD, std::string("\x41\x01\0\0", 4));
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedBest, false), 320u);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedNominal, true), 0u);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedBest, false), 321u);
}

TEST_F(SystemHostTest, EachSpellingOfTheSpeedIsTried) {
  // Value names ignore letter case: the second spelling finds the value that the first one missed.
  SetSpeed(REG_DWORD, std::string("\x40\x01\0\0", 4));
  const struct {
    const char* name;
    bool from_then_on;
    uint32_t speed, calls;
  } kRows[] = {{"one fails", false, 320, 2}, {"all fail", true, 0, 3}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    const uint32_t open = host::OpenHandles();
    host::ResetCallCounts();
    host::FailCall("RegQueryValueExA", 1, ERROR_ACCESS_DENIED, row.from_then_on);
    EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedRegistry, true), row.speed);
    EXPECT_EQ(host::CallsMade("RegQueryValueExA"), row.calls);
    EXPECT_EQ(host::OpenHandles(), open);
  }
  EXPECT_EQ(ProcessorText().find("running"), std::string::npos);
  host::ClearFaults();
  host::FailCall("RegOpenKeyExA", 1, ERROR_ACCESS_DENIED);
  EXPECT_EQ(ZRProcessorSpeed(kProcessorSpeedRegistry, true), 0u);
  EXPECT_EQ(host::FaultsStruck(), 1u);
}

constexpr uint64_t kMega = 1048576, kGiga = 1024 * kMega;

TEST_F(SystemHostTest, MemoryInSixtyFourBits) {
  host::SetMemoryFigures(
      {12 * kGiga + 5, 3 * kGiga, 20 * kGiga + 1, 13 * kGiga, 100 * kGiga, 90 * kGiga});
  MemoryStatusFull full{};
  ASSERT_TRUE(ZRMemoryStatusFull(&full));
  EXPECT_EQ(full.usable_total, 20.0 * kGiga + 1);
  EXPECT_EQ(full.usable_available, 12.0 * kGiga + 5) << "all physical memory counts";
  EXPECT_EQ(full.total_physical, 12.0 * kGiga + 5);
  EXPECT_EQ(full.available_physical, 3.0 * kGiga);
  EXPECT_EQ(full.total_page_file, 20.0 * kGiga + 1);
  EXPECT_EQ(full.available_page_file, 13.0 * kGiga);
  EXPECT_EQ(full.total_virtual, 100.0 * kGiga);
  EXPECT_EQ(full.available_virtual, 90.0 * kGiga);
}

TEST_F(SystemHostTest, TheSmallestFigureIsUsable) {
  const struct {
    const char* name;
    host::MemoryFigures figures;
    uint32_t total, available;
  } kRows[] = {{"page file", {500, 40, 400, 30, 600, 500}, 400, 30},
               {"physical", {300, 10, 400, 350, 600, 500}, 300, 300},
               {"virtual", {500, 10, 400, 350, 200, 100}, 200, 100},
               {"more than 32 bits",
                {9 * kGiga, 8 * kGiga, 9 * kGiga, 9 * kGiga, 9 * kGiga, 9 * kGiga},
                UINT32_MAX,
                UINT32_MAX}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    host::SetMemoryFigures(row.figures);
    MemoryStatus basic{};
    ASSERT_TRUE(ZRMemoryStatus(&basic));
    EXPECT_EQ(basic.usable_total, row.total);
    EXPECT_EQ(basic.usable_available, row.available);
  }
}

// Without the 64-bit call, for each of the reasons there may be.
TEST_F(SystemHostTest, MemoryFallsBackToThirtyTwoBits) {
  host::SetMemoryFigures({3 * kGiga + 1, 5, 4 * kGiga - 1, 0, 2 * kGiga, kGiga});
  for (const char* call : {"GetModuleHandleA", "GetProcAddress", "GlobalMemoryStatusEx"}) {
    SCOPED_TRACE(call);
    host::FailCall(call, 1, ERROR_PROC_NOT_FOUND);
    MemoryStatusFull full{};
    full.total_virtual = -1;
    full.available_virtual = -2;
    ASSERT_TRUE(ZRMemoryStatusFull(&full));
    EXPECT_EQ(full.usable_total, 2.0 * kGiga) << "2 GiB and more stay positive";
    EXPECT_EQ(full.usable_available, 4.0 * kGiga) << "0 reads as 2^32";
    EXPECT_EQ(full.total_physical, 3.0 * kGiga + kMega);
    EXPECT_EQ(full.available_physical, 5.0);
    EXPECT_EQ(full.total_page_file, 4.0 * kGiga) << "rounded up past 32 bits";
    EXPECT_EQ(full.available_page_file, 4.0 * kGiga);
    EXPECT_EQ(full.total_virtual, -1) << "not filled";
    EXPECT_EQ(full.available_virtual, -2);
  }
  EXPECT_EQ(host::FaultsStruck(), 3u);
}

}  // namespace

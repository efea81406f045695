// The local clock and the user's time format, as the system gives them and as it fails to.
#include <string>

#include "platform/host/control.h"
#include "tests/resources/memory_source.h"
#include "tests/time/zone_fixture.h"
#include "text/length_prefixed.h"
#include "time/clock_time.h"
#include "time/dates.h"
#include "time/zone_names.h"

namespace {

class LocalSettings : public test::Zones {
 protected:
  ~LocalSettings() override {
    host::ResetState();
    host::SetUserTimeFormat("h:mm:ss tt");
    qv::ResetClockTimeForTest();
  }

  // What "9.05p" becomes.
  std::string Rewritten() {
    Str255 text;
    qv::CStrToLStr(text, kMostLStr, "9.05p");
    EXPECT_EQ(ZRParseClockTime(text, nullptr, nullptr, true, qv::kReadClockTime, 7),
              qv::kClockRewritten);
    return test::Text(text);
  }
};

TEST_F(LocalSettings, TheLocalClock) {
  host::FreezeLocalTime({2026, 11, 3, 25, 13, 30, 15, 999});
  ZRDate now;
  ZRTimeToDate(ZRGetCurrentTime(), &now);
  EXPECT_EQ(now.day, 25);
  EXPECT_EQ(now.second, 15);
  // A fault of the first conversion is met by the second, as a date that needs normalising is.
  const uint32_t time = ZRGetCurrentTime();
  host::FailCall("SystemTimeToFileTime", 1, ERROR_INVALID_PARAMETER);
  EXPECT_EQ(ZRGetCurrentTime(), time);
  host::FailCall("SystemTimeToFileTime", 1, ERROR_INVALID_PARAMETER, true);
  EXPECT_EQ(ZRGetCurrentTime(), 0u);
  host::FailCall("FileTimeToSystemTime", 1, ERROR_INVALID_PARAMETER);
  ZRTimeToDate(time, &now);
  EXPECT_EQ(now.year + now.month + now.day + now.weekday, 0);
  EXPECT_EQ(host::FaultsStruck(), 4u);
  host::FreezeLocalTime({1903, 12, 0, 31, 0, 0, 0, 0});
  EXPECT_EQ(ZRGetCurrentTime(), 0u);
}

TEST_F(LocalSettings, TheClockIsTheLocalesAndIsRemembered) {
  host::SetUserTimeFormat("HH.mm:ss");
  EXPECT_EQ(Rewritten(), "21.05");
  host::SetUserTimeFormat("h:mm:ss tt");
  EXPECT_TRUE(qv::Has24HourClock());
  EXPECT_EQ(Rewritten(), "21:05") << "the clock stays, the format is the present one";
  qv::SetClockHours(qv::ClockHours::kTwelve);
  EXPECT_EQ(Rewritten(), "9:05 PM") << "chosen";
  qv::SetClockHours(qv::ClockHours::kOfLocale);
  EXPECT_EQ(Rewritten(), "21:05");
  qv::ResetClockTimeForTest();
  EXPECT_EQ(Rewritten(), "9:05 PM") << "asked again";
}

TEST_F(LocalSettings, ASystemThatDoesNotTell) {
  host::FailCall("GetLocaleInfoA", 1, ERROR_INVALID_PARAMETER, true);
  EXPECT_EQ(Rewritten(), "9:05 PM");
  qv::SetClockHours(qv::ClockHours::kTwentyFour);
  host::FailCall("GetTimeFormatA", 1, ERROR_INSUFFICIENT_BUFFER, true);
  EXPECT_EQ(Rewritten(), "21:05");
  EXPECT_EQ(host::FaultsStruck(), 2u);
}

TEST_F(LocalSettings, OffsetsInNamesAreThoseOfNow) {
  Str255 name;
  for (const WORD month : {WORD{1}, WORD{7}}) {
    host::FreezeLocalTime({2026, month, 0, 1, 0, 0, 0, 0});
    EXPECT_TRUE(ZRTimeZoneName(name, 7, 20972274, qv::ZoneNameForm::kNumeric));
    EXPECT_EQ(test::Text(name), month == 1 ? "-0330" : "-0230");
  }
}

// A resource that cannot be had leaves the data empty, never half wrong, and a reload mends it.
TEST_F(LocalSettings, ResourcesThatCannotBeRead) {
  ZRZoneOffsets offsets;
  uint32_t faults = 0;
  for (const char* call : {"FindResourceA", "LoadResource", "LockResource", "SizeofResource"}) {
    for (uint32_t n = 1; n <= 3; ++n) {
      ZRReleaseTimeZones();
      host::FailCall(call, n, ERROR_GEN_FAILURE);
      const bool found = ZRTimeZoneOffsets(5, qv::TimeKind::kLocal, 68157732, &offsets);
      EXPECT_EQ(offsets.total, found ? 32400 : 0);
      faults += host::FaultsStruck();
      host::ClearFaults();
      EXPECT_TRUE(ZRReloadTimeZones());
      EXPECT_TRUE(ZRTimeZoneOffsets(5, qv::TimeKind::kLocal, 68157732, &offsets)) << call << n;
    }
  }
  EXPECT_GE(faults, 6u);
  EXPECT_EQ(ZRCountHandles(), 0u);
}

}  // namespace

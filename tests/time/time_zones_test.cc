#include "time/time_zones.h"

#include <atomic>
#include <cstring>
#include <thread>

#include "app/debug_output.h"
#include "resources/charset_loader.h"
#include "tests/resources/opened_files.h"
#include "tests/time/zone_fixture.h"
#include "text/length_prefixed.h"
#include "time/calendar.h"
#include "time/dates.h"
#include "time/iso_time.h"
#include "time/zone_names.h"

namespace {

using qv::TimeKind;
using test::Zones;

constexpr uint32_t kParis = 32769028, kLondon = 28837376, kNewYork = 15729388, kTokyo = 68157732;

uint32_t At(uint16_t year, uint16_t month, uint16_t day, uint16_t hour, uint16_t minute = 0) {
  uint32_t time = 0;
  EXPECT_TRUE(ZRDateToTime({year, month, day, hour, minute, 0, 0}, &time));
  return time;
}

// "TOTAL STANDARD SAVING" or "none".
std::string Offsets(uint32_t time, TimeKind kind, uint32_t zone) {
  ZRZoneOffsets offsets = {1, 2, 3};
  const bool found = ZRTimeZoneOffsets(time, kind, zone, &offsets);
  const std::string text = std::to_string(offsets.total) + " " + std::to_string(offsets.standard) +
                           " " + std::to_string(offsets.saving);
  EXPECT_TRUE(found || text == "0 0 0");
  return found ? text : "none";
}

TEST_F(Zones, Offsets) {
  const struct {
    const char* name;
    uint32_t time;
    TimeKind kind;
    uint32_t zone;
    const char* offsets;
  } kRows[] = {
      {"before the summer of Paris", At(2026, 3, 29, 1) - 1, TimeKind::kUniversal, kParis,
       "3600 3600 0"},
      {"its summer begins", At(2026, 3, 29, 1), TimeKind::kUniversal, kParis, "7200 3600 3600"},
      {"the same on a clock", At(2026, 3, 29, 2), TimeKind::kLocal, kParis, "7200 3600 3600"},
      {"the hour that comes twice", At(2026, 10, 25, 2), TimeKind::kLocal, kParis, "3600 3600 0"},
      {"the hour before it", At(2026, 10, 25, 2) - 1, TimeKind::kLocal, kParis, "7200 3600 3600"},
      {"the last year", At(2039, 7, 1, 0), TimeKind::kLocal, kParis, "7200 3600 3600"},
      {"before 1995", At(1950, 7, 1, 0), TimeKind::kLocal, kParis, "3600 3600 0"},
      {"no time", 0, TimeKind::kLocal, kTokyo, "32400 32400 0"},
      {"fixed, -5:00", 5, TimeKind::kLocal, 0x0ACE00EC, "-18000 -18000 0"},
      {"fixed, +12:45", 5, TimeKind::kUniversal, 0x0ACE0133, "45900 45900 0"},
      {"not offered", 5, TimeKind::kLocal, 12345, "none"},
      {"zone 0", 5, TimeKind::kLocal, 0, "none"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Offsets(row.time, row.kind, row.zone), row.offsets);
  }
}

TEST_F(Zones, LocalTimesOfOneZoneInAnother) {
  constexpr uint32_t kDays = 259200;
  const struct {
    const char* name;
    uint32_t time, from, to, result;
  } kRows[] = {
      {"to New York", At(2026, 1, 1, 12), kParis, kNewYork, At(2026, 1, 1, 6)},
      {"in the weeks between", At(2026, 3, 20, 12), kParis, kNewYork, At(2026, 3, 20, 7)},
      {"over a day", At(2026, 7, 1, 20), kNewYork, kTokyo, At(2026, 7, 2, 9)},
      {"to itself", At(2026, 7, 1, 20), kTokyo, kTokyo, At(2026, 7, 1, 20)},
      {"to universal time", At(2026, 7, 1, 20), kParis, kUniversalZone, At(2026, 7, 1, 18)},
      {"no id", At(2026, 7, 1, 20), 0, kParis, At(2026, 7, 1, 20)},
      {"no other id", At(2026, 7, 1, 20), kParis, 0, At(2026, 7, 1, 20)},
      {"an id not offered", At(2026, 7, 1, 20), 12345, kParis, At(2026, 7, 1, 20)},
      {"another id not offered", At(2026, 7, 1, 20), kParis, 12345, At(2026, 7, 1, 20)},
      {"too early", kDays - 1, 0x0ACE0004, kUniversalZone, kDays - 1},
      {"the first", kDays, 0x0ACE0004, kUniversalZone, kDays - 3600},
      {"the last", 0xFFFFFFFF - kDays, 0x0ACE0004, kUniversalZone, 0xFFFFFFFF - kDays - 3600},
      {"too late", 0xFFFFFFFF - kDays + 1, 0x0ACE0004, kUniversalZone, 0xFFFFFFFF - kDays + 1},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ZRConvertZoneTime(row.time, row.from, row.to), row.result);
  }
}

TEST_F(Zones, TimesInISOForm) {
  char text[qv::kISOTimeSize] = "#";
  EXPECT_EQ(ZRFormatISOTime(At(2026, 7, 1, 1, 5), kParis, text, sizeof text), 20u);
  EXPECT_STREQ(text, "2026-06-30T23:05:00Z");
  EXPECT_EQ(ZRFormatISOTime(At(2026, 7, 1, 1, 5), 12345, text, sizeof text), 20u);
  EXPECT_STREQ(text, "2026-07-01T01:05:00Z") << "as it is, where it cannot be converted";
  EXPECT_EQ(ZRFormatISOTime(0, kParis, text, 11), 10u);
  EXPECT_STREQ(text, "1904-01-01");
  EXPECT_EQ(ZRFormatISOTime(0, kParis, text, 0), 0u);
}

TEST_F(Zones, AreFoundByName) {
  EXPECT_EQ(qv::FindTimeZone("Europe/Paris"), kParis);
  EXPECT_EQ(qv::FindTimeZone("Asia/Kolkata"), 58982678u) << "the first of two";
  for (const char* name : {"europe/paris", "Europe/Pari", "Europe/Paris ", ""}) {
    EXPECT_EQ(qv::FindTimeZone(name), 0u) << name;
  }
  Str255 name;
  qv::CStrToLStr(name, kMostLStr, "Etc/UTC");
  EXPECT_EQ(ZRFindTimeZone(name), 27525376u);
  EXPECT_EQ(ZRFindTimeZone(nullptr), 0u);
}

// "FOUND NAME" of what a buffer of the size gets.
std::string Name(uint32_t size, uint32_t zone, qv::ZoneNameForm form, const char* names = nullptr,
                 CodePage cp = kWesternWindows) {
  Str255 name;
  std::memset(name, '#', sizeof name);
  const bool found = ZRTimeZoneName(name, size, zone, form, names, cp);
  for (uint32_t at = std::max(size, 1u); at < sizeof name; ++at) EXPECT_EQ(name[at], '#');
  return (found ? "1 " : "0 ") + test::Text(name);
}

TEST_F(Zones, Names) {
  using enum qv::ZoneNameForm;
  const std::string most(255, 'x'), list = most + "=5";
  EXPECT_EQ(Name(256, kParis, kBest), "1 (GMT+1:00) Paris");
  EXPECT_EQ(Name(255, 20320240, kBest), "1 (GMT-4:00) Santiago, Chile");
  EXPECT_EQ(Name(256, kTokyo, kNumeric), "1 +0900");
  EXPECT_EQ(Name(254, kTokyo, kBest), "1 +0900") << "a display name needs more room";
  EXPECT_EQ(Name(7, kTokyo, kBest), "1 +0900");
  EXPECT_EQ(Name(6, kTokyo, kBest), "0 ");
  EXPECT_EQ(Name(256, kUniversalZone, kBest), "1 -0000");
  EXPECT_EQ(Name(256, 0x0ACE0016, kBest), "1 +0530");
  EXPECT_EQ(Name(256, 0x0ACE00F2, kBest), "1 -0330");
  EXPECT_EQ(Name(256, 12345, kBest), "0 ");
  EXPECT_EQ(Name(256, kTokyo, kBest, "A=1;\tB=68157732"), "1 B");
  EXPECT_EQ(Name(256, kTokyo, kBest, "A=1"), "1 +0900");
  EXPECT_EQ(Name(256, kTokyo, kBest, "=68157732"), "1 +0900") << "no name is none";
  EXPECT_EQ(Name(256, 12345, kBest, "A=12345"), "1 A");
  EXPECT_EQ(Name(256, 1, kBest, "A\\;B", 932), "1 B");
  EXPECT_EQ(Name(256, 5, kBest, list.c_str()), "1 " + most);
  EXPECT_EQ(Name(255, 5, kBest, list.c_str()), "1 " + most.substr(1));
  Str255 name;
  ZRTimeZoneNameOrUnknown(name, 256, 12345, kBest);
  EXPECT_EQ(test::Text(name), "UNKNOWN");
  ZRTimeZoneNameOrUnknown(name, 4, 12345, kBest);
  EXPECT_EQ(test::Text(name), "UNK");
  ZRTimeZoneNameOrUnknown(name, 256, kTokyo, kBest);
  EXPECT_EQ(test::Text(name), "(GMT+9:00) Osaka, Sapporo, Tokyo");
}

// --- where the data come from ---

class ZoneSources : public Zones {
 protected:
  ZoneSources() {
    test::OpenedFiles().Provide(".rez");  // that of the user's language, whatever it is
    EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
    file_ = test::OpenedFiles().source(".rez");
  }
  ~ZoneSources() override {
    test::OpenedFiles() = {};
    ReleaseCharsetTables();
  }

  void Provide(const std::string& version, const std::string& list, const std::string& rules) {
    const auto type = qv::ResourceType("ZRtz");
    if (!version.empty()) file_->Add(type, qv::kZoneVersionResource, version);
    file_->Add(type, qv::kZoneListResource, list);
    file_->Add(type, qv::kZoneRulesResource, rules);
  }

  test::MemorySource* file_ = nullptr;
};

std::string Version(uint32_t magic, uint32_t format, uint32_t version) {
  std::string record;
  for (const uint32_t value : {magic, format, version}) {
    for (int shift = 24; shift >= 0; shift -= 8) record += static_cast<char>(value >> shift);
  }
  return record;
}

TEST_F(ZoneSources, AreChosenByVersion) {
  const std::string newer = Version(0xBAADF00D, 1, 999999);
  const struct {
    const char* name;
    bool library;
    std::string record;  // of the file
    uint32_t version;
    bool from_file;
  } kRows[] = {
      {"nothing", false, "", 0, false},
      {"no record in the file", true, "", 202606, false},
      {"a newer file", true, newer, 999999, true},
      {"of the same version", true, Version(0xBAADF00D, 1, 202606), 202606, false},
      {"an older file", true, Version(0xBAADF00D, 1, 202605), 202606, false},
      {"a wrong magic", true, Version(0xBAADF00E, 1, 999999), 202606, false},
      {"a wrong format", true, Version(0xBAADF00D, 2, 999999), 202606, false},
      {"a short record", true, newer.substr(0, 11), 202606, false},
      {"only a file", false, newer, 999999, true},
      {"only a bad file", false, newer.substr(0, 11), 0, false},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Provide(row.record, "Europe/Paris=32769028;Mine=7",
            "Zone Europe/Paris 5 - x\nZone Mine 1 - x\n");
    ZRInitModuleResources(row.library ? GetModuleHandleA(nullptr) : nullptr);
    EXPECT_TRUE(ZRReloadTimeZones());
    EXPECT_EQ(ZRTimeZoneDataVersion(), row.version);
    EXPECT_EQ(qv::FindTimeZone("Mine"), row.from_file ? 7u : 0u);
    EXPECT_EQ(Offsets(At(2026, 1, 1, 0), TimeKind::kLocal, kParis), row.from_file ? "18000 18000 0"
                                                                    : row.library ? "3600 3600 0"
                                                                                  : "none");
  }
}

// What was read before an error stays in use, and the list is read all the same.
TEST_F(ZoneSources, DamagedRulesServeUpToTheirError) {
  Provide(Version(0xBAADF00D, 1, 999999), "A=1;A=1;B=1;B;C",
          "Zone A 1 - x\nZone B 2 - x\nRule 5\nZone C 3 - x\n");
  static std::string output;
  output.clear();
  qv::GlobalHooks().show_in_console = [](const char* text) {
    output += text;
    return true;
  };
  qv::SetDebugFlag(1);
  EXPECT_EQ(Offsets(5, TimeKind::kLocal, 1), "3600 3600 0") << "the first of the id";
  EXPECT_EQ(Offsets(5, TimeKind::kLocal, 2), "7200 7200 0");
  EXPECT_EQ(Offsets(5, TimeKind::kLocal, 3), "none") << "offered, and without rules";
  std::string offered;
  uint32_t zone = 0;
  for (size_t i = 0; qv::GetOfferedZone(i, &zone); ++i) offered += std::to_string(zone);
  EXPECT_EQ(offered, "11123");
  EXPECT_EQ(qv::FindTimeZone("B"), 1u) << "by name also an entry whose id is another's";
  qv::SetDebugFlag(0);
  EXPECT_NE(output.find("TZDataParser: Parse failed, bad grammar.  Expected symbol type 5, "
                        "encountered symbol type 3.\r\n"),
            std::string::npos);
}

// --- several callers ---

TEST_F(Zones, ThreadsShareWhatOneLoadsAndWorksOut) {
  const struct {
    uint32_t zone;
    int32_t total;
  } kRows[] = {{kParis, 7200},     {kLondon, 3600},   {kNewYork, -14400}, {kTokyo, 32400},
               {18350832, -10800}, {20972274, -9000}, {76023592, 36000}};
  const uint32_t summer = At(2026, 7, 1, 12);
  std::atomic<int> wrong = 0, running = 4;
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (size_t i = 0; i < 3000; ++i) {
        const auto& row = kRows[(i + t) % std::size(kRows)];
        ZRZoneOffsets offsets;
        const bool found = ZRTimeZoneOffsets(summer, TimeKind::kLocal, row.zone, &offsets);
        wrong += found && offsets.total == row.total ? 0 : 1;
      }
      --running;
    });
  }
  int reloads = 0;
  for (; running > 0 && reloads < 20; ++reloads) EXPECT_TRUE(ZRReloadTimeZones());
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GT(reloads, 0);
}

TEST_F(Zones, MemoryIsGivenBack) {
  const uint32_t handles = ZRCountHandles();  // tasks that were killed may have left some
  EXPECT_TRUE(ZRLoadTimeZones());
  const qv::TimeZoneMemory fresh = qv::TimeZoneMemoryHeld();
  Offsets(5, TimeKind::kLocal, kParis);
  EXPECT_GT(qv::TimeZoneMemoryHeld().zones, fresh.zones);
  EXPECT_LT(qv::TimeZoneMemoryHeld().zones, fresh.zones + 8192) << "of one zone";
  EXPECT_TRUE(ZRReloadTimeZones());
  EXPECT_EQ(qv::TimeZoneMemoryHeld().zones, fresh.zones);
  EXPECT_EQ(ZRCountHandles(), handles) << "the texts are not kept";
}

}  // namespace

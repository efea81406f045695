#include "format/durations.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "resources/charset_loader.h"
#include "resources/resource_chain.h"
#include "tests/resources/opened_files.h"
#include "text/length_prefixed.h"

namespace {

// What the chain looks for in a test executable.
constexpr char kMainFile[] = "en-US.rez";

constexpr uint32_t kDay = 24 * 3600, kWeek = 7 * kDay;

class Durations : public testing::Test {
 protected:
  Durations() {
    test::OpenedFiles().Provide(kMainFile);
    EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
  }
  ~Durations() override {
    qv::ResetResourceChainForTest();
    test::OpenedFiles() = {};
    ReleaseCharsetTables();
  }
  // What a file gives goes before the library's own words.
  static void Translate(const std::vector<std::string>& entries) {
    test::OpenedFiles().source(kMainFile)->AddList(qv::kDurationList, entries);
  }
};

std::string Format(uint32_t seconds, int32_t style, uint32_t fields = qv::kAllDurationFields,
                   ZRDurationUnitHook hook = nullptr, uint32_t size = 200) {
  std::string text(size + 1, '\x5A');
  const uint32_t bytes = ZRFormatDuration(seconds, text.data(), size, style, fields, hook);
  EXPECT_LE(bytes, size);
  EXPECT_EQ(text[size], '\x5A');
  if (bytes == 0 && size > 0) {
    EXPECT_EQ(text[0], seconds == 0 ? '\x5A' : '\0');
  }
  return text.substr(0, bytes);
}

TEST_F(Durations, SplitIntoUnits) {
  constexpr uint32_t kAll = qv::kAllDurationFields, kClockFields = 4 + 8 + 16;
  const struct {
    uint32_t seconds, fields;
    const char *in_long, *in_short, *third, *clock;
  } kRows[] = {
      {0, kAll, "", "", "", ""},
      {1, kAll, "1 second", "1 sec", "00:00:01", "00:00:01"},
      {2, kAll, "2 seconds", "2 secs", "00:00:02", "00:00:02"},
      {60, kAll, "1 minute", "1 min", "00:01:00", "00:01:00"},
      {3600, kAll, "1 hour", "1 h", "01:00:00", "01:00:00"},
      {93784, kAll, "1 day 2 hours 3 minutes 4 seconds", "1 d 2 h 3 mins 4 secs", "1 d 02:03:04",
       "02:03:04"},
      {93784, kClockFields, "26 hours 3 minutes 4 seconds", "26 h 3 mins 4 secs", "26:03:04",
       "26:03:04"},
      {2 * kWeek + kDay, kAll, "2 weeks 1 day", "2 w 1 d", "2 w 1 d 00:00:00", "00:00:00"},
      {kWeek + 3 * kDay + 5, kAll, "1 week 3 days 5 seconds", "1 w 3 d 5 secs", "1 w 3 d 00:00:05",
       "00:00:05"},
      {3 * kWeek, 2 + 16, "21 days", "21 d", "21 d 00:00:00", "00:00:00"},
      {125, 8, "2 minutes", "2 mins", "00:02:00", "00:02:00"},
      {59, 8, "", "", "00:00:00", "00:00:00"},
      {3600, 16, "3600 seconds", "3600 secs", "00:00:3600", "00:00:3600"},
      {5, 0, "", "", "00:00:00", "00:00:00"},
      {0xFFFFFFFF, 16, "4294967295 seconds", "4294967295 secs", "00:00:4294967295",
       "00:00:4294967295"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.seconds << " in " << row.fields);
    EXPECT_EQ(Format(row.seconds, qv::kLongDuration, row.fields), row.in_long);
    EXPECT_EQ(Format(row.seconds, qv::kShortDuration, row.fields), row.in_short);
    EXPECT_EQ(Format(row.seconds, qv::kMixedDuration, row.fields), row.third);
    EXPECT_EQ(Format(row.seconds, -1, row.fields), row.third);
    EXPECT_EQ(Format(row.seconds, qv::kClockDuration, row.fields), row.clock);
  }
}

TEST_F(Durations, AreCutToTheBuffer) {
  const std::string whole = Format(93784, qv::kLongDuration);
  for (uint32_t size = 0; size <= whole.size() + 1; ++size) {
    EXPECT_EQ(Format(93784, qv::kLongDuration, 31, nullptr, size), whole.substr(0, size));
  }
  EXPECT_EQ(ZRFormatDuration(60, nullptr, 10, 1, 31), 0u);
  Translate({" %ld \xC3\xBC"});
  EXPECT_EQ(Format(2 * kWeek, 1, 31, nullptr, 3), "2 ");  // a character stays whole
}

TEST_F(Durations, TextsOfResourcesCanDoNoHarm) {
  const struct {
    const char *name, *entry, *text;
  } kRows[] = {
      {"a translation", " %ld Wochen", "12 Wochen"},
      {"no blank in front", "%u", "12"},
      {"a width", "[%4ld][%5d]", "[  12][%5d]"},
      {"zeros", "%05lld", "00012"},
      {"a width without end", "%99999999999999999999d", "       12"},
      {"other conversions", "%s %n %x %-3d %d", "%s %n %x %-3d 12"},
      {"a percent sign", "100%% %d%", "100% 12%"},
      {"no number", "weeks", "weeks"},
      {"empty", "", ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Translate({row.entry});
    EXPECT_EQ(Format(12 * kWeek, qv::kLongDuration), row.text);
  }
  // The longest text that can be: none is lost but what does not fit.
  const std::string longest(255, 'x');
  Translate({longest, "", "", longest, "", "", longest, "", "", longest, "", "", longest});
  EXPECT_EQ(Format(2 * (kWeek + kDay + 3600 + 60 + 1), 1, 31, nullptr, 2000).size(), 5 * 255u);
}

std::string& Asked() {
  static std::string asked;
  return asked;
}

TEST_F(Durations, TakeTheirWordsFromAHook) {
  const ZRDurationUnitHook hook = [](uint8_t* text, int32_t list, int32_t form, int32_t zero,
                                     const char* unit, uint32_t value) {
    EXPECT_EQ(text[0], 0);
    EXPECT_EQ(zero, 0);
    Asked() += std::to_string(list) + "/" + std::to_string(form) + " " + unit + "=" +
               std::to_string(value) + ";";
    if (value != 3) qv::CStrToLStr(text, 255, " some");
  };
  EXPECT_EQ(Format(kWeek + 93784, qv::kLongDuration, 31, hook), "some some some some");
  EXPECT_EQ(Asked(), "147/1 weeks=1;147/1 days=1;143/1 hours=2;143/1 minutes=3;143/1 seconds=4;");
  Asked().clear();
  EXPECT_EQ(Format(3600, qv::kShortDuration, 31, hook), "some");
  EXPECT_EQ(Format(3600, qv::kMixedDuration, 31, hook), "some some some");
  EXPECT_EQ(Asked(), "147/2 hours=1;147/3 hours=1;143/3 minutes=0;143/3 seconds=0;");
  EXPECT_EQ(Format(3600, qv::kClockDuration, 31, hook), "01:00:00");
}

TEST_F(Durations, AsLengthPrefixedText) {
  Str255 text;
  EXPECT_EQ(ZRFormatDurationLStr(60, text, qv::kLongDuration, 31), 8u);
  EXPECT_EQ(std::string(text + 1, text + 1 + text[0]), "1 minute");
  EXPECT_EQ(ZRFormatDurationLStr(0, text, qv::kLongDuration, 31), 0u);
  EXPECT_EQ(text[0], 0);
  EXPECT_EQ(ZRFormatDurationLStr(60, nullptr, qv::kLongDuration, 31), 0u);
}

}  // namespace

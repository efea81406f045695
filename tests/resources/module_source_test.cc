#include "resources/module_source.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using qv::ResourceType;

class ModuleSourceTest : public testing::Test {
 protected:
  ModuleSourceTest() { EXPECT_EQ(ZRInitModuleResources(GetModuleHandleA(nullptr)), ZRErrNone); }
};

std::string Find(qv::ResourceTypeCode type, int32_t number) {
  const qv::Bytes bytes = qv::ModuleSource().Find(type, number);
  return bytes.data() == nullptr ? "none" : std::string(bytes.begin(), bytes.end());
}

TEST_F(ModuleSourceTest, FindsByTypeAndNumber) {
  const struct {
    const char* name;
    qv::ResourceTypeCode type;
    int32_t number;
    std::string bytes;
  } kRows[] = {
      {"by number", ResourceType("TEST"), 7, "\1\2\3"},
      {"case does not matter", ResourceType("tesT"), 9, "\n"},
      {"no such number", ResourceType("TEST"), 8, "none"},
      {"no such type", ResourceType("NONE"), 7, "none"},
      {"only the low 16 bits count", ResourceType("TEST"), 0x30007, "\1\2\3"},
      {"negative", ResourceType("TEST"), -5, "\5"},
      {"the lowest of all", ResourceType("TEST"), INT32_MIN, "none"},
      {"negative without a namesake", ResourceType("TEST"), -7, "none"},
      {"a blank at the end is dropped", ResourceType("STR "), 4, "\2OK"},
      {"a code page, by its mixed name", ResourceType("ZRcs"), 1, "\x04\xE4"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Find(row.type, row.number), row.bytes);
  }
}

struct Visit {
  std::vector<std::pair<qv::ResourceTypeCode, int32_t>> seen;
  int answer = 0;
  size_t stop_after = 1000;  // answers 1 then
};

int Record(qv::ResourceTypeCode type, int32_t number, void* user_data) {
  Visit& visit = *static_cast<Visit*>(user_data);
  visit.seen.emplace_back(type, number);
  return visit.seen.size() == visit.stop_after ? 1 : visit.answer;
}

TEST_F(ModuleSourceTest, EnumeratesATypeUntilTheCallbackAnswersOne) {
  const auto test = ResourceType("TEST");
  Visit all;
  EXPECT_EQ(qv::ModuleSource().Enumerate(test, Record, &all), 3u);
  EXPECT_EQ(all.seen, (decltype(all.seen){{test, 7}, {test, 9}, {test, 11}}));

  Visit other_answers{{}, 2};
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("test"), Record, &other_answers), 3u);

  Visit stopped{{}, 0, 2};
  EXPECT_EQ(qv::ModuleSource().Enumerate(test, Record, &stopped), 2u);

  Visit tables;
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("CHUC"), Record, &tables), 110u);
  EXPECT_EQ(tables.seen.front().second, 128);
  EXPECT_EQ(tables.seen.back().second, 237);
  Visit none;
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("NONE"), Record, &none), 0u);
}

TEST_F(ModuleSourceTest, EnumeratesPlatformTypesByTheirNames) {
  Visit version, short_name, everything;
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("VERS"), Record, &version), 1u);
  EXPECT_EQ(version.seen.at(0), std::make_pair(ResourceType("VERS"), 1));
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("STR "), Record, &short_name), 1u);
  const uint32_t count = qv::ModuleSource().Enumerate(0, Record, &everything);
  EXPECT_GT(count, 110u + 13 + 5);
  EXPECT_EQ(everything.seen.size(), count);
  Visit first{{}, 0, 1};
  EXPECT_EQ(qv::ModuleSource().Enumerate(0, Record, &first), 1u);  // the stop ends all types
}

TEST(ResourceTypes, OfPlatformNumbers) {
  const struct {
    uint32_t number;
    const char (&type)[5];
  } kRows[] = {{0, "????"},  {1, "CURS"},  {6, "STRS"},  {10, "RCDt"},
               {13, "??13"}, {16, "VERS"}, {17, "????"}, {0xFFFFFFFF, "????"}};
  for (const auto& row : kRows) {
    EXPECT_EQ(qv::TypeOfPlatformNumber(row.number), ResourceType(row.type)) << row.number;
  }
}

// The strings of the library, through the platform's own call.
TEST(ModuleStrings, StandInTheirLists) {
  const struct {
    UINT list, index;
    const char* text;
  } kRows[] = {{1, 1, "^0"},       {1, 3, "OK"},         {2, 4, "Cancel"},    {3, 3, "Yes"},
               {4, 5, "Cancel"},   {4, 2, "^1"},         {999, 1, "Ctrl+"},   {999, 2, "Alt+"},
               {999, 3, "Shift+"}, {999, 4, "Command+"}, {999, 5, "Option+"}, {1, 4, ""}};
  for (const auto& row : kRows) {
    char buffer[32] = "before";
    const int length = LoadStringA(GetModuleHandleA(nullptr), row.list * 16 + row.index - 1, buffer,
                                   sizeof buffer);
    EXPECT_EQ(length, static_cast<int>(std::string(row.text).size()));
    EXPECT_STREQ(length > 0 ? buffer : "", row.text);
  }
}

}  // namespace

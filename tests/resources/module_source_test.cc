#include "resources/module_source.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "files/disk_file.h"
#include "memory/handles.h"
#include "resources/charset_loader.h"
#include "resources/locked_handle.h"
#include "tests/test_platform.h"

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
      {"but not behind NEG", ResourceType("STR "), -6, "none"},
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

TEST_F(ModuleSourceTest, Enumerates) {
  const auto test = ResourceType("TEST"), version = ResourceType("VERS");
  const struct {
    const char* name;
    qv::ResourceTypeCode type;
    int answer;
    size_t stop_after;
    size_t count;
    std::pair<qv::ResourceTypeCode, int32_t> first, last;
  } kRows[] = {
      {"a type", test, 0, 1000, 3, {test, 7}, {test, 11}},
      {"in another letter case", ResourceType("test"), 0, 1000, 3, {test, 7}, {test, 11}},
      {"an answer that does not count", test, 2, 1000, 3, {test, 7}, {test, 11}},
      {"until the answer is 1", test, 0, 2, 2, {test, 7}, {test, 9}},
      {"a type of the platform", version, 0, 1000, 1, {version, 1}, {version, 1}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Visit visit{{}, row.answer, row.stop_after};
    EXPECT_EQ(qv::ModuleSource().Enumerate(row.type, Record, &visit), row.count);
    ASSERT_EQ(visit.seen.size(), row.count);
    EXPECT_EQ(visit.seen.front(), row.first);
    EXPECT_EQ(visit.seen.back(), row.last);
  }
  Visit tables, short_name, none, everything, first{{}, 0, 1};
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("CHUC"), Record, &tables), 120u);
  EXPECT_EQ(tables.seen.front().second, 128);
  EXPECT_EQ(tables.seen.back().second, 247);
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("STR "), Record, &short_name), 1u);
  EXPECT_EQ(qv::ModuleSource().Enumerate(ResourceType("NONE"), Record, &none), 0u);
  const uint32_t count = qv::ModuleSource().Enumerate(0, Record, &everything);
  EXPECT_GT(count, 120u + 13 + 5);
  EXPECT_EQ(everything.seen.size(), count);
  EXPECT_EQ(qv::ModuleSource().Enumerate(0, Record, &first), 1u);  // the stop ends all types
}

// --- handles ---

std::string BytesOf(ZRHandle handle) {
  const qv::LockedHandle locked(handle);
  return locked.data() ? std::string(locked.bytes().begin(), locked.bytes().end()) : "none";
}

struct Name {
  explicit Name(const std::string& name) { qv::CStrToLStr(text, kMostLStr, name.c_str()); }
  Str255 text;
};

TEST_F(ModuleSourceTest, GivesOneHandleAndAnyNumberOfCopies) {
  CModuleRes& source = qv::ModuleSource();
  const auto type = ResourceType("TEST");
  const ZRHandle seven = source.GetResource(type, 7);
  EXPECT_EQ(BytesOf(seven), "\1\2\3");
  EXPECT_EQ(source.GetResource(type, 7), seven);
  EXPECT_NE(source.GetResource(type, 9), seven);
  EXPECT_EQ(BytesOf(source.GetResource(type, -5)), "\5");
  EXPECT_EQ(source.GetResource(type, 8), 0u);
  EXPECT_EQ(source.cache().count(), 3);

  ZRHandle copy = source.LoadResourceCopy(type, 7);
  EXPECT_NE(copy, seven);
  EXPECT_EQ(BytesOf(copy), "\1\2\3");
  ZRDisposeHandle(&copy);
  EXPECT_EQ(source.LoadResourceCopy(type, 8), 0u);
  EXPECT_EQ(source.cache().count(), 3) << "a copy does not touch the cache";

  EXPECT_EQ(source.GetResourceSize(type, 9), 1);
  EXPECT_EQ(source.GetResourceSize(type, 11), 1) << "not given out yet";
  EXPECT_EQ(source.GetResourceSize(type, 8), qv::kNoResource);
  ASSERT_EQ(ZRSetHandleSize(seven, 20), ZRErrNone);
  EXPECT_EQ(source.GetResourceSize(type, 7), 20) << "of the handle that was given out";

  const uint32_t before = ZRCountHandles();
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  EXPECT_EQ(ZRCountHandles(), before - 4) << "three handles and the table";
  EXPECT_EQ(source.GetResourceSize(type, 7), 3);
}

TEST_F(ModuleSourceTest, FindsByName) {
  CModuleRes& source = qv::ModuleSource();
  const auto type = ResourceType("TEST");
  const ZRHandle banner = source.GetNamedResource(type, Name("banner").text);
  EXPECT_EQ(BytesOf(banner), "B!");
  EXPECT_EQ(source.GetNamedResource(type, Name("banner").text), banner);
  EXPECT_NE(source.GetNamedResource(type, Name("BANNER").text), banner)
      << "the cache compares byte for byte";
  EXPECT_EQ(BytesOf(source.GetNamedResource(type, Name(std::string(85, 'N')).text)), "L")
      << "the first 79 bytes count";
  EXPECT_EQ(source.GetNamedResource(type, Name(std::string(78, 'N')).text), 0u);
  EXPECT_EQ(source.GetNamedResource(type, Name("").text), 0u);
  EXPECT_EQ(source.GetNamedResource(type, nullptr), 0u);
  ZRHandle copy = source.LoadNamedResourceCopy(type, Name("Banner").text);
  EXPECT_EQ(BytesOf(copy), "B!");
  ZRDisposeHandle(&copy);
}

int RecordNames(qv::ResourceTypeCode, int32_t number, const uint8_t* name, CodePage cp,
                void* user_data) {
  EXPECT_EQ(cp, kUtf8);
  auto& names = *static_cast<std::vector<std::string>*>(user_data);
  const qv::Bytes bytes = qv::LStrBytes(name);
  names.push_back(std::to_string(number) + std::string(bytes.begin(), bytes.end()));
  return names.back() == "9" ? qv::kStopWalk : 2;
}

TEST_F(ModuleSourceTest, EnumeratesNamesAndNumbers) {
  std::vector<std::string> names;
  EXPECT_EQ(qv::ModuleSource().EnumResources(ResourceType("tEst"), RecordNames, &names),
            ZRErrNotSupported);
  EXPECT_EQ(names, (std::vector<std::string>{"0BANNER", "0" + std::string(79, 'N'), "7", "9"}));
}

TEST_F(ModuleSourceTest, DeliversTheStringsOfItsLists) {
  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  const struct {
    const char* name;
    int32_t list, index, maximum;
    CodePage cp;
    const char* text;  // null: not found
  } kRows[] = {
      {"the first", 999, 1, 255, kUtf8, "Ctrl+"},
      {"the fifth", 999, 5, 255, kUtf8, "Option+"},
      {"of a question", 2, 3, 255, kUtf8, "OK"},
      {"another one's", 3, 3, 255, kUtf8, "Yes"},
      {"the last of three", 4, 5, 255, kUtf8, "Cancel"},
      {"a place for a text", 4, 2, 255, kUtf8, "^1"},
      {"cut", 999, 5, 3, kUtf8, "Opt"},
      {"a maximum of 0", 999, 5, 0, kUtf8, ""},
      {"behind the last", 999, 6, 255, kUtf8, nullptr},
      {"index 0", 2, 0, 255, kUtf8, nullptr},
      {"the last of a whole list", 60, 16, 255, kUtf8, "16"},
      {"the next list is another", 60, 17, 255, kUtf8, nullptr},
      {"nor the list before", 61, 0, 255, kUtf8, nullptr},
      {"no such list", 500, 1, 255, kUtf8, nullptr},
      {"a list below 0", -1, 1, 255, kUtf8, nullptr},
      {"a list past the numbers of strings", 4096, 1, 255, kUtf8, nullptr},
      {"a list that would wrap", 0x10000000 + 999, 1, 255, kUtf8, nullptr},
      {"as it is", 999, 2, 255, qv::kNoConversion, "Alt+"},
      {"a code page without a table", 999, 2, 255, 4711, nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Str255 out = {1, '?'};
    EXPECT_EQ(qv::ModuleSource().GetIndString(out, row.list, row.index, row.maximum, row.cp),
              row.text != nullptr);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(out + 1), out[0]), row.text ? row.text : "");
    if (row.maximum == 0 || row.list < 0 || row.list > 4095 || row.index < 1 || row.index > 16) {
      continue;
    }
    char whole[256] = "?";
    EXPECT_EQ(
        qv::ModuleSource().GetString(whole, row.list * 16 + row.index - 1, row.maximum + 1, row.cp),
        row.text != nullptr);
    EXPECT_STREQ(whole, row.text ? row.text : "");
  }
  char wide[12];
  EXPECT_TRUE(qv::ModuleSource().GetString(wide, 999 * 16 + 1, sizeof wide, kUtf16Little));
  EXPECT_EQ(std::string(wide, 10), std::string("A\0l\0t\0+\0\0\0", 10));
  ReleaseCharsetTables();
}

TEST_F(ModuleSourceTest, HasNothingBeforeItIsBound) {
  CModuleRes source;
  char text[8];
  EXPECT_EQ(source.GetModule(), nullptr);
  EXPECT_EQ(source.GetResource(ResourceType("TEST"), 7), 0u);
  EXPECT_FALSE(source.GetString(text, 999 * 16, sizeof text, kUtf8));
  Visit all;
  EXPECT_EQ(source.Enumerate(0, Record, &all), 0u);
}

TEST_F(ModuleSourceTest, OpensAFileAsAModule) {
  const auto at_temp_folder = [](const char* name) {
    auto* file = new CDiskFile;
    EXPECT_EQ(file->GoToTempFolder(), ZRErrNone);
    EXPECT_EQ(file->SetName(name), ZRErrNone);
    return file;
  };
  CModuleRes source;
  EXPECT_EQ(source.Open(nullptr, true), ZRErrParam);
  CDiskFile* file = at_temp_folder("no such file");
  EXPECT_EQ(source.Open(&file, true), ZRErrNotFound);
  ASSERT_NE(file, nullptr);
  delete file;

  file = at_temp_folder("no module.dll");
  char path[300];
  ASSERT_EQ(file->GetNativePath(path, sizeof path), ZRErrNone);
  ASSERT_TRUE(test::WriteWholeFile(path, "text"));
  EXPECT_EQ(source.Open(&file, true), ZRErrOpenFailed);
  ASSERT_NE(file, nullptr);
  EXPECT_EQ(source.GetModule(), nullptr);
  delete file;

  char own_path[300];
  GetModuleFileNameA(nullptr, own_path, sizeof own_path);
  *(std::strrchr(own_path, '\\') + 1) = '\0';
  std::strcat(own_path, QV_TEST_LIBRARY_FILE);
  file = at_temp_folder("module.dll");
  ASSERT_EQ(file->GetNativePath(path, sizeof path), ZRErrNone);
  ASSERT_TRUE(test::WriteWholeFile(path, test::ReadWholeFile(own_path)));
  ASSERT_EQ(source.Open(&file, true), ZRErrNone);
  EXPECT_EQ(file, nullptr);
  EXPECT_NE(source.GetModule(), nullptr);
  char text[64];
  EXPECT_TRUE(source.GetString(text, 2579, sizeof text, qv::kNoConversion));
  EXPECT_STREQ(text, "test_debug.log");
  source.Bind(nullptr);
  EXPECT_EQ(GetModuleHandleA("module.dll"), nullptr) << "it was unloaded";
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

}  // namespace

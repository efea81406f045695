// What the platform says of the user's language, and says only when it is asked to fail.
#include <gtest/gtest.h>

#include "platform/host/control.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "resources/user_language.h"
#include "tests/resources/opened_files.h"

namespace {

std::string UserLanguage() {
  char tag[qv::kUserLanguageSize];
  qv::GetUserLanguage(tag);
  return tag;
}

TEST(UserLanguage, IsThatOfThePlatformOrEnglish) {
  const struct {
    const char *language, *country;
    uint32_t failing;  // call of GetLocaleInfoW
    const char* tag;
  } kRows[] = {{"de", "AT", 0, "de-AT"},
               {"de", "AT", 1, "en-US"},
               {"de", "AT", 2, "en-US"},
               {"de", "", 0, "en-US"},
               {"longerthannine", "AT", 0, "en-US"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.language << row.country << row.failing);
    host::ClearFaults();
    host::SetUserLanguage(row.language, row.country);
    if (row.failing) host::FailCall("GetLocaleInfoW", row.failing, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(UserLanguage(), row.tag);
  }
  host::ClearFaults();
  host::FailCall("GetUserDefaultLCID", 1, ERROR_INVALID_PARAMETER);
  EXPECT_EQ(UserLanguage(), "en-US");
  host::ClearFaults();
  host::SetUserLanguage("en", "US");
}

TEST(UserLanguage, IsKeptFromTheFirstQuestionOn) {
  qv::ResetLanguageTagForTest();
  char tag[qv::kUserLanguageSize] = "untouched", cut[4];
  ZRGetLanguageTag(tag, 0);
  EXPECT_STREQ(tag, "untouched");
  host::SetUserLanguage("de", "AT");
  ZRGetLanguageTag(cut, sizeof cut);
  EXPECT_STREQ(cut, "de-");
  host::SetUserLanguage("en", "US");
  ZRGetLanguageTag(tag, sizeof tag);
  EXPECT_STREQ(tag, "de-AT");
  qv::ResetLanguageTagForTest();
  ZRGetLanguageTag(tag, sizeof tag);
  EXPECT_STREQ(tag, "en-US");
  ZRGetLanguageTag(nullptr, 5);
}

TEST(UserLanguage, NamesTheMainFile) {
  for (const char* name : {"\\de-AT.rez", "\\de.rez"}) {
    host::SetUserLanguage("de", "AT");
    test::OpenedFiles().Provide(name);
    EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
    EXPECT_NE(test::OpenedFiles().source(name), nullptr);
    qv::ResetResourceChainForTest();
    test::OpenedFiles() = {};
  }
  host::SetUserLanguage("en", "US");
  ReleaseCharsetTables();
}

// The folder of the application cannot be had: bare names are not looked for anywhere else.
TEST(UserLanguage, NoFolderNoFile) {
  test::OpenedFiles().Install();
  host::FailCall("GetModuleFileNameA", 1, ERROR_NOT_ENOUGH_MEMORY, true);
  EXPECT_EQ(ZROpenResourceFile("x.rez"), nullptr);
  EXPECT_GE(host::FaultsStruck(), 1u);
  EXPECT_TRUE(test::OpenedFiles().asked().empty());
  host::ClearFaults();
  qv::ResetResourceChainForTest();
}

// Each call of a look-up fails in turn: no handle, nothing kept.
TEST(ModuleSourceFaults, GiveNoHandle) {
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  ZRHandle table = ZRNewHandle(1);
  ZRDisposeHandle(&table);
  const uint32_t handles = ZRCountHandles();
  for (const char* call : {"FindResourceA", "LoadResource", "LockResource"}) {
    SCOPED_TRACE(call);
    host::FailCall(call, 1, ERROR_NOT_ENOUGH_MEMORY);
    EXPECT_EQ(qv::ModuleSource().GetResource(qv::ResourceType("TEST"), 7), 0u);
    EXPECT_EQ(host::FaultsStruck(), 1u);
    EXPECT_EQ(ZRCountHandles(), handles);
    host::ClearFaults();
  }
  EXPECT_NE(qv::ModuleSource().GetResource(qv::ResourceType("TEST"), 7), 0u);
}

}  // namespace

#include "resources/resource_chain.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "base/hooks.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "tests/resources/memory_source.h"
#include "tests/resources/opened_files.h"
#include "text/converters.h"

namespace {

using qv::ResourceType;
using test::OpenedFiles;
using test::Text;

constexpr char kFileA[] = "C:\\Temp\\a.rez", kFileB[] = "C:\\Temp\\b.rez";

class ResourceChain : public testing::Test {
 protected:
  // A chain of all four, each with what a row names.
  void OpenAll() {
    for (const char* name : {"main.rez", kFileA, kFileB}) OpenedFiles().Provide(name);
    EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
    main_ = OpenedFiles().source("main.rez");
    a_ = OpenedFiles().source(kFileA);
    b_ = OpenedFiles().source(kFileB);
    ASSERT_TRUE(main_ && a_ && b_);
  }
  ~ResourceChain() override {
    qv::ResetResourceChainForTest();
    OpenedFiles() = {};
    ReleaseCharsetTables();
    qv::ResetHooksForTest();
  }
  std::string First(int32_t number) {
    char text[32];
    return ZRGetString(text, number, sizeof text) ? text : "none";
  }
  test::MemorySource *main_ = nullptr, *a_ = nullptr, *b_ = nullptr;
};

TEST_F(ResourceChain, AsksInOrder) {
  OpenAll();
  const auto type = ResourceType("TEST");
  const struct {
    const char* name;
    std::vector<std::string> holders;
    const char *off, *on;  // with the extra files off and on
  } kRows[] = {
      {"all", {"b", "main", "a"}, "main", "b"}, {"not in b", {"main", "a"}, "main", "main"},
      {"only in a", {"a"}, "none", "a"},        {"only in b", {"b"}, "none", "b"},
      {"in none", {}, "none", "none"},
  };
  int32_t number = 100;
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ++number;
    const std::map<std::string, test::MemorySource*> files{
        {"main", main_}, {"a", a_}, {"b", b_}, {"none", nullptr}};
    for (const std::string& text : row.holders) {
      test::MemorySource* holder = files.at(text);
      holder->Add(qv::kStringType, number, static_cast<char>(text.size()) + text);
      holder->Add(type, number, text, "name " + std::to_string(number));
      holder->AddList(number, {text});
    }
    Str255 name;
    qv::CStrToLStr(name, kMostLStr, ("name " + std::to_string(number)).c_str());
    for (const bool extra : {false, true}) {
      ZRUseExtraResourceFiles(extra);
      const std::string expected = extra ? row.on : row.off;
      EXPECT_EQ(First(number), expected);
      EXPECT_EQ(qv::FindFileWithResource(type, number), files.at(expected));
      Str255 item;
      EXPECT_EQ(ZRGetIndString(item, number, 1, 255), expected != "none");
      EXPECT_EQ(Text(item), expected == "none" ? "" : expected);
      EXPECT_EQ(ZRGetResourceSize(type, number),
                expected == "none" ? -1 : static_cast<int32_t>(expected.size()));
      const ZRHandle handle = ZRGetResource(type, number);
      EXPECT_EQ(ZRGetHandleSize(handle), expected == "none" ? 0 : expected.size());
      EXPECT_EQ(ZRGetNamedResource(type, name), handle);
      for (ZRHandle copy :
           {ZRLoadResourceCopy(type, number), ZRLoadNamedResourceCopy(type, name)}) {
        EXPECT_EQ(copy != 0, handle != 0);
        EXPECT_TRUE(copy == 0 || copy != handle);
        ZRDisposeHandle(&copy);
      }
    }
    ZRUseExtraResourceFiles(false);
  }
}

TEST_F(ResourceChain, EndsWithTheModule) {
  OpenAll();
  Str255 text;
  EXPECT_TRUE(ZRGetIndString(text, 999, 1, 255));
  EXPECT_EQ(Text(text), "Ctrl+");
  char zero_terminated[6] = "#####";
  EXPECT_TRUE(ZRGetIndCString(zero_terminated, 999, 5, 5));
  EXPECT_STREQ(zero_terminated, "Optio");
  EXPECT_FALSE(ZRGetIndCString(zero_terminated, 999, 6, 5));
  EXPECT_STREQ(zero_terminated, "");
  EXPECT_EQ(ZRGetResourceSize(ResourceType("TEST"), 7), 3);
  EXPECT_EQ(qv::FindFileWithResource(ResourceType("TEST"), 7), nullptr) << "the module is no file";
  main_->AddList(999, {"^"});
  EXPECT_TRUE(ZRGetIndCString(zero_terminated, 999, 1, 5));
  EXPECT_STREQ(zero_terminated, "^") << "the main file goes before";
}

TEST_F(ResourceChain, HandlesGoBackToTheirSource) {
  OpenAll();
  const auto type = ResourceType("TEST");
  main_->Add(type, 200, "x");
  ZRHandle from_file = ZRGetResource(type, 200), from_module = ZRGetResource(type, 7);
  EXPECT_TRUE(ZRReloadResource(from_file));
  EXPECT_FALSE(ZRReloadResource(from_module));
  ZRReleaseResource(&from_file);
  EXPECT_EQ(from_file, 0u);
  const ZRHandle kept = from_module;
  ZRReleaseResource(&from_module);
  EXPECT_EQ(from_module, kept) << "the module source takes none";
  ZRReleaseResource(&from_file);
  ZRReleaseResource(nullptr);
  ZRPurgeResources();
  EXPECT_EQ(main_->purges, 1u);
  EXPECT_EQ(a_->purges, 0u) << "extra files are asked only while the switch is on";
}

struct Seen {
  std::vector<std::string> resources;
  int answer = 0;
};

int Record(qv::ResourceTypeCode, const uint8_t* name, CodePage cp, int32_t number,
           void* user_data) {
  auto& seen = *static_cast<Seen*>(user_data);
  seen.resources.push_back(std::to_string(number) + Text(name) + "@" + std::to_string(cp));
  return seen.answer;
}

TEST_F(ResourceChain, EnumeratesEverySource) {
  OpenAll();
  main_->SetCodePage(1250);
  main_->Add(ResourceType("TEST"), 1, "");
  main_->Add(ResourceType("TEST"), 2, "", "two");
  Seen all;
  EXPECT_EQ(ZREnumResources(ResourceType("TEST"), Record, &all), 7u);
  EXPECT_EQ(all.resources, (std::vector<std::string>{"1@1250", "2two@1250", "0BANNER@65001",
                                                     "0" + std::string(79, 'N') + "@65001",
                                                     "7@65001", "9@65001", "11@65001"}));
  for (const int stop : {1, 2, -1}) {
    Seen stopped{{}, stop};
    EXPECT_EQ(ZREnumResources(ResourceType("TEST"), Record, &stopped), 2u);
    EXPECT_EQ(stopped.resources, (std::vector<std::string>{"1@1250", "0BANNER@65001"}))
        << "the walk goes on in the next source";
  }
  EXPECT_EQ(ZREnumResources(ResourceType("TEST"), nullptr, nullptr), 0u);
}

// --- start-up ---

uint32_t& Clearings() {
  static uint32_t clearings = 0;
  return clearings;
}

TEST_F(ResourceChain, StartUpLooksForTheFiles) {
  Clearings() = 0;
  qv::GlobalHooks().clear_accelerators = [] { ++Clearings(); };
  OpenedFiles().Install();  // and none is there
  EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
  const std::vector<std::string> asked = OpenedFiles().asked();
  ASSERT_EQ(asked.size(), 5u);
  char program[MAX_PATH] = "";
  GetModuleFileNameA(nullptr, program, sizeof program);
  const std::string folder = std::string(program).substr(0, std::string(program).rfind('\\') + 1);
  EXPECT_EQ(asked[0], folder + "main.rez") << "a bare name lies in the application's folder";
  const size_t dash = asked[1].rfind('-');
  EXPECT_EQ(asked[1].substr(0, folder.size()), folder);
  EXPECT_EQ(asked[1].substr(asked[1].size() - 4), ".rez");
  ASSERT_NE(dash, std::string::npos);
  EXPECT_EQ(asked[2], asked[1].substr(0, dash) + ".rez");
  EXPECT_EQ(asked[3], kFileA);
  EXPECT_EQ(asked[4], kFileB);
  EXPECT_EQ(Clearings(), 1u);
  EXPECT_EQ(qv::ModuleSource().GetModule(), GetModuleHandleA(nullptr));
  EXPECT_GT(qv::ConverterCount(), 0u);
}

TEST_F(ResourceChain, StartUpKeepsWhatIsOpen) {
  OpenAll();
  const size_t asked = OpenedFiles().asked().size();
  EXPECT_EQ(asked, 3u) << "the main file was there, so no language is tried";
  EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
  EXPECT_EQ(OpenedFiles().asked().size(), asked);
  EXPECT_EQ(ZROpenResourceFile(""), nullptr);
  EXPECT_EQ(ZROpenResourceFile(nullptr), nullptr);
}

}  // namespace

#include "resources/string_resources.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "memory/raw_blocks.h"
#include "resources/charset_loader.h"
#include "resources/locked_handle.h"
#include "tests/resources/opened_files.h"

namespace {

using namespace std::string_literals;
using qv::ResourceType;
using test::Text;

class StringResources : public testing::Test {
 protected:
  StringResources() {
    test::OpenedFiles().Provide("main.rez");
    EXPECT_EQ(ZROpenResourceFiles(GetModuleHandleA(nullptr)), ZRErrNone);
    file_ = test::OpenedFiles().source("main.rez");
  }
  ~StringResources() override {
    qv::ResetRawBlocksForTest();
    qv::ResetResourceChainForTest();
    test::OpenedFiles() = {};
    ReleaseCharsetTables();
  }
  test::MemorySource* file_;
};

std::string TakeBytes(ZRHandle handle) {
  std::string bytes = "none";
  if (const qv::LockedHandle locked(handle); locked.data() != nullptr) {
    bytes.assign(locked.bytes().begin(), locked.bytes().end());
  }
  ZRDisposeHandle(&handle);
  return bytes;
}

TEST_F(StringResources, WholeStringsEndWithTheirTerminator) {
  const std::string umlauts(300, '\xFC');
  std::string in_utf8;
  for (size_t i = 0; i < umlauts.size(); ++i) in_utf8 += "\xC3\xBC";
  file_->SetCodePage(1252);
  file_->Add(qv::kStringType, 1, "\3abc");
  file_->Add(qv::kStringType, 2, "?" + umlauts);
  file_->Add(qv::kStringType, 3, "\0"s);
  file_->Add(qv::kStringType, 4, "");
  const struct {
    const char* name;
    int32_t number;
    CodePage cp;
    std::string bytes;
  } kRows[] = {
      {"short", 1, kUtf8, "abc\0"s},
      {"longer than a Str255, twice as long in UTF-8", 2, kUtf8, in_utf8 + '\0'},
      {"as it is", 2, qv::kNoConversion, umlauts + '\0'},
      {"a wide terminator", 1, kUtf16Little, "a\0b\0c\0\0\0"s},
      {"empty", 3, kUtf8, "\0"s},
      {"damaged", 4, kUtf8, "none"},
      {"of the module, which tells no size", 999 * 16 + 4, kUtf8, "Option+\0"s},
      {"not there", 5, kUtf8, "none"},
      {"no table", 1, 4711, "none"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ZRGetResource(qv::kStringType, row.number);  // what the source keeps
    const uint32_t handles = ZRCountHandles();
    EXPECT_EQ(TakeBytes(ZRLoadStringHandle(row.number, row.cp)), row.bytes);
    EXPECT_EQ(ZRCountHandles(), handles);
  }
  qv::GlobalRawBlocks().reallocate = [](void*, uint32_t) -> void* { return nullptr; };
  EXPECT_EQ(ZRLoadStringHandle(1), 0u);
}

TEST_F(StringResources, MessagesLieInListsOf16) {
  std::vector<std::string> first(16, "?"), second(16, "?");
  first[0] = "one;&first$mnever";
  first[15] = "$mmac$w&sixteen";
  second[0] = "seventeen";
  second[1] = "\xC3\xBC\xC3\xBC";
  file_->AddList(800, first);
  file_->AddList(801, second);
  const struct {
    const char* name;
    int32_t number, field, maximum;
    bool strip, found;
    const char* text;
    char letter = 'w';
  } kRows[] = {
      {"the first", 1, 0, 255, false, true, "one"},
      {"another field", 1, 1, 255, false, true, "&first"},
      {"stripped", 1, 1, 255, true, true, "first"},
      {"the last of its list", 16, 0, 255, true, true, "sixteen"},
      {"another letter", 16, 0, 255, true, true, "mac", 'm'},
      {"the next list", 17, 0, 255, false, true, "seventeen"},
      {"cut", 17, 0, 5, false, true, "seven"},
      {"cut at a character", 18, 0, 3, false, true, "\xC3\xBC"},
      {"no such field", 17, 1, 255, false, false, "before"},
      {"no such message", 33, 0, 255, false, false, "before"},
      {"message 0", 0, 0, 255, false, false, "before"},
      {"below 0", INT32_MIN, 0, 255, false, false, "before"},
      {"the largest", INT32_MAX, 0, 255, false, false, "before"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Str255 out;
    qv::CStrToLStr(out, kMostLStr, "before");
    EXPECT_EQ(ZRGetMessageText(out, row.maximum, row.number, row.field, row.strip, row.letter),
              row.found);
    EXPECT_EQ(Text(out), row.text);
  }
  EXPECT_FALSE(ZRGetMessageText(nullptr, 255, 1, 0, false));
}

constexpr uint32_t kJpeg = ResourceType("JPEG"), kViewer = ResourceType("view"),
                   kText = ResourceType("TEXT"), kEditor = ResourceType("edit");

class FileTypes : public StringResources {
 protected:
  FileTypes() {
    file_->AddList(
        10, {"jpg=JPEGview 0012", "jpg=SECOview 0099", "jpeg=JPEGview 0013", "c=TEXTedit    7",
             "toolong=JPEGview 0001", "bad-JPEGview 0001", "=NONEnone 0001", "", "md=TEXTmark*-003",
             "hi=\xE4\xF6\xFC\x80\xFF\1\2\3 12x4"});
  }
};

TEST_F(FileTypes, ByExtension) {
  const struct {
    const char* file;
    bool found;
    uint32_t type = qv::kUnknownFileType, creator = 0;
    int32_t kind = ZRErrNoMapping;
  } kRows[] = {
      {"a.jpg", true, kJpeg, kViewer, 12},
      {"A.B.JPG", true, kJpeg, kViewer, 12},
      {".jpeg", true, kJpeg, kViewer, 13},
      {"main.c", true, kText, kEditor, 7},
      {"x.md", true, kText, ResourceType("mark"), -3},
      {"x.hi", true, 0xE4F6FC80, 0xFF010203, 12},
      {"jpg", false},
      {"ajpg", false},
      {"a.jpgs", false},
      {"a.toolong", false},
      {"a.bad", false},
      {"a.", false},
      {"", false},
      {nullptr, false},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.file ? row.file : "null");
    uint32_t type = 1, creator = 1;
    int32_t kind = 1;
    EXPECT_EQ(ZRTypeFromExtension(row.file, &type, &creator, &kind), row.found);
    EXPECT_EQ(type, row.type);
    EXPECT_EQ(creator, row.creator);
    EXPECT_EQ(kind, row.kind);
    EXPECT_EQ(ZRTypeFromExtension(row.file, nullptr, nullptr), row.found);
  }
}

TEST_F(FileTypes, ByTypeAndCreator) {
  const struct {
    uint32_t type, creator;
    bool found;
    int32_t kind;
  } kRows[] = {{kJpeg, kViewer, true, 12},
               {kText, kEditor, true, 7},
               {kText, kViewer, false, ZRErrNoMapping},
               {kJpeg, 0, false, ZRErrNoMapping},
               {0, 0, false, ZRErrNoMapping}};
  for (const auto& row : kRows) {
    int32_t kind = 1;
    EXPECT_EQ(ZRKindFromTypeCreator(row.type, row.creator, &kind), row.found);
    EXPECT_EQ(kind, row.kind);
  }
  const struct {
    const char* name;
    uint32_t creator;
    int32_t maximum;
    bool found;
    const char* result;
  } kNames[] = {{"photo", kViewer, 63, true, "photo.jpg"},
                {"photo", kViewer, 7, true, "photo.j"},
                {"photo", kViewer, 3, true, "photo"},
                {"", kEditor, 63, true, ".c"},
                {"photo", ResourceType("none"), 63, false, "photo"}};
  for (const auto& row : kNames) {
    Str255 name;
    qv::CStrToLStr(name, kMostLStr, row.name);
    EXPECT_EQ(ZRExtensionFromCreator(name, row.maximum, row.creator), row.found);
    EXPECT_EQ(Text(name), row.result);
  }
}

}  // namespace

#include "resources/resource_source.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "tests/resources/memory_source.h"

namespace {

using namespace std::string_literals;

class ResourceSource : public testing::Test {
 protected:
  ResourceSource() {
    ZRInitModuleResources(GetModuleHandleA(nullptr));
    EXPECT_EQ(LoadCharsetTables(), ZRErrNone);
    handles_ = ZRCountHandles();
  }
  ~ResourceSource() override {
    EXPECT_EQ(ZRCountHandles(), handles_);
    ReleaseCharsetTables();
  }
  uint32_t handles_ = 0;
};

constexpr CodePage kWestern = 1252, kNone = qv::kNoConversion;

TEST_F(ResourceSource, ListsMayLie) {
  const struct {
    const char* name;
    std::string list;
    int32_t index, count;
    const char* text;  // null: not found
  } kRows[] = {
      {"the first", "\0\2\2OK\6Cancel"s, 1, 2, "OK"},
      {"the last", "\0\2\2OK\6Cancel"s, 2, 2, "Cancel"},
      {"an empty string", "\0\2\0\1x"s, 1, 2, ""},
      {"behind an empty string", "\0\2\0\1x"s, 2, 2, "x"},
      {"index 0", "\0\1\1x"s, 0, 1, nullptr},
      {"a negative index", "\0\1\1x"s, -1, 1, nullptr},
      {"above the count", "\0\1\1x\1y"s, 2, 1, nullptr},
      {"count above what is there", "\xFF\xFF\1x"s, 2, 65535, nullptr},
      {"the largest index", "\xFF\xFF\1x"s, INT32_MAX, 65535, nullptr},
      {"length above what is there", "\0\2\1x\5abcd"s, 2, 2, nullptr},
      {"a lying length on the way", "\0\2\xFF\1x"s, 2, 2, nullptr},
      {"empty", "", 1, 0, nullptr},
      {"one byte", "\1"s, 1, 0, nullptr},
      {"only a count", "\0\1"s, 1, 1, nullptr},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::MemorySource source;
    source.Add(qv::kStringListType, 5, row.list);
    Str255 out = {9, 'b', 'e', 'f', 'o', 'r', 'e'};
    EXPECT_EQ(source.GetIndString(out, 5, row.index, 255, kUtf8), row.text != nullptr);
    EXPECT_EQ(test::Text(out), row.text ? row.text : "");
    EXPECT_EQ(source.CountIndStrings(5), row.count);
    EXPECT_EQ(source.CountIndStrings(6), 0);
    EXPECT_FALSE(source.GetIndString(out, 6, 1, 255, kUtf8));
    EXPECT_FALSE(ZRIsHandleLocked(source.GetResource(qv::kStringListType, 5)));
  }
}

TEST_F(ResourceSource, ConvertsTextAndCutsIt) {
  const std::string umlauts = "\xFC\xFC", in_utf8 = "\xC3\xBC\xC3\xBC";
  const struct {
    const char* name;
    std::string text;
    CodePage source, asked;
    int32_t maximum;
    bool found;
    std::string result;
  } kRows[] = {
      {"converted", umlauts, kWestern, kUtf8, 255, true, in_utf8},
      {"and back", in_utf8, kUtf8, kWestern, 255, true, umlauts},
      {"converted, cut at a character", umlauts, kWestern, kUtf8, 3, true, "\xC3\xBC"},
      {"nothing of it fits", umlauts, kWestern, kUtf8, 1, false, ""},
      {"line ends stay", "a\nb\rc", kWestern, kUtf8, 255, true, "a\nb\rc"},
      {"no such character", "\xE2\x98\x83!", kUtf8, kWestern, 255, true, "\x1A!"},
      {"no such table", "abc", kWestern, 4711, 255, false, ""},
      {"an empty text has no failure", "", kWestern, 4711, 255, true, ""},
      {"asked for as it is", umlauts, kWestern, kNone, 255, true, umlauts},
      {"as it is, cut", in_utf8, kUtf8, kNone, 3, true, "\xC3\xBC\xC3"},
      {"a source that does not know", umlauts, kNone, kUtf8, 255, true, umlauts},
      {"the same code page, cut at a character", in_utf8, kUtf8, kUtf8, 3, true, "\xC3\xBC"},
      {"a maximum of 0", "abc", kUtf8, kUtf8, 0, true, ""},
      {"a negative maximum", "abc", kUtf8, kUtf8, -4, true, ""},
      {"longer than a Str255 takes", std::string(200, '\xFC'), kWestern, kUtf8, 9999, true,
       [&] {
         std::string s;
         while (s.size() < 254) s += "\xC3\xBC";
         return s;
       }()},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::MemorySource source(row.source);
    source.AddList(1, {row.text});
    source.Add(qv::kStringType, 1, "?" + row.text);  // its length byte is not looked at
    Str255 out;
    EXPECT_EQ(source.GetIndString(out, 1, 1, row.maximum, row.asked), row.found);
    EXPECT_EQ(test::Text(out), row.result);
    if (row.maximum < 0 || row.maximum > 255) continue;
    std::string buffer(static_cast<size_t>(row.maximum) + 1, '#');
    EXPECT_EQ(source.GetString(buffer.data(), 1, row.maximum + 1, row.asked), row.found);
    EXPECT_STREQ(buffer.c_str(), row.result.c_str());
  }
}

TEST_F(ResourceSource, WholeStrings) {
  test::MemorySource source;
  source.Add(qv::kStringType, 1, "\3abc");
  source.Add(qv::kStringType, 2, "\3"s);
  source.Add(qv::kStringType, 3, "");
  char out[8] = "before";
  EXPECT_TRUE(source.GetString(out, 2, sizeof out, kUtf8)) << "one without text is there";
  EXPECT_STREQ(out, "");
  EXPECT_FALSE(source.GetString(out, 3, sizeof out, kUtf8));
  EXPECT_FALSE(source.GetString(out, 4, sizeof out, kUtf8));
  std::strcpy(out, "before");
  EXPECT_FALSE(source.GetString(out, 1, 0, kUtf8));
  EXPECT_FALSE(source.GetString(out, 1, 1, kUtf16Little)) << "its terminator has 2 bytes";
  EXPECT_STREQ(out, "before");
  EXPECT_TRUE(source.GetString(out, 1, sizeof out, kUtf16Little));
  EXPECT_EQ(std::string(out, 8), "a\0b\0c\0\0\0"s);
  EXPECT_TRUE(source.GetString(out, 1, 6, kUtf16Little));
  EXPECT_EQ(std::string(out, 6), "a\0b\0\0\0"s);
}

TEST_F(ResourceSource, IsCounted) {
  const int32_t live = ZRCountLiveObjects();
  {
    const test::MemorySource source;
    EXPECT_EQ(ZRCountLiveObjects(), live + 1);
  }
  EXPECT_EQ(ZRCountLiveObjects(), live);
}

// The place of a virtual function in its table, as the compilers of both platforms keep it in a
// pointer to the member: the place in bytes, plus 1.
template <class Member>
uintptr_t Slot(Member member) {
  uintptr_t words[2];
  static_assert(sizeof member == sizeof words);
  std::memcpy(words, &member, sizeof words);
  return (words[0] - 1) / sizeof(void*);
}

TEST(ResourceSourceTable, OperationsStandInTheirOrder) {
  using S = CResSource;
  const uintptr_t slots[] = {Slot(&S::Open),
                             Slot(&S::Create),
                             Slot(&S::GetResource),
                             Slot(&S::GetNamedResource),
                             Slot(&S::LoadResourceCopy),
                             Slot(&S::LoadNamedResourceCopy),
                             Slot(&S::GetResourceSize),
                             Slot(&S::EnumResources),
                             Slot(&S::EnumTypes),
                             Slot(&S::GetResourceName),
                             Slot(&S::GetResourceNumberByName),
                             Slot(&S::SetResourceName),
                             Slot(&S::RemoveResource),
                             Slot(&S::ChangedResource),
                             Slot(&S::AddResource),
                             Slot(&S::UpdateFile),
                             Slot(&S::ReleaseResource),
                             Slot(&S::PurgeResources),
                             Slot(&S::ReloadResource),
                             Slot(&S::IsDirty),
                             Slot(&S::GetIndString),
                             Slot(&S::CountIndStrings),
                             Slot(&S::GetString),
                             Slot(&S::AnswerNone),
                             Slot(&S::Close),
                             Slot(&S::Reopen),
                             Slot(&S::SetCodePage),
                             Slot(&CModuleRes::GetModule)};
  for (size_t i = 0; i < std::size(slots); ++i) EXPECT_EQ(slots[i], i + 2);
}

}  // namespace

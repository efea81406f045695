#include <gtest/gtest.h>

#include "platform/host/control.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "tests/resources/failing_allocations.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/unicode_table.h"

namespace {

constexpr uint32_t kMapsAndPairs = 13 + 27;

class CharsetLoaderFaults : public testing::Test {
 protected:
  CharsetLoaderFaults() {
    ZRInitModuleResources(GetModuleHandleA(nullptr));
    EXPECT_EQ(LoadCharsetTables(), ZRErrNone);
    whole_ = qv::ConverterCount();
    handles_ = host::OpenHandles();
  }
  ~CharsetLoaderFaults() override {
    host::ClearFaults();
    host::SetFontCharsets({});
    ReleaseCharsetTables();
    qv::ResetCodePagesForTest();
  }

  // Nothing but a plain copy is left.
  void ExpectDiscarded() {
    EXPECT_EQ(qv::ConverterCount(), 0u);
    EXPECT_EQ(MapCodePage(10000), 10000);
    EXPECT_EQ(GetApplicationCodePage(), 1252);
    char out[4];
    uint32_t room = sizeof out;
    EXPECT_EQ(ConvertText("\x80", 1, 10000, out, &room, 1252, qv::kCrLf, 0), 0u);
    room = sizeof out;
    EXPECT_EQ(ConvertText("\x82\xA0", 2, 932, out, &room, 20001, qv::kKeep, 0), 2u);
    EXPECT_EQ(std::string(out, room), "\x82\xA0");
  }

  uint32_t whole_ = 0, handles_ = 0;
};

// A failing call of the font test costs the code page its converter, nothing else.
TEST_F(CharsetLoaderFaults, OfThePlatformAreMet) {
  const struct {
    const char* call;
    ZRError error;
    bool all_calls;  // every call fails, not only the third
    // Without a font for Western text its page has no converter of its own, and the byte map to
    // Macintosh is the first for it.
    CodePage application = 1252;
  } kRows[] = {
      {"EnumSystemCodePagesA", ZRErrUnexpected, true},
      {"IsValidCodePage", ZRErrNone, false},
      {"GetDC", ZRErrNone, false},
      {"CreateFontA", ZRErrNone, false},
      {"GetTextMetricsA", ZRErrNone, false},
      {"GetDC", ZRErrNone, true, 10000},
      {"CreateFontA", ZRErrNone, true, 10000},
      {"SelectObject", ZRErrNone, true, 10000},
      {"GetTextMetricsA", ZRErrNone, true, 10000},
      {"EnumResourceTypesA", ZRErrNone, true},
      {"FindResourceA", ZRErrNone, true},
      {"LoadResource", ZRErrNone, true},
      {"LockResource", ZRErrNone, true},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(testing::Message() << row.call << (row.all_calls ? " always" : " once"));
    host::ClearFaults();
    host::FailCall(row.call, row.all_calls ? 1 : 3, ERROR_NOT_ENOUGH_MEMORY, row.all_calls);
    SetApplicationCodePage(1250);
    EXPECT_EQ(LoadCharsetTables(), row.error);
    EXPECT_GE(host::FaultsStruck(), 1u);
    EXPECT_EQ(host::OpenHandles(), handles_);
    EXPECT_EQ(GetApplicationCodePage(), row.application);
    if (row.error != ZRErrNone) {
      ExpectDiscarded();
      EXPECT_TRUE(qv::AllUnicodeTables().empty());
    } else {
      EXPECT_LE(qv::ConverterCount(), whole_);
      EXPECT_GE(qv::ConverterCount(), kMapsAndPairs);
    }
  }
  host::ClearFaults();
  EXPECT_EQ(LoadCharsetTables(), ZRErrNone);
  EXPECT_EQ(qv::ConverterCount(), whole_);
}

// Only fonts of exactly the wanted character set count; of the multi-byte pages too.
TEST_F(CharsetLoaderFaults, NoFontNoConverterOfItsOwn) {
  host::SetFontCharsets({0, 128});
  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  EXPECT_EQ(MapCodePage(1252), 1252);
  EXPECT_EQ(MapCodePage(932), 932);
  EXPECT_EQ(MapCodePage(1250), 10029);       // only the byte map is left
  constexpr uint32_t kWesternPages = 5;      // any font shows their text
  host::SetFontCharsets({DEFAULT_CHARSET});  // never asked for
  ASSERT_EQ(LoadCharsetTables(), ZRErrNone);
  EXPECT_EQ(qv::ConverterCount(), kMapsAndPairs + kWesternPages);
}

TEST_F(CharsetLoaderFaults, OfMemoryDiscardTheRegistryAsAWhole) {
  uint32_t struck = 0;
  for (uint32_t nth = 1;; ++nth) {
    SCOPED_TRACE(nth);
    SetApplicationCodePage(1250);
    test::TheAllocationFault() = {nth, 0};
    const ZRError error = LoadCharsetTables();
    const bool fault = test::TheAllocationFault().struck > 0;
    test::TheAllocationFault() = {};
    struck += fault;
    ASSERT_EQ(host::OpenHandles(), handles_);
    ASSERT_EQ(GetApplicationCodePage(), 1252);
    if (error != ZRErrNone) {
      ASSERT_EQ(error, ZRErrNoMemory);
      ASSERT_TRUE(fault);
      ExpectDiscarded();
    } else {
      // Sorting does without its memory.
      ASSERT_EQ(qv::ConverterCount(), whole_);
      ASSERT_EQ(qv::AllUnicodeTables().size(), 118u);
    }
    if (!fault) break;
  }
  EXPECT_GT(struck, 200u);
}

}  // namespace

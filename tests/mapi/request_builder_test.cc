#include "mapi/request_builder.h"

#include <cstring>
#include <vector>

#include "tests/mapi/mapi_fixture.h"
#include "tests/test_platform.h"

namespace mapi_test {
namespace {

using qv::kBodySize;
using qv::kListSize;
using qv::kRequestSize;
using qv::RequestBuffers;

std::string Repeat(const std::string& unit, size_t count) {
  std::string text;
  for (size_t i = 0; i < count; ++i) text += unit;
  return text;
}

std::string Request() { return RequestBuffers().request; }

// "mailto:?" and filler, so that exactly `room` bytes are left before the terminator.
void StartRequestWithRoom(size_t room) {
  BeginMailRequest(nullptr, nullptr, true);
  std::memset(RequestBuffers().request, 'x', kRequestSize - 1 - room);
}

// What the call added to the request.
template <typename Call>
std::string Added(const Call& call) {
  const size_t before = Request().size();
  call();
  return Request().substr(before);
}

struct TextRow {
  const char* name;
  const char* code_page;
  std::string text, added;
};

class RequestBuilderTest : public MapiTest {
 protected:
  void SetUp() override { BeginMailRequest(nullptr, nullptr, true); }

  template <size_t N>
  void Check(const TextRow (&rows)[N], void (*add)(const char* text)) {
    for (const TextRow& row : rows) {
      SCOPED_TRACE(row.name);
      SystemCodePage code_page(row.code_page);
      SetUp();
      EXPECT_EQ(Added([&] { add(row.text.c_str()); }), row.added);
    }
    EXPECT_EQ(Added([add] { add(nullptr); }), "");
  }
};

TEST_F(RequestBuilderTest, SubjectRows) {
  const TextRow kRows[] = {
      {"empty", "1252", "", ""},
      {"only ampersand, equals and the like stay", "1252", "a&b=c?/\\!", "&subject=a&b=c?/\\!"},
      {"each of the 21", "1252", ":<>\"|;',()[]{} %#~^`\r",
       "&subject=%3A%3C%3E%22%7C%3B%27%2C%28%29%5B%5D%7B%7D%20%25%23%7E%5E%60%0D\n"},
      {"every line end is CR LF, LF stays raw", "1252", "a\r\nb\nc\rd",
       "&subject=a%0D\nb%0D\nc%0D\nd"},
      {"256 bytes of a single-byte page", "1252", Repeat("a", 300), "&subject=" + Repeat("a", 256)},
      {"255 bytes of UTF-8", "65001", Repeat("a", 300), "&subject=" + Repeat("a", 255)},
      {"whole characters of UTF-8", "65001", Repeat("\xE2\x82\xAC", 100),
       "&subject=" + Repeat("\xE2\x82\xAC", 85)},
      {"letters become raw UTF-8", "1251", "\xE9\x9F", "&subject=\xD0\xB9\xD1\x9F"},
      {"converted text keeps 256 bytes", "1252", Repeat("\xE9", 256),
       "&subject=" + Repeat("\xC3\xA9", 128)},
      {"768 bytes hold 255 escapes", "1252", Repeat(" ", 256), "&subject=" + Repeat("%20", 255)},
      {"and the two bytes that are left", "1252", Repeat(" ", 255) + "&",
       "&subject=" + Repeat("%20", 255) + "&"},
      {"a page without a table: raw bytes", "57011", "a,\xE9", "&subject=a%2C\xE9"},
  };
  Check(kRows, AddRequestSubject);
}

TEST_F(RequestBuilderTest, BodyRows) {
  const TextRow kRows[] = {
      {"empty text", "1252", "", "&body="},
      {"a run of line ends is one CR", "1252", "a\r\n\r\nb\n\n\rc\n", "&body=a%0Db%0Dc%0D"},
      {"5000 bytes of a single-byte page", "1252", Repeat("a", 6000), "&body=" + Repeat("a", 5000)},
      {"4999 bytes of UTF-8", "65001", Repeat("a", 6000), "&body=" + Repeat("a", 4999)},
      {"converted text keeps 5000 bytes", "1252", Repeat("\xE9", 4000),
       "&body=" + Repeat("\xC3\xA9", 2500)},
      {"6000 bytes hold 1999 escapes", "1252", Repeat(",", 5000), "&body=" + Repeat("%2C", 1999)},
      {"and no half character behind them", "1252", Repeat(",", 1999) + "a\x80",
       "&body=" + Repeat("%2C", 1999) + "a"},
  };
  Check(kRows, AddRequestBody);
}

TEST_F(RequestBuilderTest, AddressRows) {
  const struct {
    const char* name;
    size_t list_length;  // of what the list holds already
    std::string address, added;
  } kRows[] = {
      {"first address", 0, "x", "x"},
      {"separator is plain, a comma inside is not", 1, "a,b", ",a%2Cb"},
      {"letters become raw UTF-8", 0, "j\xF6rg", "j\xC3\xB6rg"},
      {"empty", 5, "", ""},
      {"255 bytes are taken", 0, Repeat("a", 300), Repeat("a", 255)},
      {"255 escaped bytes fit", 0, Repeat(" ", 85), Repeat("%20", 85)},
      {"more do not: dropped whole", 0, Repeat(" ", 85) + "a", ""},
      {"converted text keeps 255 bytes", 0, Repeat("\xE9", 200), Repeat("\xC3\xA9", 127)},
      {"last that fits with comma and terminator", kListSize - 5, "abc", ",abc"},
      {"one byte less: dropped", kListSize - 4, "abc", ""},
      {"full list", kListSize - 1, "a", ""},
  };
  SystemCodePage code_page("1252");
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    SetUp();
    std::memset(RequestBuffers().to, 'x', row.list_length);
    AddListAddress(RequestBuffers().to, row.address.c_str());
    EXPECT_EQ(std::string(RequestBuffers().to).substr(row.list_length), row.added);
    EXPECT_STREQ(RequestBuffers().cc, "");
  }
}

TEST_F(RequestBuilderTest, RecipientsStandByClassInFixedOrder) {
  const struct {
    uint32_t recipient_class;
    const char* address;
  } kRouted[] = {{3, "b1"},    {2, "c1"},   {1, "x"},
                 {1, "y"},     {0, "none"}, {4, "none"},
                 {1, nullptr}, {1, "z"},    {0x10000001, "none"}};
  for (const auto& routed : kRouted) RouteRecipient(routed.recipient_class, routed.address);
  EXPECT_EQ(Added(AppendRecipientLists), "&to=x,y,z&cc=c1&bcc=b1");
  SetUp();
  EXPECT_EQ(Added(AppendRecipientLists), "") << "a new request begins with empty lists";
}

// Units that may not be cut; the longest run of them that fits.
std::string Fitting(const std::string& prefix, const std::vector<std::string>& units, size_t room) {
  std::string text = prefix;
  if (text.size() > room) return "";
  for (const std::string& unit : units) {
    if (text.size() + unit.size() > room) break;
    text += unit;
  }
  return text;
}

TEST_F(RequestBuilderTest, FullRequestKeepsWholeUnitsAndRoomForTheFinalAmpersand) {
  SystemCodePage code_page("1252");
  for (size_t room = 0; room < 60; ++room) {
    SCOPED_TRACE(room);
    const size_t usable = room > 0 ? room - 1 : 0;
    const std::vector<std::string> text{"a", "%2C", "\xC3\xA9", "%0D", "b", "\xE2\x82\xAC", "%20"};

    StartRequestWithRoom(room);
    const std::vector<std::string> subject{"a", "%2C", "\xC3\xA9", "%0D", "\n", "b", "%20"};
    EXPECT_EQ(Added([] { AddRequestSubject("a,\xE9\r\nb "); }),
              Fitting("&subject=", subject, usable));

    StartRequestWithRoom(room);
    EXPECT_EQ(Added([] { AddRequestBody("a,\xE9\nb\x80 "); }), Fitting("&body=", text, usable));

    StartRequestWithRoom(room);
    for (const char* address : {"one", "t,wo", "three"}) RouteRecipient(2, address);
    const std::string lists = Fitting("&cc=one", {",t%2Cwo", ",three"}, usable);
    EXPECT_EQ(Added(AppendRecipientLists), lists);
  }
}

// --- Attachments ---

std::string Piece(const std::string& escaped_name) {
  return "deletefile=1&attach=" + Escaped(StagingFolder() + "\\") + escaped_name;
}

TEST_F(RequestBuilderTest, AttachmentRows) {
  const std::string file = WriteTempFile("qv source.txt", "text");
  const std::string accented = TempFolder() + "qv \xE9.txt";
  const std::string missing = TempFolder() + "qv_missing.txt";
  const struct {
    const char* name;
    const char* code_page;
    const char *path, *copy_name;
    std::string request;  // behind "mailto:?"
  } kRows[] = {
      {"named by its path", "1252", file.c_str(), nullptr, Piece("qv%20source.txt")},
      {"named by the host", "1252", file.c_str(), "a&b 'c'.txt", Piece("a&b%20%27c%27.txt")},
      {"in the system's page", "1251", accented.c_str(), nullptr, Piece("qv%20\xD0\xB9.txt")},
      {"UTF-8 goes out as it is", "65001", file.c_str(), "\xC3\xA9.txt", Piece("\xC3\xA9.txt")},
      {"missing file", "1252", missing.c_str(), nullptr, ""},
      {"name without a file", "1252", nullptr, "a.txt", ""},
      {"no separator and no name", "1252", "qv_source.txt", nullptr, ""},
      {"nothing behind the separator", "1252", "C:\\", nullptr, ""},
      {"empty name", "1252", file.c_str(), "", ""},
      {"nothing", "1252", nullptr, nullptr, ""},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    SystemCodePage code_page(row.code_page);
    WriteTempFile("qv \xE9.txt", "text");  // the stand-in reads names in this page, Wine does not
    EXPECT_EQ(BeginMailRequest(row.path, row.copy_name, true), !row.request.empty());
    EXPECT_EQ(Request(), "mailto:?" + row.request);
  }
  EXPECT_EQ(test::ReadWholeFile(StagingFolder() + "\\a&b 'c'.txt"), "text");
}

TEST_F(RequestBuilderTest, CopyReplacesAnOlderOne) {
  const std::string path = WriteTempFile("qv_same.txt", "old");
  EXPECT_TRUE(BeginMailRequest(path.c_str(), nullptr, true));
  WriteTempFile("qv_same.txt", "new");
  // As the copy of a read-only file is.
  ASSERT_TRUE(
      SetFileAttributesA((StagingFolder() + "\\qv_same.txt").c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_TRUE(BeginMailRequest(path.c_str(), nullptr, true));
  EXPECT_EQ(test::ReadWholeFile(StagingFolder() + "\\qv_same.txt"), "new");
}

TEST_F(RequestBuilderTest, LaterAttachmentsFollowAlsoAFailedFirst) {
  const std::string path = WriteTempFile("qv_a.txt", "a");
  EXPECT_FALSE(BeginMailRequest("C:\\qv\\missing", nullptr, true));
  EXPECT_TRUE(BeginMailRequest(path.c_str(), nullptr, false));
  EXPECT_FALSE(BeginMailRequest("C:\\qv\\missing", nullptr, false));
  EXPECT_TRUE(BeginMailRequest(path.c_str(), "b.txt", false));
  EXPECT_EQ(Request(), "mailto:?&" + Piece("qv_a.txt") + "&" + Piece("b.txt"));
}

// In code page 932 the byte 0x95 and the "\" are one character. To the file calls of a system that
// does not run in that page they are a folder and the separator, so these folders are made too.
TEST_F(RequestBuilderTest, NameSearchDoesNotStopInsideACharacter) {
  SystemCodePage code_page("932");
  const std::string folder = TempFolder() + "\x95";
  CreateDirectoryA(folder.c_str(), nullptr);
  BeginMailRequest("C:\\qv\\missing", nullptr, true);  // makes the staging folder
  CreateDirectoryA((StagingFolder() + "\\\x95").c_str(), nullptr);
  const std::string path = WriteTempFile("\x95\\qv_c.txt", "text");
  EXPECT_TRUE(BeginMailRequest(path.c_str(), nullptr, true));
  EXPECT_TRUE(FileExists(StagingFolder() + "\\\x95\\qv_c.txt"));
}

TEST_F(RequestBuilderTest, AttachmentThatDoesNotFitIsNotCopiedAndEndsTheRest) {
  const std::string path = WriteTempFile("qv_a.txt", "a");
  const std::string piece = "&" + Piece("qv_full.txt");
  for (const size_t missing : {size_t{0}, size_t{1}}) {
    SCOPED_TRACE(missing);
    DeleteFileA((StagingFolder() + "\\qv_full.txt").c_str());
    StartRequestWithRoom(piece.size() + 1 - missing);  // 1 for the final "&"
    EXPECT_EQ(BeginMailRequest(path.c_str(), "qv_full.txt", false), missing == 0);
    EXPECT_EQ(FileExists(StagingFolder() + "\\qv_full.txt"), missing == 0);
  }
  std::memset(RequestBuffers().request + 100, 0, kRequestSize - 100);
  EXPECT_FALSE(BeginMailRequest(path.c_str(), nullptr, false)) << "shorter, but behind a lost one";
  EXPECT_TRUE(BeginMailRequest(path.c_str(), nullptr, true)) << "a new request starts afresh";
}

TEST_F(RequestBuilderTest, NamesTooLongForTheBuffersAreRefused) {
  const std::string path = WriteTempFile("qv_a.txt", "a");
  for (const size_t length : {size_t{700}, size_t{1999}, size_t{2000}, size_t{60000}}) {
    SCOPED_TRACE(length);
    EXPECT_FALSE(BeginMailRequest(path.c_str(), Repeat("%", length).c_str(), true));
    EXPECT_EQ(Request(), "mailto:?");
  }
}

}  // namespace
}  // namespace mapi_test

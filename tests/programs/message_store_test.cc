#include "programs/qvclient/message_store.h"

#include <gtest/gtest.h>

#include "programs/common/file_names.h"
#include "programs/qvclient/base64_text.h"
#include "tests/test_platform.h"

namespace qvclient {
namespace {

const MessageStamp kStamp{"me@localhost", "Thu, 01 Jan 1970 00:00:00 +0000", "1@localhost"};

// RFC 4648, section 10.
TEST(Base64Text, EncodesThePublishedVectors) {
  const struct {
    const char *bytes, *text;
  } kRows[] = {{"", ""},
               {"f", "Zg=="},
               {"fo", "Zm8="},
               {"foo", "Zm9v"},
               {"foob", "Zm9vYg=="},
               {"fooba", "Zm9vYmE="},
               {"foobar", "Zm9vYmFy"}};
  for (const auto& row : kRows) EXPECT_EQ(Base64(row.bytes), row.text);
  std::string line = std::string(76, 'A') + "\r\n";
  EXPECT_EQ(Base64Lines(std::string(57, '\0')), line);
  EXPECT_EQ(Base64Lines(std::string(58, '\0')), line + "AA==\r\n");
}

class MessageStoreTest : public testing::Test {
 protected:
  void SetUp() override { test::EmptyFolder(folder_); }
  void TearDown() override { test::EmptyFolder(folder_); }

  std::string Path(const std::string& name) const { return program::Joined(folder_, name); }

  std::string folder_ = test::TempFolder();
};

TEST_F(MessageStoreTest, UsesFreeNumbersAndLeavesWhatIsThere) {
  ASSERT_TRUE(test::WriteWholeFile(Path("0001.eml"), "mine"));
  ASSERT_TRUE(test::WriteWholeFile(Path("0003.EML"), "mine too"));
  MessageStore one(folder_), other(folder_);
  EXPECT_EQ(one.Store({}, kStamp).file_name, "0002.eml");
  EXPECT_EQ(other.Store({}, kStamp).file_name, "0004.eml");
  EXPECT_EQ(one.Store({}, kStamp).file_name, "0005.eml");
  EXPECT_EQ(test::ReadWholeFile(Path("0001.eml")), "mine");
  EXPECT_EQ(test::ReadWholeFile(Path("0003.EML")), "mine too");
  EXPECT_EQ(test::FolderEntries(folder_).size(), 5u);
}

TEST_F(MessageStoreTest, LeavesNothingOfAMessageThatFails) {
  Message message;
  message.attachments = {{"gone", Path("gone")}};
  StoreOutcome outcome = MessageStore(folder_).Store(message, kStamp);
  EXPECT_EQ(outcome.error, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
  EXPECT_EQ(outcome.failed_path, Path("gone"));
  EXPECT_TRUE(test::FolderEntries(folder_).empty());

  EXPECT_EQ(MessageStore(folder_).Check(), 0u);
  EXPECT_TRUE(test::FolderEntries(folder_).empty());
  EXPECT_EQ(MessageStore(Path("no\\folder")).Check(), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  outcome = MessageStore(Path("no\\folder")).Store({}, kStamp);
  EXPECT_EQ(outcome.error, static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(outcome.failed_path, Path("no\\folder"));
}

}  // namespace
}  // namespace qvclient

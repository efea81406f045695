#include "programs/qvclient/mailbox.h"

#include <gtest/gtest.h>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/text.h"
#include "tests/test_platform.h"

namespace qvclient {
namespace {

class MailboxTest : public testing::Test {
 protected:
  void SetUp() override {
    for (const std::string& folder : {staging_, mail_}) {
      ASSERT_EQ(program::MakeFolders(folder), 0u);
      test::EmptyFolder(folder);
    }
  }
  void TearDown() override {
    test::EmptyFolder(staging_);
    test::EmptyFolder(mail_);
    program::RemoveEmptyFolder(staging_);
    program::RemoveEmptyFolder(mail_);
  }

  std::string Stage(const std::string& name, const std::string& bytes = "bytes") {
    EXPECT_TRUE(test::WriteWholeFile(program::Joined(staging_, name), bytes));
    return Piece(program::Joined(staging_, name));
  }
  static std::string Piece(const std::string& path) {
    return "deletefile=1&attach=" + std::string(1, path[0]) + "%3A" + path.substr(2);
  }

  bool Take(const std::string& request) {
    Mailbox mailbox(options_, reporter_);
    Delivery delivery = mailbox.Receive(request);
    return mailbox.Store(delivery);
  }

  std::vector<std::string> Staged() const { return test::FolderEntries(staging_); }
  std::vector<std::string> Stored() const { return test::FolderEntries(mail_); }

  using Names = std::vector<std::string>;
  std::string staging_ = program::Joined(test::TempFolder(), "Staging");
  std::string mail_ = program::Joined(test::TempFolder(), "mail");
  program::Reporter reporter_{"mailbox_test"};
  MailboxOptions options_{mail_, staging_, false, true, false};
};

TEST_F(MailboxTest, StoresAndDeletesTheCopies) {
  std::string request = "mailto:?" + Stage("a") + "&" + Stage("b&to=c") + "&to=x&";
  Stage("not ours");
  // As the copy of a read-only file is.
  program::WideString read_only = program::ToWide(program::Joined(staging_, "a"));
  ASSERT_TRUE(SetFileAttributesW(read_only.c_str(), FILE_ATTRIBUTE_READONLY));
  EXPECT_TRUE(Take(request));
  EXPECT_EQ(Stored(), Names{"0001.eml"});
  EXPECT_EQ(Staged(), Names{"not ours"});
  EXPECT_EQ(test::FolderEntries(test::TempFolder()), (Names{"Staging", "mail"}));
}

TEST_F(MailboxTest, TheSameCopyTwiceIsOneFile) {
  std::string piece = Stage("a");
  EXPECT_TRUE(Take("mailto:?" + piece + "&" + piece + "&"));
  EXPECT_TRUE(Staged().empty());
}

// From Receive on, the staging folder belongs to the next message.
TEST_F(MailboxTest, ALaterCopyOfTheSameNameChangesNothing) {
  Mailbox mailbox(options_, reporter_);
  std::string request = "mailto:?" + Stage("a", "first") + "&";
  Delivery first = mailbox.Receive(request);
  Stage("a", "second");
  Delivery second = mailbox.Receive(request);
  EXPECT_TRUE(mailbox.Store(first));
  EXPECT_TRUE(mailbox.Store(second));
  EXPECT_NE(test::ReadWholeFile(program::Joined(mail_, "0001.eml")).find("Zmlyc3Q="),
            std::string::npos);
  EXPECT_NE(test::ReadWholeFile(program::Joined(mail_, "0002.eml")).find("c2Vjb25k"),
            std::string::npos);
  EXPECT_TRUE(Staged().empty());
}

// Damaged requests are stored as far as they go and take nothing away.
TEST_F(MailboxTest, DamageDeletesNothing) {
  ASSERT_TRUE(test::WriteWholeFile(program::Joined(mail_, "precious"), "x"));
  const struct {
    const char* name;
    std::string rest;
    size_t stored;
  } kRows[] = {
      {"broken escape", "&subject=%", 1},
      {"not UTF-8", "&body=\xFF", 1},
      {"no such copy", "&" + Piece(staging_ + "\\gone"), 1},
      {"way out of the folder", "&" + Piece(staging_ + "\\..\\mail\\precious"), 1},
      {"another folder", "&" + Piece(mail_ + "\\precious"), 1},
      {"the folder itself", "&" + Piece(staging_), 1},
      {"a folder by a dot", "&" + Piece(staging_ + "\\."), 1},
      {"a device", "&" + Piece(staging_ + "\\NUL"), 1},
      {"a device with a suffix", "&" + Piece(staging_ + "\\com1.txt"), 1},
      {"a stream", "&" + Piece(staging_ + "\\a%3As"), 1},
      {"an inner folder", "&" + Piece(staging_ + "\\x\\a"), 1},
      {"a forward slash", "&" + Piece(staging_ + "/a"), 1},
      {"a wildcard", "&" + Piece(staging_ + "\\*"), 1},
      {"a terminator", "&" + Piece(staging_ + "\\a%00b"), 1},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    test::EmptyFolder(staging_);
    std::string request = "mailto:?" + Stage("a") + row.rest + "&";
    size_t before = Stored().size();
    EXPECT_FALSE(Take(request));
    EXPECT_EQ(Stored().size(), before + row.stored);
    EXPECT_EQ(Staged(), Names{"a"});
    EXPECT_EQ(test::ReadWholeFile(program::Joined(mail_, "precious")), "x");
  }
  EXPECT_FALSE(Take("GET / HTTP/1.1"));
}

TEST_F(MailboxTest, AFailedStoreGivesTheCopiesBack) {
  options_.folder = program::Joined(mail_, "missing");
  EXPECT_FALSE(Take("mailto:?" + Stage("a") + "&" + Stage("b") + "&"));
  EXPECT_EQ(Staged(), (Names{"a", "b"}));

  // A name that is taken again is not written over: the copy stays where it is.
  Mailbox mailbox(options_, reporter_);
  Delivery delivery = mailbox.Receive("mailto:?" + Stage("a", "first") + "&");
  Stage("a", "second");
  EXPECT_FALSE(mailbox.Store(delivery));
  EXPECT_EQ(test::ReadWholeFile(program::Joined(staging_, "a")), "second");
  std::vector<std::string> entries = test::FolderEntries(test::TempFolder());
  ASSERT_EQ(entries.size(), 3u);
  std::string kept = program::Joined(test::TempFolder(), entries.back());
  EXPECT_EQ(test::ReadWholeFile(program::Joined(kept, "a")), "first");
  test::EmptyFolder(kept);
  program::RemoveEmptyFolder(kept);
}

}  // namespace
}  // namespace qvclient

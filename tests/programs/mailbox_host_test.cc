// Each call of the system fails in turn while a message is stored: it is there as a whole or not at
// all, and its attachment is never lost.
#include <gtest/gtest.h>

#include "platform/host/control.h"
#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/qvclient/mailbox.h"
#include "tests/test_platform.h"

namespace qvclient {
namespace {

constexpr char kBytes[] = "bytes of the attachment";
constexpr char kEnd[] = "--=_qvclient_part_=--\r\n";
const std::string kWholeEnd = std::string("Ynl0ZXMgb2YgdGhlIGF0dGFjaG1lbnQ=\r\n") + kEnd;

class MailboxFaults : public testing::Test {
 protected:
  void SetUp() override {
    host::ResetState();
    for (const std::string& folder : {staging_, mail_}) {
      ASSERT_EQ(program::MakeFolders(folder), 0u);
      test::EmptyFolder(folder);
    }
    ASSERT_TRUE(test::WriteWholeFile(program::Joined(staging_, "a"), kBytes));
  }
  void TearDown() override { host::ClearFaults(); }

  // The copy, where it was or in the folder that the client took it to.
  bool CopyIsThere() const {
    for (const std::string& folder : test::FolderEntries(test::TempFolder())) {
      std::string path = program::Joined(program::Joined(test::TempFolder(), folder), "a");
      if (test::ReadWholeFile(path) == kBytes) return true;
    }
    return false;
  }

  std::string Message() const { return test::ReadWholeFile(program::Joined(mail_, "0001.eml")); }

  std::string staging_ = program::Joined(test::TempFolder(), "Staging");
  std::string mail_ = program::Joined(test::TempFolder(), "mail");
  program::Reporter reporter_{"mailbox_host_test"};
};

TEST_F(MailboxFaults, NothingIsLostWhicheverCallFails) {
  for (const char* call : {"CreateDirectoryW", "CreateFileW", "GetFileSizeEx", "ReadFile",
                           "WriteFile", "FlushFileBuffers", "MoveFileExW", "DeleteFileW",
                           "GetFileAttributesW", "SetFileAttributesW", "RemoveDirectoryA"}) {
    uint32_t nth = 0;
    for (bool struck = true; struck;) {
      SetUp();
      SCOPED_TRACE(std::string(call) + ", call " + std::to_string(++nth));
      uint32_t handles = host::OpenHandles();
      host::FailCall(call, nth, ERROR_DISK_FULL);
      Mailbox mailbox({mail_, staging_, false, true, false}, reporter_);
      Delivery delivery =
          mailbox.Receive("mailto:?deletefile=1&attach=C%3A" + staging_.substr(2) + "\\a&to=x&");
      bool stored = mailbox.Store(delivery);
      struck = host::FaultsStruck() != 0;
      host::ClearFaults();
      EXPECT_EQ(host::OpenHandles(), handles);
      bool whole = Message().ends_with(kWholeEnd);
      EXPECT_TRUE(Message().ends_with(kEnd) || Message().empty());
      EXPECT_TRUE(whole || CopyIsThere());
      EXPECT_TRUE(whole || !stored);
      EXPECT_TRUE(struck || stored);
    }
    EXPECT_GT(nth, 1u) << call << " was never called";
  }
}

}  // namespace
}  // namespace qvclient

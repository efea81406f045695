// Both send paths through the real library, to a real DDE server in another process.
#include <cstring>

#include "tests/mapi/mapi_fixture.h"

extern "C" uint32_t SendMapiFromC(QvMapiLogon logon, QvMapiSendMail send, QvMapiLogoff logoff,
                                  const char* file_path);
extern "C" uint32_t SendCmcFromC(QvCmcLogon logon, QvCmcSend send, QvCmcLogoff logoff,
                                 const char* file_path);

namespace mapi_test {
namespace {

constexpr uint32_t kMapiFailure = 0x80004005;

// Hosts pass texts that lie in memory which cannot be written, as these literals do.
char* Mutable(const char* text) { return const_cast<char*>(text); }

std::string Piece(const std::string& name) {
  return "deletefile=1&attach=" + Escaped(StagingFolder() + "\\" + name);
}

uint32_t SendMapi(QvMapiMessage* message) {
  return Export<QvMapiSendMail>("MAPISendMail")(0, 0, message, 0, 0);
}

uint32_t SendCmc(QvCmcMessage* message, QvCmcSession session = 1000) {
  return Export<QvCmcSend>("cmc_send")(session, message, 0, 0, nullptr);
}

QvMapiFile File(const char* path, const char* name = nullptr) {
  QvMapiFile file{};
  file.lpszPathName = Mutable(path);
  file.lpszFileName = Mutable(name);
  return file;
}

TEST(Send, PlainCHostReachesTheClientBothWays) {
  const std::string path = WriteTempFile("Q3 report.pdf", "pdf");
  const std::string expected = "mailto:?" + Piece("Q3 report.pdf") +
                               "&subject=Q3%20report&to=bob&cc=carol"
                               "&body=Hi%2C%0Dsee%20attached.&";
  {
    RunningServer server;
    EXPECT_EQ(
        SendMapiFromC(Export<QvMapiLogon>("MAPILogon"), Export<QvMapiSendMail>("MAPISendMail"),
                      Export<QvMapiLogoff>("MAPILogoff"), path.c_str()),
        0u);
    EXPECT_EQ(ReceivedRequest(), expected);
  }
  RunningServer server;
  EXPECT_EQ(SendCmcFromC(Export<QvCmcLogon>("cmc_logon"), Export<QvCmcSend>("cmc_send"),
                         Export<QvCmcLogoff>("cmc_logoff"), path.c_str()),
            0u);
  EXPECT_EQ(ReceivedRequest(), expected);
}

TEST(Send, MapiTakesEachAttachmentAndReplacesQuestionMarksInPlace) {
  const std::string path = WriteTempFile("qv_a_b.txt", "a");
  std::string asked = path;
  asked[asked.size() - 6] = '?';  // "qv_a?b.txt"
  char name[] = "?x?";
  QvMapiFile files[3] = {File(asked.c_str()), File("C:\\qv\\missing"), File(path.c_str(), name)};
  QvMapiMessage message{};
  message.nFileCount = 3;
  message.lpFiles = files;
  message.nRecipCount = 5;  // of a list that is not there
  RunningServer server;
  EXPECT_EQ(SendMapi(&message), 0u);
  EXPECT_EQ(ReceivedRequest(), "mailto:?" + Piece("qv_a_b.txt") + "&" + Piece("_x_") + "&");
  EXPECT_EQ(asked, path);
  EXPECT_STREQ(name, "_x_");
}

TEST(Send, MessagesThatNeverReachTheClient) {
  const std::string path = WriteTempFile("qv_a.txt", "a");
  QvMapiRecipient recipient{};
  recipient.ulRecipClass = 1;
  recipient.lpszAddress = Mutable("bob");
  QvMapiFile last_fails[2] = {File(path.c_str()), File("C:\\qv\\missing")};
  QvMapiMessage no_file{}, no_list{}, lost_file{};
  no_file.lpRecips = &recipient;
  no_file.nRecipCount = 1;
  no_list.nFileCount = 3;
  lost_file.nFileCount = 2;
  lost_file.lpFiles = last_fails;
  QvCmcAttachment attachment{};
  attachment.attach_filename = Mutable(path.c_str());
  QvCmcMessage good{}, bare{};
  good.attachments = &attachment;
  DeleteFileA((StagingFolder() + "\\qv_a.txt").c_str());

  RunningServer server;
  EXPECT_EQ(SendMapi(nullptr), kMapiFailure);
  EXPECT_EQ(SendMapi(&no_file), kMapiFailure);
  EXPECT_EQ(SendMapi(&no_list), kMapiFailure);
  EXPECT_EQ(SendCmc(&good, 999), 21u);
  EXPECT_FALSE(FileExists(StagingFolder() + "\\qv_a.txt")) << "a wrong session copies nothing";
  EXPECT_EQ(SendMapi(&lost_file), kMapiFailure);
  EXPECT_EQ(SendCmc(nullptr), 21u);
  EXPECT_EQ(SendCmc(&bare), 21u);
  EXPECT_EQ(ReceivedRequest(), "");
  EXPECT_EQ(SendCmc(&good), 0u) << "the server was there all the time";
  EXPECT_EQ(ReceivedRequest(), "mailto:?" + Piece("qv_a.txt") + "&");
}

TEST(Send, CmcTakesTheFirstAttachmentAndRecipientsUpToTheMark) {
  const std::string path = WriteTempFile("qv_a.txt", "a");
  QvCmcAttachment attachments[2] = {};
  attachments[0].attach_filename = attachments[1].attach_filename = Mutable(path.c_str());
  attachments[0].attach_title = Mutable("one.txt");
  attachments[1].attach_title = Mutable("two.txt");
  QvCmcRecipient recipients[4] = {};
  const int32_t roles[] = {2, 7, 1, 0};
  const char* const addresses[] = {"bcc", "none", "cc", "behind the mark"};
  for (int i = 0; i < 4; ++i) {
    recipients[i].role = roles[i];
    recipients[i].address = Mutable(addresses[i]);
  }
  recipients[2].recip_flags = QVCMC_RECIPIENT_LAST | 1;
  QvCmcMessage message{};
  message.attachments = attachments;
  message.recipients = recipients;
  RunningServer server;
  EXPECT_EQ(SendCmc(&message), 0u);
  EXPECT_EQ(ReceivedRequest(), "mailto:?" + Piece("one.txt") + "&cc=cc&bcc=bcc&");
}

// Without its end mark the list goes on into whatever lies behind it: here an address that cannot
// be read.
TEST(Send, CmcSurvivesAListWithoutItsEndMark) {
  const std::string path = WriteTempFile("qv_a.txt", "a");
  QvCmcAttachment attachment{};
  attachment.attach_filename = Mutable(path.c_str());
  QvCmcRecipient recipients[2] = {};
  recipients[0].address = Mutable("bob");
  recipients[1].address = reinterpret_cast<char*>(uintptr_t{16});
  QvCmcMessage message{};
  message.attachments = &attachment;
  message.recipients = recipients;
  RunningServer server;
  EXPECT_EQ(SendCmc(&message), 21u);
  message.recipients = reinterpret_cast<QvCmcRecipient*>(uintptr_t{16});
  EXPECT_EQ(SendCmc(&message), 21u);
  EXPECT_EQ(ReceivedRequest(), "");

  recipients[0].recip_flags = QVCMC_RECIPIENT_LAST;
  message.recipients = recipients;
  EXPECT_EQ(SendCmc(&message), 0u);
  EXPECT_EQ(ReceivedRequest(), "mailto:?" + Piece("qv_a.txt") + "&to=bob&");
}

}  // namespace
}  // namespace mapi_test

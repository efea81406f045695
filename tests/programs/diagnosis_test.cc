#include "programs/qvsend/diagnosis.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "programs/common/file_names.h"
#include "programs/common/files.h"
#include "programs/common/registry_text.h"
#include "programs/qvclient/request_server.h"
#include "programs/qvsend/copies_ahead.h"
#include "tests/test_platform.h"

namespace qvsend {
namespace {

std::string TempPath(const std::string& name) { return program::Joined(test::TempFolder(), name); }

class DiagnosisTest : public testing::Test {
 protected:
  void SetUp() override { RegDeleteTreeA(HKEY_CLASSES_ROOT, "qvp"); }
  void TearDown() override { RegDeleteTreeA(HKEY_CLASSES_ROOT, "qvp"); }
};

TEST_F(DiagnosisTest, TellsWhatIsWrongWithTheRegisteredClient) {
  const std::string client = TempPath("client.exe");
  ASSERT_TRUE(test::WriteWholeFile(client, "x"));
  const struct {
    const char* name;
    std::string command, text;
  } kRows[] = {
      {"none", "", "none is registered"},
      {"gone", TempPath("gone.exe"), "the registered one is not there"},
      {"a folder", test::TempFolder(), "the registered one is not there"},
      {"arguments", client + " --quiet", "cannot be started with arguments"},
      {"quotes and arguments", "\"" + client + "\" \"%1\"", "cannot be started with arguments"},
      {"a program", "\"" + client + "\"", "does not start or does not answer"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    ASSERT_EQ(program::SetRegistryText(HKEY_CLASSES_ROOT, "qvp\\shell\\open\\command", nullptr,
                                       row.command),
              ERROR_SUCCESS);
    EXPECT_NE(WhyNotSent({}, {}, 1252).find(row.text), std::string::npos)
        << WhyNotSent({}, {}, 1252);
  }
}

TEST_F(DiagnosisTest, BlamesARunningClientAndNotTheRegisteredOne) {
  std::atomic<bool> ready{false};
  std::thread client([&ready] {
    qvclient::StartRequestServer({[](const std::string&) { return false; }, 0});
    ready = true;
    qvclient::RunRequestServer();
    qvclient::EndRequestServer();
  });
  while (!ready) std::this_thread::yield();
  EXPECT_NE(WhyNotSent({}, {}, 1252).find("the running client refused"), std::string::npos);
  qvclient::StopRequestServer();
  client.join();
  EXPECT_NE(WhyNotSent({}, {}, 1252).find("none is registered"), std::string::npos);
}

TEST_F(DiagnosisTest, NamesTheFileThatWasNotCopied) {
  ASSERT_EQ(program::MakeFolders(program::StagingFolder()), 0u);
  const std::string source = TempPath("source"),
                    copy = program::Joined(program::StagingFolder(), "n");
  const struct {
    const char* name;
    const char *source, *copy;  // contents, null for none
    uint64_t size;              // when the send began
    const char* text;
  } kRows[] = {{"whole", "12345", "12345", 5, "no client took"},
               {"grew meanwhile", "1234567", "12345", 5, "no client took"},
               {"shrank meanwhile", "12", "12", 5, "no client took"},
               {"cut short", "12345", "123", 5, "cannot copy shown into "},
               {"no copy", "12345", nullptr, 5, "cannot copy shown into "},
               {"gone", nullptr, "12345", 5, "cannot read the attachment shown any more"}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    program::DeleteFileAt(source);
    program::DeleteFileAt(copy);
    if (row.source) {
      ASSERT_TRUE(test::WriteWholeFile(source, row.source));
    }
    if (row.copy) {
      ASSERT_TRUE(test::WriteWholeFile(copy, row.copy));
    }
    Letter letter;
    letter.files = {{"shown", source, "n", row.size}};
    Outgoing outgoing;
    outgoing.files = {{source, "n"}};
    EXPECT_TRUE(WhyNotSent(letter, outgoing, 1252).starts_with(row.text));
  }
  program::DeleteFileAt(copy);
}

// The library would deliver the message without the file.
TEST_F(DiagnosisTest, SeesBeforeTheSendThatAnEarlierFileCannotBeCopied) {
  ASSERT_EQ(program::MakeFolders(program::Joined(program::StagingFolder(), "taken")), 0u);
  ASSERT_TRUE(test::WriteWholeFile(TempPath("source"), "x"));
  const AttachmentFile file{"shown", TempPath("source"), "", 1};
  const struct {
    const char* name;
    std::vector<const char*> names;
    bool fails;
  } kRows[] = {{"all well", {"one", "two"}, false},
               {"the first", {"taken", "two"}, true},
               {"one between", {"one", "taken", "two"}, true},
               {"the last, which the library reports", {"one", "taken"}, false}};
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    Letter letter;
    Outgoing outgoing;
    for (const char* name : row.names) {
      letter.files.push_back(file);
      outgoing.files.push_back({file.path, name});
    }
    EXPECT_EQ(CopyAhead(letter, outgoing, 1252).starts_with("cannot copy shown into "), row.fails);
    EXPECT_EQ(test::Exists(program::Joined(program::StagingFolder(), "one")), !row.fails);
    program::DeleteFileAt(program::Joined(program::StagingFolder(), "one"));
  }
  program::RemoveEmptyFolder(program::Joined(program::StagingFolder(), "taken"));
}

}  // namespace
}  // namespace qvsend

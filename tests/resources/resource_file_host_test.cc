// What only the stand-in can do: platform calls that fail, and a process that is really killed.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "platform/host/control.h"
#include "resources/resource_chain.h"
#include "tests/resources/resource_file_fixture.h"

namespace {

using test::ForkBuilder;

class ResourceFileHost : public test::ResourceFileTest {
 protected:
  ~ResourceFileHost() override { host::ClearFaults(); }
  // With the system's own calls for everything.
  ZRError OpenPlain(CRezFmt& source, bool read_only = false) {
    CDiskFile* file = new CDiskFile;
    ZRError error = file->SetPath(path_.c_str());
    if (error == ZRErrNone) error = source.Open(&file, read_only);
    delete file;
    return error;
  }
  static ZRError ChangeAndUpdate(CRezFmt& source) {
    const auto type = test::Code("TEXT");
    const ZRHandle first = source.GetResource(type, 1);
    const std::string grown(70000, 'A');
    ZRError error = ZRSetHandleBytes(grown.data(), first, static_cast<uint32_t>(grown.size()));
    if (error == ZRErrNone) error = source.ChangedResource(type, 1);
    ZRHandle added = test::HandleOf("added");
    if (error == ZRErrNone) error = source.AddResource(added, type, 3, nullptr);
    return error == ZRErrNone ? source.UpdateFile() : error;
  }

  const std::string before_ =
      ForkBuilder().Add("TEXT", 1, std::string(30000, 'a'), "one").Add("TEXT", 2, "b").Build();
  const std::vector<test::ForkEntry> old_entries_ = test::ReadFork(before_).entries,
                                     new_entries_ = {{"TEXT", 1, "one", std::string(70000, 'A')},
                                                     {"TEXT", 2, "", "b"},
                                                     {"TEXT", 3, "", "added"}};
};

// Each platform call fails once, or from then on: an error, the old or the new contents, nothing
// left open.
TEST_F(ResourceFileHost, EachCallFailsInTurn) {
  for (const char* call : {"CreateFileA", "ReadFile", "WriteFile", "SetFilePointer",
                           "FlushFileBuffers", "SetEndOfFile"}) {
    for (const bool from_then_on : {false, true}) {
      uint32_t n = 0;
      for (bool struck = true; struck;) {
        SCOPED_TRACE(testing::Message() << call << " " << ++n << from_then_on);
        Put(before_);
        const uint32_t open_handles = host::OpenHandles();
        auto source = std::make_unique<CRezFmt>();
        host::FailCall(call, n, ERROR_DISK_FULL, from_then_on);
        ZRError error = OpenPlain(*source);
        if (error == ZRErrNone && source->GetResource(test::Code("TEXT"), 1) == 0) error = 1;
        if (error == ZRErrNone) error = ChangeAndUpdate(*source);
        struck = host::FaultsStruck() > 0;
        host::ClearFaults();
        source.reset();
        EXPECT_EQ(host::OpenHandles(), open_handles);
        const auto entries = Reread(File());
        ASSERT_TRUE(entries == old_entries_ || entries == new_entries_);
        if (error == ZRErrNone) {
          EXPECT_EQ(entries, new_entries_);
        }
        // What measures the file may fail without harm.
        EXPECT_TRUE(struck || error == ZRErrNone);
        ASSERT_LT(n, 200u);
      }
      EXPECT_GT(n, 1u);
    }
  }
}

TEST_F(ResourceFileHost, CreatingFails) {
  for (const char* call :
       {"CreateFileA", "WriteFile", "FlushFileBuffers", "SetFileAttributesA", "SetFileTime"}) {
    uint32_t n = 0;
    for (bool struck = true; struck;) {
      SCOPED_TRACE(testing::Message() << call << " " << ++n);
      test::EmptyFolder(folder_);
      CDiskFile* file = new CDiskFile;
      ASSERT_EQ(file->SetPath(path_.c_str()), ZRErrNone);
      CRezFmt source;
      host::FailCall(call, n, ERROR_ACCESS_DENIED);
      const ZRError error = source.Create(file, qv::kEntryArchive, 3'500'000'000);
      struck = host::FaultsStruck() > 0;
      host::ClearFaults();
      // Streams that cannot be asked about count as not there.
      const bool is_stream = std::string(call) == "CreateFileA" && n > 2;
      EXPECT_EQ(error, struck && !is_stream ? ZRErrAccess : ZRErrNone);
      EXPECT_EQ(test::Exists(path_), error == ZRErrNone);
      if (error != ZRErrNone) {
        EXPECT_FALSE(file->IsOpen());
        delete file;
      }
      ASSERT_LT(n, 10u);
    }
    EXPECT_GT(n, 1u);
  }
}

// A file that cannot be opened leaves nothing behind in the chain.
TEST_F(ResourceFileHost, TheChainOpensNothing) {
  Put(before_);
  qv::ResetResourceChainForTest();
  for (const char* call : {"CreateFileA", "ReadFile", "GetFileAttributesA"}) {
    for (uint32_t n = 1;; ++n) {
      SCOPED_TRACE(testing::Message() << call << " " << n);
      const uint32_t open_handles = host::OpenHandles();
      host::FailCall(call, n, ERROR_ACCESS_DENIED, true);
      const std::unique_ptr<CResSource> opened(ZROpenResourceFile(path_.c_str()));
      const bool struck = host::FaultsStruck() > 0;
      host::ClearFaults();
      if (opened != nullptr) break;
      EXPECT_TRUE(struck);
      EXPECT_EQ(host::OpenHandles(), open_handles);
      ASSERT_LT(n, 10u);
    }
  }
}

// A process is killed in the middle of its n-th change of the file.
TEST_F(ResourceFileHost, KilledProcesses) {
  class Deadly final : public test::StoppingFile {
   public:
    explicit Deadly(int at) : at_(at) {}
    ZRError WriteAt(const void* bytes, int32_t length, int64_t offset, uint32_t mode) override {
      if (--at_ > 0) return CDiskFile::WriteAt(bytes, length, offset, mode);
      // The system may take a part of a long write; a header is one sector.
      if (length > 16) CDiskFile::WriteAt(bytes, length / 2, offset, mode);
      raise(SIGKILL);
      return ZRErrIO;
    }

   private:
    int at_;
  };
  int old_ones = 0, new_ones = 0;
  for (int at = 1;; ++at) {
    SCOPED_TRACE(at);
    Put(before_);
    const pid_t child = fork();
    if (child == 0) {
      CRezFmt source;
      CDiskFile* file = new Deadly(at);
      if (file->SetPath(path_.c_str()) != ZRErrNone) _exit(2);
      if (source.Open(&file, false) != ZRErrNone) _exit(3);
      _exit(ChangeAndUpdate(source) == ZRErrNone ? 0 : 4);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    if (WIFEXITED(status)) {
      ASSERT_EQ(WEXITSTATUS(status), 0);
      break;
    }
    ASSERT_EQ(WTERMSIG(status), SIGKILL);
    const auto entries = Reread(File());
    ASSERT_TRUE(entries == old_entries_ || entries == new_entries_);
    ++(entries == old_entries_ ? old_ones : new_ones);
    ASSERT_LT(at, 50);
  }
  EXPECT_GE(old_ones, 2);
  EXPECT_GE(new_ones, 2);
  EXPECT_EQ(test::ReadFork(File()).entries, new_entries_);
}

}  // namespace

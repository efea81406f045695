// The platform failing under the request builder.
#include "mapi/request_builder.h"
#include "platform/host/control.h"
#include "tests/mapi/mapi_fixture.h"

namespace mapi_test {
namespace {

class RequestBuilderFaultTest : public MapiTest {};

TEST_F(RequestBuilderFaultTest, AttachmentWithoutItsCopyIsLeftOut) {
  const std::string path = WriteTempFile("qv_fault.txt", "a");
  const std::string copy = StagingFolder() + "\\qv_fault.txt";
  DeleteFileA(copy.c_str());
  RemoveDirectoryA(StagingFolder().c_str());
  const struct {
    const char* call;
    DWORD error;
    bool copied;
  } kRows[] = {
      {"GetTempPathA", ERROR_NOT_ENOUGH_MEMORY, false},
      {"CreateDirectoryA", ERROR_ACCESS_DENIED, false},
      {"CopyFileA", ERROR_DISK_FULL, false},
      {"RegOpenKeyExA", ERROR_ACCESS_DENIED, true},  // the application code page serves
      {"RegQueryValueExA", ERROR_FILE_NOT_FOUND, true},
  };
  const uint32_t handles = host::OpenHandles();
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.call);
    host::FailCall(row.call, 1, row.error);
    EXPECT_EQ(BeginMailRequest(path.c_str(), nullptr, true), row.copied);
    EXPECT_EQ(host::FaultsStruck(), 1u);
    host::ClearFaults();
    EXPECT_EQ(FileExists(copy), row.copied);
    const std::string piece = row.copied ? "deletefile=1&attach=" + Escaped(copy) : "";
    EXPECT_EQ(qv::RequestBuffers().request, "mailto:?" + piece);
    EXPECT_EQ(host::OpenHandles(), handles);
  }
}

}  // namespace
}  // namespace mapi_test

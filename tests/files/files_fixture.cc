#include "tests/files/files_fixture.h"

#include "app/debug_output.h"
#include "files/file_cache.h"

namespace test {
namespace {

void KeepMessage(ZRError, uint32_t, const char* format, va_list arguments) {
  char text[8000];
  FormatTextList(text, format, arguments);
  Said().push_back(text);
}

}  // namespace

std::vector<std::string>& Said() {
  static auto& lines = *new std::vector<std::string>;
  return lines;
}

FilesTest::FilesTest() {
  EmptyFolder(folder_);
  Said().clear();
  ZRSetMessageHook(KeepMessage);
  qv::SetDebugFlag(1);  // the console echo takes the debug output
  qv::GlobalHooks().show_in_console = [](const char* text) {
    Said().push_back(std::string("log: ") + text);
    return true;
  };
  qv::SetSettingsPath((folder_ + "\\files.ini").c_str());
  StartAnew();
}

FilesTest::~FilesTest() {
  ZRSetMessageHook(nullptr);
  qv::SetDebugFlag(0);
  qv::ResetHooksForTest();
  qv::ResetSettingsForTest();
  StartAnew();
  EmptyFolder(folder_);
}

void FilesTest::Set(const char* section, const char* key, const char* value) {
  EXPECT_NE(WriteSettingString(section, key, value), 0);
  StartAnew();
}

void FilesTest::StartAnew() {
  qv::ResetErrorReportsForTest();
  qv::ResetFileCacheForTest();
  qv::ResetFileRequestsForTest();
  qv::ResetFileOptionsForTest();
  qv::ResetLocationsForTest();
  qv::ResetVolumesForTest();
}

}  // namespace test

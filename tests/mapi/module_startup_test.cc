#include "mapi/module_startup.h"

#include <cstring>
#include <string>

#include "app/ui/accelerators.h"
#include "files/locations.h"
#include "files/paths.h"
#include "resources/module_source.h"
#include "tests/mapi/mapi_fixture.h"
#include "text/code_page_strings.h"

namespace mapi_test {
namespace {

const DWORD kReasons[] = {DLL_PROCESS_ATTACH, DLL_THREAD_ATTACH, DLL_THREAD_DETACH,
                          DLL_PROCESS_DETACH};

TEST(ModuleStartup, EveryNotificationRefreshesBothPathsAndSucceeds) {
  HINSTANCE program = GetModuleHandleA(nullptr);
  char host_path[MAX_PATH] = {}, library_path[MAX_PATH] = {};
  GetModuleFileNameA(nullptr, host_path, MAX_PATH);
  GetModuleFileNameA(Library(), library_path, MAX_PATH);
  for (const DWORD reason : kReasons) {
    SCOPED_TRACE(reason);
    qv::Module().host_path[0] = qv::Module().module_path[0] = '\0';
    EXPECT_EQ(ModuleStartup(reason == DLL_PROCESS_ATTACH ? Library() : program, reason), 1);
    EXPECT_EQ(qv::Module().instance, Library()) << "kept from the attach on";
    EXPECT_STREQ(qv::Module().module_path, library_path);
    EXPECT_STREQ(qv::Module().host_path, host_path);
  }
}

TEST(ModuleStartup, AttachBindsResourcesClearsAcceleratorsAndLoadsTables) {
  qv::Accelerators().count = 3;
  SetApplicationCodePage(850);
  EXPECT_EQ(ModuleStartup(Library(), DLL_PROCESS_ATTACH), 1);
  EXPECT_EQ(qv::ModuleSource().GetModule(), Library());
  EXPECT_EQ(qv::Accelerators().count, 0u);
  char path[MAX_PATH], folder[kFolderSize], name[kFolderSize];
  GetModuleFileNameA(Library(), path, MAX_PATH);
  EXPECT_EQ(ZRGetAppFolder(folder, sizeof folder), ZRErrNone);
  EXPECT_EQ(ZRGetModuleName(name, sizeof name, false), ZRErrNone);
  EXPECT_EQ(std::string(folder) + "\\" + name, path) << "the library's, not the program's";
  EXPECT_EQ(GetApplicationCodePage(), 1252);
  char text[20] = "\xE9";
  EXPECT_EQ(CPConvert(text, 1251, kUtf8, sizeof text), 3u);
  EXPECT_STREQ(text, "\xD0\xB9");
}

}  // namespace
}  // namespace mapi_test

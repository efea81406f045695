#include "fuzz/fuzz_support.h"

#include "platform/windows_api.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "tests/test_platform.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  test::StartWithOwnState();
  std::atexit(test::RemoveOwnState);
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  if (LoadCharsetTables() != 0) std::abort();
  return 0;
}

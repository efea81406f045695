// A program of somebody else on top of the framework: built from the sdk folder alone.
#include <cstdio>
#include <cstring>

#include "app/settings.h"
#include "app/ui/application_run.h"
#include "memory/handle_bytes.h"
#include "memory/handles.h"
#include "resources/module_source.h"
#include "resources/resource_chain.h"
#include "text/converters.h"
#include "text/formatter.h"

namespace {

int failures = 0;

void Expect(bool holds, const char* what) {
  if (holds) return;
  std::printf("FAIL %s\n", what);
  ++failures;
}

void Main() {
  char text[64];
  FormatTextN(text, sizeof text - 1, "%#s is %08lX", "\003abc", 0xBEEFl);
  Expect(std::strcmp(text, "abc is 0000BEEF") == 0, "formatted text");
  Expect(ReadSettingInt("QVSetup", "Slice", 25) == 25, "a default without a settings file");
  uint32_t size = sizeof text;
  ConvertText("gr\xFC\xDF", 4, 1252, text, &size, 65001, 0, 0);
  Expect(size == 6 && std::memcmp(text, "gr\xC3\xBC\xC3\x9F", 6) == 0, "converted text");
  Expect(ZRGetIndCString(text, 999, 1, 63) && std::strcmp(text, "Ctrl+") == 0, "a string list");
  ZRHandle handle = 0;
  Expect(ZRHandleFromBytes("abc", &handle, 3) == ZRErrNone, "a handle");
  Expect(ZRAppendHandleBytes("de", handle, 2) == ZRErrNone && ZRGetHandleSize(handle) == 5,
         "a handle that grows");
  ZRDisposeHandle(&handle);
  const auto count = [](uint32_t, int32_t, void*) { return 0; };
  Expect(qv::ModuleSource().Enumerate(qv::ResourceType("CHST"), count, nullptr) == 13,
         "the library's own tables");
}

}  // namespace

int main() {
  ZRSetApplicationMain(Main);
  if (ZRRunApplication(GetModuleHandleA(nullptr), nullptr, "", 1) != 1) ++failures;
  if (failures == 0) std::puts("[  PASSED  ] 1 tests.");
  return failures;
}

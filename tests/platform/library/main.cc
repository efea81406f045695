// A library for the module tests: it has resources of its own and tells whether it was attached.
#include "platform/windows_api.h"

namespace {

int attaches = 0;
HINSTANCE own_instance = nullptr;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) {
    ++attaches;
    own_instance = instance;
  }
  return TRUE;
}

// 1 when it was attached once and its handle finds its own strings.
extern "C" __attribute__((visibility("default"))) int AttachedOnce() {
  char text[10] = {};
  return attaches == 1 && LoadStringA(own_instance, 2579, text, sizeof text) > 0;
}

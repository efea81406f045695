// The loader's entry of the library.
#include "mapi/module_startup.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  return ModuleStartup(instance, reason);
}

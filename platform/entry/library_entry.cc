// Where the system's loader calls no DllMain: an ELF constructor and destructor that do, with the
// handle of the shared library they are linked into. Linked into that library by name.
#include <dlfcn.h>
#include <link.h>

#include "platform/windows_api.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved);

namespace {

// The module handle is the loader's link map of this object, as in host/modules.cc.
HINSTANCE ThisModule() {
  Dl_info info;
  link_map* map = nullptr;
  void* own = reinterpret_cast<void*>(&ThisModule);
  if (!dladdr1(own, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP)) return nullptr;
  return reinterpret_cast<HINSTANCE>(map);
}

__attribute__((constructor)) void Attach() { DllMain(ThisModule(), DLL_PROCESS_ATTACH, nullptr); }
__attribute__((destructor)) void Detach() { DllMain(ThisModule(), DLL_PROCESS_DETACH, nullptr); }

}  // namespace

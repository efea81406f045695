// The loader's entry of the library.
#include "base/scratch_pool.h"
#include "mapi/module_startup.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID process_ends) {
  const int result = ModuleStartup(instance, reason);
  // A host may load and unload the library as often as it likes. When the whole process ends, its
  // memory goes anyway, and a thread that was stopped might hold a lock.
  if (reason == DLL_PROCESS_DETACH && process_ends == nullptr) qv::ReleaseScratchPool();
  return result;
}

#include "mapi/module_startup.h"

#include "app/application_hooks.h"
#include "app/ui/accelerators.h"
#include "files/locations.h"
#include "memory/checked_allocations.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"

namespace qv {
namespace {

void RefreshPath(HMODULE module, char (&path)[MAX_PATH]) {
  path[0] = '\0';
  GetModuleFileNameA(module, path, MAX_PATH);
  // A path that was cut comes without its terminator on some systems.
  path[MAX_PATH - 1] = '\0';
}

// A table that cannot be loaded leaves the library with what it has: its text then goes out
// unconverted, which is better than a host that does not start.
void Attach(HINSTANCE instance) {
  Module().instance = instance;
  InstallCheckedAllocator();
  InstallApplicationHooks();
  SetLocationsModule(instance);
  ZRInitModuleResources(instance);
  ClearAccelerators();
  LoadCharsetTables();
}

}  // namespace

ModuleState& Module() {
  static constinit ModuleState state;
  return state;
}

}  // namespace qv

int ModuleStartup(HINSTANCE instance, DWORD reason) {
  if (reason == DLL_PROCESS_ATTACH) qv::Attach(instance);
  qv::RefreshPath(qv::Module().instance, qv::Module().module_path);
  qv::RefreshPath(nullptr, qv::Module().host_path);
  return 1;
}

#include "platform/host/modules.h"

#include <dlfcn.h>
#include <link.h>

#include <cstring>
#include <filesystem>
#include <functional>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/module_list.h"
#include "platform/host/module_resources.h"
#include "platform/host/paths.h"
#include "platform/host/text.h"

namespace host {
namespace {

link_map* MainMap() {
  static link_map* const map = [] {
    void* handle = dlopen(nullptr, RTLD_NOW);
    return static_cast<link_map*>(handle);
  }();
  return map;
}

const std::string& MainFile() {
  static const std::string& file = *new std::string([] {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).string();
  }());
  return file;
}

LoadedModule Describe(link_map* map) {
  LoadedModule module{reinterpret_cast<HMODULE>(map), map->l_name ? map->l_name : "", map->l_addr};
  if (map == MainMap()) module.file = MainFile();
  return module;
}

// The first module that `wanted` picks. The loader's list is walked inside its own iteration, which
// keeps it from changing.
LoadedModule FindFirst(const std::function<bool(link_map*)>& wanted) {
  struct Search {
    const std::function<bool(link_map*)>& wanted;
    LoadedModule found;
  } search{wanted, {}};
  if (!MainMap()) return {};
  auto walk = [](dl_phdr_info*, size_t, void* context) {
    auto& job = *static_cast<Search*>(context);
    link_map* map = MainMap();
    while (map && !job.wanted(map)) map = map->l_next;
    if (map) job.found = Describe(map);
    return 1;  // once is enough
  };
  dl_iterate_phdr(walk, &search);
  return search.found;
}

std::u16string PlatformFile(const LoadedModule& module) {
  return WideFromUtf8(PlatformFromNative(module.file));
}

// Calls of these libraries of the system are found by name in the stand-in.
bool IsSystemLibrary(const std::string& name) {
  for (const char* library : {"KERNEL32.DLL", "NTDLL.DLL", "SHFOLDER.DLL", "SHELL32.DLL"}) {
    if (SameIgnoringCase(name, library)) return true;
  }
  return false;
}

// A reference to the stand-in itself, as to any other library.
HMODULE LoadStandIn() {
  return static_cast<HMODULE>(dlopen(FindStandIn().file.c_str(), RTLD_NOW | RTLD_NOLOAD));
}

HMODULE Load(std::u16string_view path) {
  if (IsSystemLibrary(Utf8FromWide(path))) return LoadStandIn();
  FoundName name = FindNative(path);
  if (name.error != 0) return Fail(ERROR_MOD_NOT_FOUND, HMODULE{});
  if (!std::filesystem::exists(name.path)) return Fail(ERROR_MOD_NOT_FOUND, HMODULE{});
  void* handle = dlopen(name.path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) return Fail(ERROR_BAD_EXE_FORMAT, HMODULE{});
  return static_cast<HMODULE>(handle);
}

// An object that the program was started with can be searched only once it was opened too.
void* FindSymbol(const LoadedModule& module, const char* name) {
  bool is_main = module.handle == reinterpret_cast<HMODULE>(MainMap());
  void* handle = dlopen(is_main ? nullptr : module.file.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (!handle) return nullptr;
  void* address = dlsym(handle, name);
  dlclose(handle);
  return address;
}

// By the rule of GetModuleFileName: what fits, ended, and an error when that is not all.
template <typename Char>
DWORD CopyFileName(std::basic_string_view<Char> file, Char* buffer, DWORD size) {
  if (!buffer || size == 0) return Fail(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
  DWORD length = CopyOut(file, buffer, size);
  if (length < size) return length;
  file.copy(buffer, size - 1);
  buffer[size - 1] = 0;
  return Fail(ERROR_INSUFFICIENT_BUFFER, size);
}

}  // namespace

LoadedModule FindModule(HMODULE handle) {
  if (!handle) handle = reinterpret_cast<HMODULE>(MainMap());
  return FindFirst([handle](link_map* map) { return reinterpret_cast<HMODULE>(map) == handle; });
}

LoadedModule FindStandIn() {
  Dl_info place;
  void* map = nullptr;
  if (!dladdr1(reinterpret_cast<void*>(&FindStandIn), &place, &map, RTLD_DL_LINKMAP)) return {};
  return FindModule(static_cast<HMODULE>(map));
}

LoadedModule FindModuleByName(const std::string& name) {
  if (IsSystemLibrary(name)) return FindStandIn();
  bool bare = name.find('/') == std::string::npos;
  return FindFirst([&](link_map* map) {
    std::string file = Describe(map).file;
    if (bare) file.erase(0, file.rfind('/') + 1);
    return !file.empty() && SameIgnoringCase(file, name);
  });
}

}  // namespace host

using host::Enter;
using host::Fail;

HMODULE GetModuleHandleA(LPCSTR name) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMODULE{});
  if (!name) return host::FindModule(nullptr).handle;
  std::string wanted = host::Utf8FromAnsi(name);
  if (wanted.find_first_of("\\/:") != std::string::npos) {
    wanted = host::FindNative(name).path;
  }
  HMODULE found = wanted.empty() ? nullptr : host::FindModuleByName(wanted).handle;
  return found ? found : Fail(ERROR_MOD_NOT_FOUND, HMODULE{});
}

DWORD GetModuleFileNameA(HMODULE module, LPSTR buffer, DWORD size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  host::LoadedModule found = host::FindModule(module);
  if (!found.handle) return Fail(ERROR_MOD_NOT_FOUND, DWORD{0});
  std::string file = host::AnsiFromWide(host::PlatformFile(found));
  return host::CopyFileName(std::string_view(file), buffer, size);
}

DWORD GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD size) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  host::LoadedModule found = host::FindModule(module);
  if (!found.handle) return Fail(ERROR_MOD_NOT_FOUND, DWORD{0});
  std::u16string file = host::PlatformFile(found);
  return host::CopyFileName(std::u16string_view(file), buffer, size);
}

HMODULE LoadLibraryA(LPCSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMODULE{});
  return host::Load(host::WideFromAnsi(path ? path : ""));
}

HMODULE LoadLibraryW(LPCWSTR path) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HMODULE{});
  return host::Load(path ? path : u"");
}

BOOL FreeLibrary(HMODULE module) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  if (!module || !host::FindModule(module).handle) return Fail(ERROR_MOD_NOT_FOUND, FALSE);
  host::ForgetResources(module);
  if (dlclose(module) != 0) return Fail(ERROR_MOD_NOT_FOUND, FALSE);
  return TRUE;
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FARPROC{});
  host::LoadedModule found = host::FindModule(module);
  if (!found.handle) return Fail(ERROR_INVALID_HANDLE, FARPROC{});
  // Numbers in place of names are not kept in ELF files.
  void* address = IS_INTRESOURCE(name) ? nullptr : host::FindSymbol(found, name);
  if (!address) return Fail(ERROR_PROC_NOT_FOUND, FARPROC{});
  return reinterpret_cast<FARPROC>(address);
}

#include "resources/resource_chain.h"

#include <cstring>
#include <memory>
#include <new>

#include "base/hooks.h"
#include "files/disk_file.h"
#include "files/paths.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "resources/resource_file.h"
#include "resources/user_language.h"

namespace qv {
namespace {

constexpr char kResourceFileEnd[] = ".rez";
constexpr size_t kNameSize = 256;  // bytes, terminator included

CResSource* OpenResourceFile(const char* path) {
  std::unique_ptr<CDiskFile> file(new (std::nothrow) CDiskFile);
  std::unique_ptr<CRezFmt> source(new (std::nothrow) CRezFmt);
  if (!file || !source || file->SetPath(path) != ZRErrNone) return nullptr;
  CDiskFile* given = file.get();
  if (source->Open(&given, true) != ZRErrNone) return nullptr;
  file.release();  // it is the source's
  return source.release();
}

struct ResourceChainState {
  // Filled at start-up, then kept. The module source stands behind them.
  std::unique_ptr<CResSource> file_b, main_file, file_a;
  ResourceFileOpener open = OpenResourceFile;
  bool use_extra_files = false;
};

ResourceChainState& State() {
  static ResourceChainState state;
  return state;
}

// Offers each source of the chain to `ask` until it answers true; returns whether it did.
template <class Ask>
bool AskInOrder(Ask ask) {
  const ResourceChainState& state = State();
  const bool extra = state.use_extra_files;
  CResSource* const sources[] = {extra ? state.file_b.get() : nullptr, state.main_file.get(),
                                 extra ? state.file_a.get() : nullptr, &ModuleSource()};
  for (CResSource* source : sources) {
    if (source != nullptr && ask(*source)) return true;
  }
  return false;
}

template <class Get>
ZRHandle FirstHandle(Get get) {
  ZRHandle handle = 0;
  AskInOrder([&](CResSource& source) { return (handle = get(source)) != 0; });
  return handle;
}

// The caller's callback behind that of a source.
struct CountedWalk {
  ZRResourceCallback callback;
  void* user_data;
  uint32_t calls = 0;
};

int VisitCounted(ResourceTypeCode type, int32_t number, const uint8_t* name, CodePage cp,
                 void* user_data) {
  auto& walk = *static_cast<CountedWalk*>(user_data);
  ++walk.calls;
  return walk.callback(type, name, cp, number, walk.user_data) != 0 ? kStopWalk : 0;
}

// --- start-up ---

// The file that string `index` of the list of file names names, or null.
CResSource* OpenNamedFile(int32_t index) {
  Str255 name;
  if (!ZRGetIndString(name, kFileNameList, index, kMostLStr, kNoConversion)) return nullptr;
  LStrToCStrInPlace(name);
  const auto* path = reinterpret_cast<const char*>(name);
  return path[0] == '\0' ? nullptr : ZROpenResourceFile(path);
}

CResSource* OpenLanguageFile(const char* language) {
  char name[kNameSize] = "";
  AppendCStr(name, language, sizeof name);
  AppendCStr(name, kResourceFileEnd, sizeof name);
  return ZROpenResourceFile(name);
}

// By language and country, else by the language alone.
CResSource* OpenFileOfUserLanguage() {
  char language[kUserLanguageSize];
  GetUserLanguage(language);
  CResSource* file = OpenLanguageFile(language);
  char* const country = std::strrchr(language, '-');
  if (file != nullptr || country == nullptr) return file;
  *country = '\0';
  return OpenLanguageFile(language);
}

void FillChain() {
  ResourceChainState& state = State();
  if (!state.main_file) state.main_file.reset(OpenNamedFile(kMainFileString));
  if (!state.main_file) state.main_file.reset(OpenFileOfUserLanguage());
  if (!state.file_a) state.file_a.reset(OpenNamedFile(kFileAString));
  if (!state.file_b) state.file_b.reset(OpenNamedFile(kFileBString));
}

// The folder of the application; false when it cannot be had or is too long.
bool GetApplicationFolder(char (&folder)[kNameSize]) {
  const DWORD length = GetModuleFileNameA(nullptr, folder, sizeof folder);
  if (length == 0 || length >= sizeof folder) return false;
  char* const name = std::strrchr(folder, '\\');
  if (name == nullptr) return false;
  *name = '\0';
  return true;
}

}  // namespace

void SetResourceFileOpener(ResourceFileOpener opener) { State().open = opener; }

CResSource* FindFileWithResource(ResourceTypeCode type, int32_t number) {
  CResSource* found = nullptr;
  AskInOrder([&](CResSource& source) {
    if (source.GetResourceSize(type, number) < 0) return false;
    if (&source != &ModuleSource()) found = &source;
    return true;
  });
  return found;
}

void ResetResourceChainForTest() { State() = {}; }

}  // namespace qv

ZRHandle ZRGetResource(qv::ResourceTypeCode type, int32_t number) {
  return qv::FirstHandle([=](CResSource& source) { return source.GetResource(type, number); });
}

ZRHandle ZRGetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) {
  return qv::FirstHandle([=](CResSource& source) { return source.GetNamedResource(type, name); });
}

ZRHandle ZRLoadResourceCopy(qv::ResourceTypeCode type, int32_t number) {
  return qv::FirstHandle([=](CResSource& source) { return source.LoadResourceCopy(type, number); });
}

ZRHandle ZRLoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) {
  return qv::FirstHandle(
      [=](CResSource& source) { return source.LoadNamedResourceCopy(type, name); });
}

int32_t ZRGetResourceSize(qv::ResourceTypeCode type, int32_t number) {
  int32_t size = qv::kNoResource;
  const bool found = qv::AskInOrder(
      [&](CResSource& source) { return (size = source.GetResourceSize(type, number)) >= 0; });
  return found ? size : qv::kNoResource;
}

uint32_t ZREnumResources(qv::ResourceTypeCode type, ZRResourceCallback callback, void* user_data) {
  if (callback == nullptr) return 0;
  qv::CountedWalk walk{callback, user_data};
  qv::AskInOrder([&](CResSource& source) {
    source.EnumResources(type, qv::VisitCounted, &walk);
    return false;
  });
  return walk.calls;
}

void ZRReleaseResource(ZRHandle* handle) {
  if (handle == nullptr || *handle == 0) return;
  qv::AskInOrder([=](CResSource& source) { return source.ReleaseResource(handle) == ZRErrNone; });
}

void ZRPurgeResources() {
  qv::AskInOrder([](CResSource& source) {
    source.PurgeResources();
    return false;
  });
}

bool ZRReloadResource(ZRHandle handle) {
  return qv::AskInOrder(
      [=](CResSource& source) { return source.ReloadResource(handle) == ZRErrNone; });
}

bool ZRGetIndString(uint8_t* out, int32_t list, int32_t index, int32_t maximum, CodePage cp) {
  if (out == nullptr) return false;
  return qv::AskInOrder(
      [=](CResSource& source) { return source.GetIndString(out, list, index, maximum, cp); });
}

bool ZRGetIndCString(char* out, int32_t list, int32_t index, int32_t maximum) {
  auto* const text = reinterpret_cast<uint8_t*>(out);
  const bool found = ZRGetIndString(text, list, index, maximum);
  qv::LStrToCStrInPlace(text);
  return found;
}

bool ZRGetString(char* out, int32_t number, int32_t size, CodePage cp) {
  return qv::AskInOrder(
      [=](CResSource& source) { return source.GetString(out, number, size, cp); });
}

ZRError ZROpenResourceFiles(HMODULE module) {
  ZRInitModuleResources(module);
  qv::FillChain();
  qv::GlobalHooks().clear_accelerators();
  return LoadCharsetTables();
}

CResSource* ZROpenResourceFile(const char* path) {
  if (path == nullptr || path[0] == '\0') return nullptr;
  if (std::strpbrk(path, "\\/:") != nullptr) return qv::State().open(path);
  char whole[qv::kNameSize];
  if (!qv::GetApplicationFolder(whole) || ZRPathJoin(whole, path) == nullptr) return nullptr;
  return qv::State().open(whole);
}

void ZRUseExtraResourceFiles(bool use) { qv::State().use_extra_files = use; }

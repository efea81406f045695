#include "resources/module_source.h"

#include <algorithm>
#include <cstring>
#include <memory>

#include "base/hooks.h"
#include "files/disk_file.h"
#include "memory/handle_bytes.h"
#include "resources/resource_text.h"

namespace qv {
namespace {

constexpr int32_t kStringsPerList = 16;
constexpr int32_t kMostStringNumber = 0xFFFF;
constexpr uint32_t kPathSize = 256;  // bytes, terminator included

struct ModuleSourceState {
  CModuleRes source;  // bound at start-up, before a second thread looks up
};

ModuleSourceState& State() {
  static ModuleSourceState state;
  return state;
}

// A resource name as the platform takes it; null for none.
class PlatformName {
 public:
  explicit PlatformName(const uint8_t* name) { LStrToCStr(text_, name, sizeof text_ - 1); }
  const char* get() const { return text_[0] == '\0' ? nullptr : text_; }

 private:
  char text_[80];
};

// For Enumerate, whose callback knows no names.
struct NumberedWalk {
  CModuleRes::Callback callback;
  void* user_data;
  uint32_t calls = 0;
};

int VisitNumbered(ResourceTypeCode type, int32_t number, const uint8_t* name, CodePage,
                  void* user_data) {
  auto& walk = *static_cast<NumberedWalk*>(user_data);
  if (name[0] != 0) return 0;
  ++walk.calls;
  return walk.callback(type, number, walk.user_data);
}

// The platform's number of a string, or -1.
int32_t StringNumber(int32_t list, int32_t index) {
  const bool exists = list >= 0 && list <= kMostStringNumber / kStringsPerList && index >= 1 &&
                      index <= kStringsPerList;
  return exists ? list * kStringsPerList + index - 1 : -1;
}

// Reads at most size - 1 bytes and a terminator; 0 when there is no such string.
int32_t LoadModuleString(HMODULE module, int32_t number, char* out, int32_t size) {
  if (module == nullptr || number < 0 || number > kMostStringNumber) return 0;
  return LoadStringA(module, static_cast<UINT>(number), out, size);
}

Bytes BytesOf(const char* text, int32_t length) {
  return {reinterpret_cast<const uint8_t*>(text), static_cast<size_t>(length)};
}

}  // namespace

CModuleRes& ModuleSource() { return State().source; }

}  // namespace qv

CModuleRes::CModuleRes() { code_page_ = kWesternWindows; }

CModuleRes::~CModuleRes() { Reset(); }

void CModuleRes::Reset() {
  cache_.Reset();
  if (loaded_here_ != 0) FreeLibrary(module_);
  module_ = nullptr;
  loaded_here_ = 0;
}

void CModuleRes::Bind(HMODULE module) {
  Reset();
  module_ = module;
}

qv::Bytes CModuleRes::Find(qv::ResourceTypeCode type, int32_t number) const {
  return qv::FindInModule(module_, type, number, nullptr);
}

uint32_t CModuleRes::Enumerate(qv::ResourceTypeCode type, Callback callback,
                               void* user_data) const {
  qv::NumberedWalk walk{callback, user_data};
  qv::WalkModule(module_, type, qv::VisitNumbered, &walk);
  return walk.calls;
}

// --- binding to a file ---

ZRError CModuleRes::Open(CDiskFile** file, bool) {
  Reset();
  if (file == nullptr || *file == nullptr) return ZRErrParam;
  if (!(*file)->Exists()) return ZRErrNotFound;
  char path[qv::kPathSize];
  if ((*file)->GetNativePath(path, sizeof path) != ZRErrNone) return ZRErrOpenFailed;
  module_ = LoadLibraryA(path);
  if (module_ == nullptr) return ZRErrOpenFailed;
  loaded_here_ = 1;
  delete *file;
  *file = nullptr;
  return ZRErrNone;
}

// --- handles ---

ZRHandle CModuleRes::Load(qv::ResourceTypeCode type, int32_t number, const char* name) const {
  const qv::Bytes found = qv::FindInModule(module_, type, number, name);
  ZRHandle handle = 0;
  if (found.data() == nullptr) return 0;
  ZRHandleFromBytes(found.data(), &handle, static_cast<uint32_t>(found.size()));
  return handle;
}

ZRHandle CModuleRes::GetOrLoad(qv::ResourceTypeCode type, int32_t number, const char* name) {
  const ZRHandle cached = cache_.Find(type, number, name);
  if (cached != 0) return cached;
  const ZRHandle loaded = Load(type, number, name);
  if (loaded != 0) cache_.Add(type, number, name, loaded);
  return loaded;
}

ZRHandle CModuleRes::GetResource(qv::ResourceTypeCode type, int32_t number) {
  return GetOrLoad(type, number, nullptr);
}

ZRHandle CModuleRes::GetNamedResource(qv::ResourceTypeCode type, const uint8_t* name) {
  const qv::PlatformName wanted(name);
  return wanted.get() == nullptr ? 0 : GetOrLoad(type, 0, wanted.get());
}

ZRHandle CModuleRes::LoadResourceCopy(qv::ResourceTypeCode type, int32_t number) {
  return Load(type, number, nullptr);
}

ZRHandle CModuleRes::LoadNamedResourceCopy(qv::ResourceTypeCode type, const uint8_t* name) {
  const qv::PlatformName wanted(name);
  return wanted.get() == nullptr ? 0 : Load(type, 0, wanted.get());
}

int32_t CModuleRes::GetResourceSize(qv::ResourceTypeCode type, int32_t number) {
  const ZRHandle cached = cache_.Find(type, number, nullptr);
  if (cached != 0) return static_cast<int32_t>(ZRGetHandleSize(cached));
  const qv::Bytes found = Find(type, number);
  return found.data() == nullptr ? qv::kNoResource : static_cast<int32_t>(found.size());
}

ZRError CModuleRes::EnumResources(qv::ResourceTypeCode type, qv::SourceCallback callback,
                                  void* user_data) {
  qv::WalkModule(module_, type, callback, user_data);
  return ZRErrNotSupported;
}

// --- text ---

bool CModuleRes::GetIndString(uint8_t* out, int32_t list, int32_t index, int32_t maximum,
                              CodePage cp) {
  if (out == nullptr) return false;
  out[0] = 0;
  char text[kMostLStr + 1];
  const int32_t most = std::clamp(maximum, 0, kMostLStr);
  const int32_t number = qv::StringNumber(list, index);
  // One byte more than is asked for: a size of 1 would not tell an empty string from none.
  const int32_t length = qv::LoadModuleString(module_, number, text, std::max(most, 1) + 1);
  if (length == 0) return false;
  return qv::DeliverLStr(qv::BytesOf(text, std::min(length, most)), code_page_, out, most, cp);
}

bool CModuleRes::GetString(char* out, int32_t number, int32_t size, CodePage cp) {
  if (!qv::BeginCString(out, size, cp)) return false;
  const int32_t length = qv::LoadModuleString(module_, number, out, size);
  if (length == 0) return false;
  const qv::HookBlock copy(static_cast<size_t>(length));
  if (copy.data() != nullptr) std::memcpy(copy.data(), out, static_cast<size_t>(length));
  qv::BeginCString(out, size, cp);
  if (copy.data() == nullptr) return false;
  return qv::DeliverCString(qv::BytesOf(copy.data(), length), code_page_, out, size, cp);
}

// --- what a module does not offer ---

ZRError CModuleRes::Create(CDiskFile*, uint32_t, uint32_t) { return ZRErrNotSupported; }
ZRError CModuleRes::EnumTypes(qv::TypeCallback, void*) { return ZRErrNotSupported; }
ZRError CModuleRes::GetResourceName(qv::ResourceTypeCode, int32_t, uint8_t*) {
  return ZRErrNotSupported;
}
ZRError CModuleRes::GetResourceNumberByName(qv::ResourceTypeCode, const uint8_t*, int32_t*) {
  return ZRErrNotSupported;
}
ZRError CModuleRes::SetResourceName(qv::ResourceTypeCode, int32_t, const uint8_t*) {
  return ZRErrNotSupported;
}
ZRError CModuleRes::RemoveResource(qv::ResourceTypeCode, int32_t) { return ZRErrNotSupported; }
ZRError CModuleRes::ChangedResource(qv::ResourceTypeCode, int32_t) { return ZRErrNotSupported; }
ZRError CModuleRes::AddResource(ZRHandle, qv::ResourceTypeCode, int32_t, const uint8_t*) {
  return ZRErrNotSupported;
}
ZRError CModuleRes::UpdateFile() { return ZRErrNotSupported; }
ZRError CModuleRes::ReleaseResource(ZRHandle*) { return ZRErrNotSupported; }
ZRError CModuleRes::ReloadResource(ZRHandle) { return ZRErrNotSupported; }
void CModuleRes::PurgeResources() {}

ZRError ZRInitModuleResources(HMODULE module) {
  qv::ModuleSource().Bind(module);
  return ZRErrNone;
}

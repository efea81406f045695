#include "platform/host/registry.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/codepages.h"
#include "platform/host/control.h"
#include "platform/host/handles.h"
#include "platform/host/registry_file.h"
#include "platform/host/text.h"

namespace host {
namespace {

// Rights that a key handle can lack.
constexpr REGSAM kMayQuery = 0x1, kMaySet = 0x2;
constexpr size_t kLongestKeyName = 255, kLongestValueName = 16383;

struct KeyHandle : Object {
  std::string path;
  REGSAM access = 0;
};

struct KeyPlace {
  std::string path;
  REGSAM access = 0;
  DWORD error = 0;
};

// Where a key handle, or one of the fixed roots, leads.
KeyPlace PlaceOf(HKEY key) {
  if (key == HKEY_CURRENT_USER) return {"HKEY_CURRENT_USER", KEY_ALL_ACCESS};
  if (key == HKEY_LOCAL_MACHINE) return {"HKEY_LOCAL_MACHINE", KEY_ALL_ACCESS};
  // The system's merged view; the machine's classes are the part that is written.
  if (key == HKEY_CLASSES_ROOT) return {"HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes", KEY_ALL_ACCESS};
  auto handle = FindHandle<KeyHandle>(key);
  if (!handle) return {"", 0, ERROR_INVALID_HANDLE};
  return {handle->path, handle->access};
}

// The key that `subkey` names below a key handle.
KeyPlace PlaceBelow(HKEY key, LPCSTR subkey) {
  KeyPlace place = PlaceOf(key);
  std::string_view rest = subkey ? subkey : "";
  while (place.error == 0 && !rest.empty()) {
    size_t end = rest.find('\\');
    std::string name = Utf8FromAnsi(rest.substr(0, end));
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    if (name.empty()) continue;
    if (name.size() > kLongestKeyName) place.error = ERROR_INVALID_PARAMETER;
    place.path += "\\" + name;
  }
  return place;
}

HKEY NewKeyHandle(std::string path, REGSAM access) {
  auto handle = std::make_shared<KeyHandle>();
  handle->path = std::move(path);
  handle->access = access;
  return AddHandle<HKEY>(handle);
}

bool ExistsIn(const RegistryTree& tree, const std::string& path) {
  return tree.Find(path) || path.find('\\') == std::string::npos;
}

// The key of an open handle in the tree. The key may have been deleted meanwhile.
template <class Tree, class Key>
DWORD FindOpenKey(Tree& tree, const KeyPlace& place, Key** key) {
  *key = tree.Find(place.path);
  if (*key) return 0;
  return place.path.find('\\') == std::string::npos ? ERROR_FILE_NOT_FOUND : ERROR_KEY_DELETED;
}

DWORD FindValue(HKEY handle, LPCSTR name, RegistryValue* value) {
  KeyPlace place = PlaceOf(handle);
  if (place.error != 0) return place.error;
  if ((place.access & kMayQuery) == 0) return ERROR_ACCESS_DENIED;
  std::shared_ptr<const RegistryTree> tree;
  if (DWORD error = ReadRegistry(&tree)) return error;
  const RegistryKey* key;
  if (DWORD error = FindOpenKey(*tree, place, &key)) return error;
  auto found = key->values.find(UpperCaseUtf8(Utf8FromAnsi(name ? name : "")));
  if (found == key->values.end()) return ERROR_FILE_NOT_FOUND;
  *value = found->second;
  return 0;
}

// Hands a value's bytes to the caller. A text without its terminator gets one where there is room.
DWORD CopyValue(const RegistryValue& value, LPBYTE data, LPDWORD size) {
  auto length = static_cast<DWORD>(value.data.size());
  DWORD room = size ? *size : 0;
  if (size) *size = length;
  if (!data) return 0;
  if (room < length) return ERROR_MORE_DATA;
  std::memcpy(data, value.data.data(), length);
  bool text = value.type == REG_SZ && (length == 0 || data[length - 1] != 0);
  if (text && room > length) data[length] = 0;
  return 0;
}

// Changes the values of an open key.
DWORD ChangeKey(HKEY handle, const std::function<DWORD(RegistryKey&)>& change) {
  KeyPlace place = PlaceOf(handle);
  if (place.error != 0) return place.error;
  if ((place.access & kMaySet) == 0) return ERROR_ACCESS_DENIED;
  return ChangeRegistry([&](RegistryTree& tree) -> DWORD {
    RegistryKey* key;
    // The roots themselves are there as soon as someone writes to them.
    if (place.path.find('\\') == std::string::npos) tree.Create(place.path);
    if (DWORD error = FindOpenKey(tree, place, &key)) return error;
    return change(*key);
  });
}

// Makes a key unless it is there; says which.
DWORD CreateKey(const KeyPlace& parent, const KeyPlace& place, bool* created) {
  return ChangeRegistry([&](RegistryTree& tree) -> DWORD {
    if (!ExistsIn(tree, parent.path)) return ERROR_KEY_DELETED;
    *created = !tree.Find(place.path);
    tree.Create(place.path);
    return 0;
  });
}

constexpr char kCodePageKey[] =
    "HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\Nls\\CodePage";
constexpr UINT kDefaultAnsi = 1252;

// A page that nothing here can convert would leave the narrow calls without names.
UINT AnsiPageOf(const RegistryTree& tree) {
  const RegistryKey* key = tree.Find(kCodePageKey);
  if (!key) return kDefaultAnsi;
  auto value = key->values.find("ACP");
  if (value == key->values.end()) return kDefaultAnsi;
  auto page = static_cast<UINT>(std::strtoul(value->second.data.c_str(), nullptr, 10));
  return page != CP_ACP && CodePageIsKnown(page) ? page : kDefaultAnsi;
}

// The page that belongs to a state of the registry: every narrow call asks for it.
struct AnsiPageState {
  std::mutex mutex;
  std::shared_ptr<const RegistryTree> tree;
  UINT page = kDefaultAnsi;
};

AnsiPageState& KeptAnsiPage() {
  static AnsiPageState& state = *new AnsiPageState;
  return state;
}

}  // namespace

UINT AnsiCodePage() {
  std::shared_ptr<const RegistryTree> tree;
  if (ReadRegistry(&tree) != 0) return kDefaultAnsi;
  AnsiPageState& kept = KeptAnsiPage();
  std::lock_guard hold(kept.mutex);
  if (kept.tree != tree) {
    kept.page = AnsiPageOf(*tree);
    kept.tree = tree;
  }
  return kept.page;
}

void SetAnsiCodePage(UINT code_page) {
  ChangeRegistry([code_page](RegistryTree& tree) -> DWORD {
    tree.Create(kCodePageKey);
    tree.Find(kCodePageKey)->values["ACP"] = {"ACP", REG_SZ,
                                              std::to_string(code_page) + std::string(1, '\0')};
    return 0;
  });
}

}  // namespace host

using host::Enter;

UINT GetACP(void) {
  Enter(__func__);
  return host::AnsiCodePage();
}

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subkey, DWORD, REGSAM access, HKEY* result) {
  if (!result) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  host::KeyPlace place = host::PlaceBelow(key, subkey);
  if (place.error != 0) return static_cast<LSTATUS>(place.error);
  std::shared_ptr<const host::RegistryTree> tree;
  if (DWORD error = host::ReadRegistry(&tree)) return static_cast<LSTATUS>(error);
  if (!host::ExistsIn(*tree, place.path)) return ERROR_FILE_NOT_FOUND;
  *result = host::NewKeyHandle(place.path, access);
  return 0;
}

LSTATUS RegCreateKeyExA(HKEY key, LPCSTR subkey, DWORD, LPSTR, DWORD, REGSAM access,
                        LPSECURITY_ATTRIBUTES, HKEY* result, LPDWORD disposition) {
  if (!result) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  host::KeyPlace parent = host::PlaceOf(key);
  host::KeyPlace place = host::PlaceBelow(key, subkey);
  if (place.error != 0) return static_cast<LSTATUS>(place.error);
  bool created = false;
  if (DWORD error = host::CreateKey(parent, place, &created)) return static_cast<LSTATUS>(error);
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  *result = host::NewKeyHandle(place.path, access);
  return 0;
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD, LPDWORD type, LPBYTE data, LPDWORD size) {
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  if (data && !size) return ERROR_INVALID_PARAMETER;
  host::RegistryValue value;
  if (DWORD error = host::FindValue(key, name, &value)) return static_cast<LSTATUS>(error);
  if (type) *type = value.type;
  return static_cast<LSTATUS>(host::CopyValue(value, data, size));
}

LSTATUS RegSetValueExA(HKEY key, LPCSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  std::string value_name = host::Utf8FromAnsi(name ? name : "");
  if ((!data && size > 0) || value_name.size() > host::kLongestValueName) {
    return ERROR_INVALID_PARAMETER;
  }
  std::string bytes(reinterpret_cast<const char*>(data), data ? size : 0);
  return static_cast<LSTATUS>(host::ChangeKey(key, [&](host::RegistryKey& open) -> DWORD {
    auto [place, added] = open.values.try_emplace(host::UpperCaseUtf8(value_name));
    if (added) place->second.name = value_name;
    place->second.type = type;
    place->second.data = bytes;
    return 0;
  }));
}

LSTATUS RegDeleteValueA(HKEY key, LPCSTR name) {
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  std::string value_name = host::UpperCaseUtf8(host::Utf8FromAnsi(name ? name : ""));
  return static_cast<LSTATUS>(host::ChangeKey(key, [&](host::RegistryKey& open) -> DWORD {
    return open.values.erase(value_name) ? 0 : ERROR_FILE_NOT_FOUND;
  }));
}

// Without a subkey: everything in the key, but not the key.
LSTATUS RegDeleteTreeA(HKEY key, LPCSTR subkey) {
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  host::KeyPlace place = host::PlaceBelow(key, subkey);
  if (place.error != 0) return static_cast<LSTATUS>(place.error);
  bool whole = subkey && *subkey;
  return static_cast<LSTATUS>(host::ChangeRegistry([&](host::RegistryTree& tree) -> DWORD {
    host::RegistryKey* found = tree.Find(place.path);
    if (!found) return ERROR_FILE_NOT_FOUND;
    if (whole) {
      tree.Remove(place.path);
    } else {
      tree.RemoveBelow(place.path);
      found->values.clear();
    }
    return 0;
  }));
}

LSTATUS RegCloseKey(HKEY key) {
  if (DWORD fault = Enter(__func__)) return static_cast<LSTATUS>(fault);
  if (key == HKEY_CLASSES_ROOT || key == HKEY_CURRENT_USER || key == HKEY_LOCAL_MACHINE) return 0;
  return host::CloseHandleOf<host::KeyHandle>(key) ? 0 : ERROR_INVALID_HANDLE;
}

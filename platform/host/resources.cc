// The resource calls, on what module_resources.h reads.
#include <algorithm>
#include <charconv>
#include <cstring>
#include <functional>
#include <string>

#include "platform/host/calls.h"
#include "platform/host/module_resources.h"
#include "platform/host/modules.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr UINT kStringsPerBlock = 16;

// What a caller names: a number in place of a pointer, "#123", or a text.
ResourceName NameOf(LPCSTR name) {
  if (IS_INTRESOURCE(name)) return {static_cast<uint32_t>(reinterpret_cast<uintptr_t>(name)), ""};
  std::string_view text(name);
  if (!text.empty() && text[0] == '#') {
    uint32_t number = 0;
    std::from_chars(text.data() + 1, text.data() + text.size(), number);
    return {number, ""};
  }
  return {0, UpperCaseUtf8(Utf8FromAnsi(text))};
}

// A type or name as the enumerations hand it out; `text` holds it while the callback runs.
LPSTR PointerOf(const ResourceName& name, std::string* text) {
  if (name.text.empty()) return MAKEINTRESOURCEA(name.number);
  *text = AnsiFromUtf8(name.text);
  return text->data();
}

bool HasType(const ResourceList& list, const ResourceName& type) {
  return std::any_of(list.begin(), list.end(),
                     [&](const Resource& resource) { return resource.type == type; });
}

// The module's resource, or null with the last error set.
const Resource* Find(HMODULE module, const ResourceName& type, const ResourceName& name) {
  const Resource* none = nullptr;
  const ResourceList* list = ResourcesOf(module);
  if (!list) return Fail(ERROR_INVALID_HANDLE, none);
  if (list->empty()) return Fail(ERROR_RESOURCE_DATA_NOT_FOUND, none);
  for (const Resource& resource : *list) {
    if (resource.type == type && resource.name == name) return &resource;
  }
  bool known = HasType(*list, type);
  return Fail(known ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND, none);
}

// The resource of a handle from FindResourceA, or null when it is not one of this module.
const Resource* FromHandle(HMODULE module, HRSRC handle) {
  const ResourceList* list = ResourcesOf(module);
  auto* resource = reinterpret_cast<const Resource*>(handle);
  auto is_it = [resource](const Resource& entry) { return &entry == resource; };
  if (!list || std::none_of(list->begin(), list->end(), is_it)) {
    return Fail<const Resource*>(ERROR_INVALID_HANDLE, nullptr);
  }
  return resource;
}

// One of the sixteen counted strings of a block; empty when the block ends before it.
std::u16string StringInBlock(std::span<const uint8_t> block, UINT index) {
  auto unit_at = [&](size_t at) {
    return static_cast<char16_t>(at + 2 <= block.size() ? block[at] | block[at + 1] << 8 : 0);
  };
  size_t at = 0;
  for (UINT i = 0; i < index; ++i) at += 2 + size_t{2} * unit_at(at);
  std::u16string text;
  size_t length = unit_at(at);
  if (at + 2 + 2 * length > block.size()) return text;
  for (size_t i = 0; i < length; ++i) text += unit_at(at + 2 + 2 * i);
  return text;
}

}  // namespace
}  // namespace host

using host::Enter;
using host::Fail;

HRSRC FindResourceA(HMODULE module, LPCSTR name, LPCSTR type) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HRSRC{});
  const host::Resource* found = host::Find(module, host::NameOf(type), host::NameOf(name));
  return reinterpret_cast<HRSRC>(const_cast<host::Resource*>(found));
}

HGLOBAL LoadResource(HMODULE module, HRSRC resource) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, HGLOBAL{});
  const host::Resource* found = host::FromHandle(module, resource);
  return found ? const_cast<uint8_t*>(found->data.data()) : nullptr;
}

LPVOID LockResource(HGLOBAL data) { return Enter(__func__) ? nullptr : data; }

DWORD SizeofResource(HMODULE module, HRSRC resource) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, DWORD{0});
  const host::Resource* found = host::FromHandle(module, resource);
  return found ? static_cast<DWORD>(found->data.size()) : 0;
}

int LoadStringA(HINSTANCE module, UINT number, LPSTR buffer, int size) {
  if (!buffer || size <= 0) return Fail(ERROR_INVALID_PARAMETER, 0);
  buffer[0] = 0;
  if (DWORD fault = Enter(__func__)) return Fail(fault, 0);
  const host::Resource* block =
      host::Find(module, {static_cast<uint32_t>(reinterpret_cast<uintptr_t>(RT_STRING)), ""},
                 {number / host::kStringsPerBlock + 1, ""});
  if (!block) return 0;
  std::string text =
      host::AnsiFromWide(host::StringInBlock(block->data, number % host::kStringsPerBlock));
  if (text.empty()) return Fail(ERROR_RESOURCE_NAME_NOT_FOUND, 0);
  size_t copied = text.copy(buffer, static_cast<size_t>(size) - 1);
  buffer[copied] = 0;
  return static_cast<int>(copied);
}

BOOL EnumResourceTypesA(HMODULE module, ENUMRESTYPEPROCA callback, LONG_PTR parameter) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  const host::ResourceList* list = host::ResourcesOf(module);
  if (!list || !callback) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  if (list->empty()) return Fail(ERROR_RESOURCE_DATA_NOT_FOUND, FALSE);
  for (size_t i = 0; i < list->size(); ++i) {
    if (i > 0 && (*list)[i].type == (*list)[i - 1].type) continue;
    std::string text;
    if (!callback(module, host::PointerOf((*list)[i].type, &text), parameter)) return FALSE;
  }
  return TRUE;
}

BOOL EnumResourceNamesA(HMODULE module, LPCSTR type, ENUMRESNAMEPROCA callback,
                        LONG_PTR parameter) {
  if (DWORD fault = Enter(__func__)) return Fail(fault, FALSE);
  const host::ResourceList* list = host::ResourcesOf(module);
  if (!list || !callback) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  if (list->empty()) return Fail(ERROR_RESOURCE_DATA_NOT_FOUND, FALSE);
  host::ResourceName wanted = host::NameOf(type);
  if (!host::HasType(*list, wanted)) return Fail(ERROR_RESOURCE_TYPE_NOT_FOUND, FALSE);
  for (const host::Resource& resource : *list) {
    if (resource.type != wanted) continue;
    std::string text;
    if (!callback(module, type, host::PointerOf(resource.name, &text), parameter)) return FALSE;
  }
  return TRUE;
}

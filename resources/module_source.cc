#include "resources/module_source.h"

#include <array>
#include <cstring>
#include <string_view>

namespace qv {
namespace {

constexpr ResourceTypeCode kUnknownType = ResourceType("????");
constexpr std::array<ResourceTypeCode, 17> kPlatformTypes = {
    kUnknownType,         ResourceType("CURS"), ResourceType("BMAP"), ResourceType("ICON"),
    ResourceType("MENU"), ResourceType("DLOG"), ResourceType("STRS"), ResourceType("FOND"),
    ResourceType("FONT"), ResourceType("ACCL"), ResourceType("RCDt"), ResourceType("ERRT"),
    ResourceType("OICN"), ResourceType("??13"), ResourceType("CICN"), ResourceType("NTAB"),
    ResourceType("VERS"),
};

constexpr size_t kTypeBytes = 4;
constexpr char kNegativePrefix[] = "NEG";

char TypeByte(ResourceTypeCode type, size_t index) {
  return static_cast<char>(type >> (8 * (kTypeBytes - 1 - index)));
}

// What the platform is asked for.
struct LookUp {
  char type[sizeof kNegativePrefix + kTypeBytes];
  uint16_t number;
};

LookUp MakeLookUp(ResourceTypeCode type, int32_t number) {
  LookUp result{};
  const bool negative = number < 0;
  char* at = result.type;
  if (negative) {
    std::memcpy(at, kNegativePrefix, sizeof kNegativePrefix - 1);
    at += sizeof kNegativePrefix - 1;
  }
  for (size_t i = 0; i < kTypeBytes; ++i) at[i] = TypeByte(type, i);
  if (!negative && at[kTypeBytes - 1] == ' ') at[kTypeBytes - 1] = '\0';
  const auto bits = static_cast<uint32_t>(number);
  result.number = static_cast<uint16_t>(negative ? 0 - bits : bits);
  return result;
}

// A name shorter than four bytes is filled with blanks, as "STR" stands for "STR ".
ResourceTypeCode TypeOfName(std::string_view name) {
  ResourceTypeCode type = 0;
  for (size_t i = 0; i < kTypeBytes; ++i) {
    type = type << 8 | static_cast<uint8_t>(i < name.size() ? name[i] : ' ');
  }
  return type;
}

ResourceTypeCode UpperCase(ResourceTypeCode type) {
  for (int shift = 0; shift < 32; shift += 8) {
    const uint32_t letter = type >> shift & 0xFF;
    if (letter >= 'a' && letter <= 'z') type -= uint32_t{'a' - 'A'} << shift;
  }
  return type;
}

struct Walk {
  ResourceTypeCode wanted;  // in upper case; 0 for all
  CModuleRes::Callback callback;
  void* user_data;
  ResourceTypeCode type;  // of the resources being walked
  uint32_t calls = 0;
  bool stopped = false;
};

BOOL CALLBACK VisitResource(HMODULE, LPCSTR, LPSTR name, LONG_PTR parameter) {
  Walk& walk = *reinterpret_cast<Walk*>(parameter);
  if (!IS_INTRESOURCE(name)) return TRUE;
  ++walk.calls;
  const auto number = static_cast<int32_t>(reinterpret_cast<ULONG_PTR>(name));
  walk.stopped = walk.callback(walk.type, number, walk.user_data) == 1;
  return walk.stopped ? FALSE : TRUE;
}

BOOL CALLBACK VisitType(HMODULE module, LPSTR type, LONG_PTR parameter) {
  Walk& walk = *reinterpret_cast<Walk*>(parameter);
  walk.type = IS_INTRESOURCE(type)
                  ? TypeOfPlatformNumber(static_cast<uint32_t>(reinterpret_cast<ULONG_PTR>(type)))
                  : TypeOfName(type);
  if (walk.wanted == 0 || walk.wanted == UpperCase(walk.type)) {
    EnumResourceNamesA(module, type, VisitResource, parameter);
  }
  return walk.stopped ? FALSE : TRUE;
}

struct ModuleSourceState {
  CModuleRes source;  // bound at start-up, before a second thread looks up
};

ModuleSourceState& State() {
  static ModuleSourceState state;
  return state;
}

}  // namespace

ResourceTypeCode TypeOfPlatformNumber(uint32_t number) {
  return number < kPlatformTypes.size() ? kPlatformTypes[number] : kUnknownType;
}

CModuleRes& ModuleSource() { return State().source; }

}  // namespace qv

void CModuleRes::Bind(HMODULE module) { module_ = module; }

qv::Bytes CModuleRes::Find(qv::ResourceTypeCode type, int32_t number) const {
  const qv::LookUp look_up = qv::MakeLookUp(type, number);
  const HRSRC found = FindResourceA(module_, MAKEINTRESOURCEA(look_up.number), look_up.type);
  if (found == nullptr) return {};
  const HGLOBAL loaded = LoadResource(module_, found);
  if (loaded == nullptr) return {};
  const auto* data = static_cast<const uint8_t*>(LockResource(loaded));
  if (data == nullptr) return {};
  return {data, SizeofResource(module_, found)};
}

uint32_t CModuleRes::Enumerate(qv::ResourceTypeCode type, Callback callback,
                               void* user_data) const {
  qv::Walk walk{qv::UpperCase(type), callback, user_data, 0};
  EnumResourceTypesA(module_, qv::VisitType, reinterpret_cast<LONG_PTR>(&walk));
  return walk.calls;
}

ZRError ZRInitModuleResources(HMODULE module) {
  qv::ModuleSource().Bind(module);
  return ZRErrNone;
}

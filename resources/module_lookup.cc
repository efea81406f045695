#include "resources/module_lookup.h"

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
  SourceCallback callback;
  void* user_data;
  ResourceTypeCode type = 0;  // of the resources being walked
  bool stopped = false;
};

BOOL CALLBACK VisitResource(HMODULE, LPCSTR, LPSTR name, LONG_PTR parameter) {
  Walk& walk = *reinterpret_cast<Walk*>(parameter);
  Str255 text{};
  int32_t number = 0;
  if (IS_INTRESOURCE(name)) {
    number = static_cast<int32_t>(reinterpret_cast<ULONG_PTR>(name));
  } else {
    CStrToLStr(text, kMostLStr, name);
  }
  walk.stopped = walk.callback(walk.type, number, text, kUtf8, walk.user_data) == kStopWalk;
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

Bytes LoadFound(HMODULE module, HRSRC found) {
  if (found == nullptr) return {};
  const HGLOBAL loaded = LoadResource(module, found);
  if (loaded == nullptr) return {};
  const auto* data = static_cast<const uint8_t*>(LockResource(loaded));
  if (data == nullptr) return {};
  return {data, SizeofResource(module, found)};
}

}  // namespace

Bytes FindInModule(HMODULE module, ResourceTypeCode type, int32_t number, const char* name) {
  if (module == nullptr) return {};  // to the platform it would mean the executable
  const LookUp look_up = MakeLookUp(type, name == nullptr ? number : 0);
  if (name == nullptr) name = MAKEINTRESOURCEA(look_up.number);
  return LoadFound(module, FindResourceA(module, name, look_up.type));
}

void WalkModule(HMODULE module, ResourceTypeCode type, SourceCallback callback, void* user_data) {
  if (module == nullptr || callback == nullptr) return;
  Walk walk{UpperCase(type), callback, user_data};
  EnumResourceTypesA(module, VisitType, reinterpret_cast<LONG_PTR>(&walk));
}

ResourceTypeCode TypeOfPlatformNumber(uint32_t number) {
  return number < kPlatformTypes.size() ? kPlatformTypes[number] : kUnknownType;
}

}  // namespace qv

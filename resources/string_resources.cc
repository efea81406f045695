#include "resources/string_resources.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>

#include "resources/locked_handle.h"
#include "resources/resource_chain.h"
#include "resources/resource_text.h"
#include "text/code_page_strings.h"

namespace qv {
namespace {

// --- whole strings ---

constexpr int32_t kSizeWithoutAnswer = 5000;  // bytes
constexpr int64_t kMostGrowth = 4;            // bytes that one byte may become in a conversion

// Room for the string however it grows in conversion.
int32_t StringBufferSize(int32_t number, CodePage cp) {
  const int32_t size = ZRGetResourceSize(kStringType, number);
  if (size == kNoResource) return kSizeWithoutAnswer;
  return static_cast<int32_t>(
      std::min<int64_t>(size * kMostGrowth + TerminatorSize(cp), INT32_MAX));
}

// The size of what was read, terminator included; 0 when nothing was.
uint32_t ReadStringInto(ZRHandle handle, int32_t number, CodePage cp) {
  const LockedHandle buffer(handle);
  auto* const text = reinterpret_cast<char*>(buffer.data());
  const auto size = static_cast<int32_t>(buffer.bytes().size());
  if (text == nullptr || !ZRGetString(text, number, size, cp)) return 0;
  const size_t length = cp == kNoConversion ? std::strlen(text) : CPStrLen(text, cp);
  return static_cast<uint32_t>(length) + static_cast<uint32_t>(TerminatorSize(cp));
}

// --- messages ---

constexpr int32_t kMessagesPerList = 16;

// --- file types ---

// An entry, by its parts.
struct FileType {
  std::string_view extension;
  uint32_t type, creator;
  int32_t kind;
};

constexpr int32_t kLongestEntry = 31;  // what is read of a string
constexpr size_t kMostExtension = 4;
constexpr char kSeparator = '=';
// Places behind the extension.
constexpr size_t kTypePlace = 1, kCreatorPlace = 5, kKindPlace = 10, kTailSize = 14;
static_assert(kKindPlace + 4 == kTailSize);

uint32_t FourCharacters(std::string_view text, size_t place) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  return ReadBigEndian({bytes, text.size()}, {0, 4}, place);
}

int32_t Number(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  int32_t value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

// A string of the list as an entry, or none when it has another form.
std::optional<FileType> ParseFileType(std::string_view text) {
  if (text.size() <= kTailSize || text.size() > kTailSize + kMostExtension) return std::nullopt;
  const std::string_view tail = text.substr(text.size() - kTailSize);
  if (tail[0] != kSeparator) return std::nullopt;
  return FileType{text.substr(0, text.size() - kTailSize), FourCharacters(tail, kTypePlace),
                  FourCharacters(tail, kCreatorPlace), Number(tail.substr(kKindPlace))};
}

// Calls `use` with the first entry for which `fits` answers true; returns whether there is one.
template <class Fits, class Use>
bool WithFileType(Fits fits, Use use) {
  Str255 string;
  for (int32_t index = 1;
       ZRGetIndString(string, kFileTypeList, index, kLongestEntry, kNoConversion); ++index) {
    const auto entry =
        ParseFileType({reinterpret_cast<const char*>(string + 1), size_t{string[0]}});
    if (!entry || !fits(*entry)) continue;
    use(*entry);
    return true;
  }
  return false;
}

// True when the name ends in "." and the extension.
bool HasExtension(std::string_view name, std::string_view extension) {
  if (name.size() <= extension.size()) return false;
  const std::string_view end = name.substr(name.size() - extension.size());
  const auto same = [](char a, char b) {
    const auto upper = [](char c) { return c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c; };
    return upper(a) == upper(b);
  };
  return name[name.size() - extension.size() - 1] == '.' &&
         std::equal(end.begin(), end.end(), extension.begin(), same);
}

template <class Value>
void Store(Value* out, Value value) {
  if (out != nullptr) *out = value;
}

}  // namespace
}  // namespace qv

ZRHandle ZRLoadStringHandle(int32_t number, CodePage cp) {
  ZRHandle handle = ZRNewHandle(static_cast<uint32_t>(qv::StringBufferSize(number, cp)));
  if (handle == 0) return 0;
  const uint32_t size = qv::ReadStringInto(handle, number, cp);
  if (size == 0 || ZRSetHandleSize(handle, size) != ZRErrNone) ZRDisposeHandle(&handle);
  return handle;
}

bool ZRGetMessageText(uint8_t* out, int32_t maximum, int32_t number, int32_t field, bool strip,
                      char letter) {
  if (out == nullptr || number < 1) return false;
  const int32_t list = qv::kFirstMessageList + (number - 1) / qv::kMessagesPerList;
  const int32_t index = (number - 1) % qv::kMessagesPerList + 1;
  Str255 text;
  if (!ZRGetIndString(text, list, index, kMostLStr, kUtf8)) return false;
  if (!ZRSelectVariant(text, kMostLStr, field, strip, letter)) return false;
  CPLStrCopy(out, text, static_cast<uint32_t>(std::clamp(maximum, 0, kMostLStr)), kUtf8);
  return true;
}

bool ZRTypeFromExtension(const char* file_name, uint32_t* type, uint32_t* creator, int32_t* kind) {
  qv::Store(type, qv::kUnknownFileType);
  qv::Store(creator, uint32_t{0});
  qv::Store(kind, ZRErrNoMapping);
  if (file_name == nullptr) return false;
  return qv::WithFileType(
      [=](const qv::FileType& entry) { return qv::HasExtension(file_name, entry.extension); },
      [=](const qv::FileType& entry) {
        qv::Store(type, entry.type);
        qv::Store(creator, entry.creator);
        qv::Store(kind, entry.kind);
      });
}

bool ZRKindFromTypeCreator(uint32_t type, uint32_t creator, int32_t* kind) {
  qv::Store(kind, ZRErrNoMapping);
  if (type == 0 && creator == 0) return false;
  return qv::WithFileType(
      [=](const qv::FileType& entry) { return entry.type == type && entry.creator == creator; },
      [=](const qv::FileType& entry) { qv::Store(kind, entry.kind); });
}

bool ZRExtensionFromCreator(uint8_t* out, int32_t maximum, uint32_t creator) {
  if (out == nullptr) return false;
  return qv::WithFileType([=](const qv::FileType& entry) { return entry.creator == creator; },
                          [=](const qv::FileType& entry) {
                            Str255 end = {1, '.'};
                            Str255 extension;
                            qv::SetLStr(extension, kMostLStr, entry.extension.data(),
                                        static_cast<int32_t>(entry.extension.size()));
                            qv::AppendLStr(end, extension, kMostLStr);
                            qv::AppendLStr(out, end, maximum);
                          });
}

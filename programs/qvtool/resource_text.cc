#include "programs/qvtool/resource_text.h"

#include <algorithm>
#include <charconv>

#include "programs/common/text.h"

namespace qvtool {
namespace {

constexpr size_t kTypeSize = 4, kHexDigits = 8, kMostName = 255;

bool IsPrintable(char c) { return c >= ' ' && c <= '~'; }

constexpr struct {
  ZRError error;
  const char* meaning;
} kMeanings[] = {
    {ZRErrDiskFull, "the disk is full"},
    {ZRErrTooLong, "the path is too long"},
    {ZRErrNotFound, "there is no such file or folder"},
    {ZRErrExists, "there is a file of that name"},
    {ZRErrEOF, "too short for a resource file"},
    {ZRErrOpenFailed, "its map is damaged"},
    {ZRErrAccess, "access is denied, or another program uses it"},
    {ZRErrBadFolder, "there is no such folder"},
    {ZRErrWriteProtected, "the disk is write-protected"},
    {ZRErrResMemory, "there is not enough memory"},
    {ZRErrResDamaged, "no resource file, or a damaged one"},
    {ZRErrResMapBad, "its map became inconsistent"},
    {ZRErrResTooLarge, "more than a resource file can hold"},
    {ZRErrResNotFound, "there is no such resource"},
};

}  // namespace

std::optional<qv::ResourceTypeCode> TypeOf(std::string_view text) {
  qv::ResourceTypeCode type = 0;
  if (text.size() == kHexDigits + 2 && text.substr(0, 2) == "0x") {
    const char* end = text.data() + text.size();
    const auto [parsed, error] = std::from_chars(text.data() + 2, end, type, 16);
    return error == std::errc() && parsed == end ? std::optional(type) : std::nullopt;
  }
  const bool good = !text.empty() && text.size() <= kTypeSize &&
                    std::all_of(text.begin(), text.end(), IsPrintable);
  if (!good) return std::nullopt;
  for (size_t i = 0; i < kTypeSize; ++i) {
    type = type << 8 | static_cast<uint8_t>(i < text.size() ? text[i] : ' ');
  }
  return type;
}

std::string TypeText(qv::ResourceTypeCode type) {
  std::string text, hex = "0x";
  for (int shift = 24; shift >= 0; shift -= 8) {
    text += static_cast<char>(type >> shift);
    for (const int half : {4, 0}) hex += "0123456789abcdef"[type >> (shift + half) & 15];
  }
  return std::all_of(text.begin(), text.end(), IsPrintable) ? text : hex;
}

std::string NameText(const std::string& bytes, CodePage cp) {
  return program::FromCodePage(bytes, cp).value_or(bytes);
}

std::optional<std::string> NameBytes(const std::string& text, CodePage cp) {
  std::string bytes = text;
  if (cp != kUtf8) {
    const auto converted = program::ToCodePage(text, cp);
    if (!converted || !converted->lost.empty()) return std::nullopt;
    bytes = converted->bytes;
  }
  return bytes.size() <= kMostName ? std::optional(bytes) : std::nullopt;
}

std::string ErrorMeaning(ZRError error) {
  const std::string number = "error " + std::to_string(error);
  for (const auto& row : kMeanings) {
    if (row.error == error) return number + ", " + row.meaning;
  }
  return number;
}

}  // namespace qvtool

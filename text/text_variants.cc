#include "text/text_variants.h"

#include <algorithm>
#include <optional>
#include <string_view>

namespace qv {
namespace {

constexpr char kFieldEnd = ';';
constexpr char kVariantMark = '$';
constexpr char kStripped = '&';

// The n-th field, or none when the text ends before it.
std::optional<std::string_view> FindField(std::string_view text, int32_t n) {
  for (; n > 0; --n) {
    const size_t end = text.find(kFieldEnd);
    if (end == text.npos) return std::nullopt;
    text.remove_prefix(end + 1);
  }
  return text.substr(0, text.find(kFieldEnd));
}

// The selected text of a field, or none.
std::optional<std::string_view> FindText(std::string_view field, char letter) {
  if (field.empty()) return std::nullopt;
  if (field[0] != kVariantMark) return field.substr(0, field.find(kVariantMark));
  for (size_t mark = 0; mark != field.npos; mark = field.find(kVariantMark, mark + 1)) {
    const std::string_view variant = field.substr(mark + 1);
    if (variant.empty() || variant[0] != letter) continue;
    return variant.substr(1, variant.find(kVariantMark, 1) - 1);
  }
  return std::nullopt;
}

}  // namespace
}  // namespace qv

bool ZRSelectVariant(uint8_t* text, int32_t maximum, int32_t field, bool strip, char letter) {
  if (text == nullptr || maximum < 1) return false;
  if (letter == '\0') letter = kWindowsVariant;
  const auto considered = static_cast<size_t>(std::min<int32_t>(text[0], maximum));
  const std::string_view bytes(reinterpret_cast<const char*>(text + 1), considered);
  const auto chosen_field = qv::FindField(bytes, field);
  if (!chosen_field) return false;
  const auto selected = qv::FindText(*chosen_field, letter);
  uint8_t* out = text + 1;
  for (const char c : selected.value_or(std::string_view())) {
    if (!strip || c != qv::kStripped) *out++ = static_cast<uint8_t>(c);
  }
  text[0] = static_cast<uint8_t>(out - (text + 1));
  return selected.has_value();
}

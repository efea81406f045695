#include "resources/string_list.h"

namespace qv {
namespace {

constexpr Field kCount{0, 2};

// The text of the string that `rest` begins with, or none.
std::optional<Bytes> FirstString(Bytes rest) {
  if (rest.empty() || rest.size() - 1 < rest[0]) return std::nullopt;
  return rest.subspan(1, rest[0]);
}

}  // namespace

int32_t CountOfList(Bytes list) { return static_cast<int32_t>(ReadBigEndian(list, kCount)); }

std::optional<Bytes> StringOfList(Bytes list, int32_t index) {
  if (index < 1 || index > CountOfList(list)) return std::nullopt;
  Bytes rest = list.subspan(kCount.width);
  for (;; --index) {
    const auto text = FirstString(rest);
    if (!text || index == 1) return text;
    rest = rest.subspan(1 + text->size());
  }
}

}  // namespace qv

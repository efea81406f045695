#include "text/line_breaks.h"

#include <algorithm>
#include <map>
#include <new>
#include <optional>
#include <vector>

namespace qv {
namespace {

using Codes = std::vector<uint16_t>;  // ascending

struct LineBreakLists {
  Codes not_last, not_first;
};

struct LineBreakState {
  // Written while the tables are loaded.
  std::map<CodePage, LineBreakLists> pages;
};

LineBreakState& State() {
  static LineBreakState state;
  return state;
}

bool Holds(CodePage cp, Codes LineBreakLists::*list, uint32_t code) {
  const auto& pages = State().pages;
  const auto page = pages.find(cp);
  if (page == pages.end()) return false;
  const Codes& codes = page->second.*list;
  return std::binary_search(codes.begin(), codes.end(), code);
}

// Takes one counted list off the front; nothing when it does not lie inside the bytes.
std::optional<Codes> TakeList(Bytes& bytes) {
  constexpr Field kCount{0, 2};
  if (bytes.size() < kCount.width) return std::nullopt;
  const size_t count = ReadBigEndian(bytes, kCount);
  bytes = bytes.subspan(kCount.width);
  constexpr Field kCode{0, 2};
  if (bytes.size() / kCode.width < count) return std::nullopt;
  Codes codes(count);
  for (size_t i = 0; i < count; ++i) {
    codes[i] = static_cast<uint16_t>(ReadBigEndian(bytes, kCode, i * kCode.width));
  }
  bytes = bytes.subspan(count * kCode.width);
  std::sort(codes.begin(), codes.end());
  return codes;
}

LineBreakLoad Load(CodePage cp, Bytes bytes) {
  std::optional<Codes> not_last = TakeList(bytes);
  if (!not_last) return LineBreakLoad::kRefused;
  std::optional<Codes> not_first = TakeList(bytes);
  if (!not_first || !bytes.empty()) return LineBreakLoad::kRefused;
  State().pages.insert_or_assign(cp, LineBreakLists{std::move(*not_last), std::move(*not_first)});
  return LineBreakLoad::kDone;
}

}  // namespace

bool MayEndLine(CodePage cp, uint32_t code) { return !Holds(cp, &LineBreakLists::not_last, code); }

bool MayBeginLine(CodePage cp, uint32_t code) {
  return !Holds(cp, &LineBreakLists::not_first, code);
}

LineBreakLoad AddLineBreakLists(CodePage cp, Bytes resource) {
  try {
    return Load(cp, resource);
  } catch (const std::bad_alloc&) {
    return LineBreakLoad::kNoMemory;
  }
}

void ReleaseLineBreakLists() { State().pages.clear(); }

}  // namespace qv

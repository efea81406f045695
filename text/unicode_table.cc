#include "text/unicode_table.h"

#include <algorithm>
#include <array>
#include <new>
#include <vector>

#include "text/byte_tables.h"
#include "text/decomposition.h"
#include "text/east_asian_forms.h"
#include "text/plain_ascii.h"
#include "text/wide_tables.h"

namespace qv {
namespace {

constexpr Field kKind{0, 2}, kPage{2, 2};
constexpr uint32_t kHeaderSize = 4;
constexpr uint16_t kFirstDecomposition = 0xF000, kLastDecomposition = 0xF003;

using TablePointer = std::unique_ptr<UnicodeTable>;

// A hash index over the sorted tables: look-ups are part of every conversion.
struct TableIndex {
  static constexpr uint32_t kSlots = 512;
  struct Slot {
    uint32_t key = 0;
    const UnicodeTable* table = nullptr;  // null ends a search
  };
  std::array<Slot, kSlots> slots{};

  static uint32_t Key(CodePage cp, bool from_unicode) { return uint32_t{cp} * 2 + from_unicode; }
  static uint32_t FirstSlot(uint32_t key) { return key * 2654435761u >> 23; }
};

struct UnicodeTableState {
  // Written by BuildUnicodeTables and ReleaseUnicodeTables only; sorted by direction (to Unicode
  // first), then code page.
  std::vector<TablePointer> tables;
  TableIndex index;
};

UnicodeTableState& State() {
  static UnicodeTableState state;
  return state;
}

bool ComesBefore(const TablePointer& a, const TablePointer& b) {
  if (a->from_unicode() != b->from_unicode()) return b->from_unicode();
  return a->code_page() < b->code_page();
}

bool IsTableKind(uint16_t kind) {
  switch (kind & ~kFromUnicodeBit) {
    case kKindHighHalf:
    case kKindAllBytes:
    case kKindWide:
    case kKindBased:
      return true;
    default:
      return false;
  }
}

bool IsWideKind(uint16_t kind) {
  const int both_ways = kind & ~kFromUnicodeBit;
  return both_ways == kKindWide || both_ways == kKindBased;
}

bool IsWidePage(CodePage cp) { return EastAsianFormOf(cp) != EastAsianForm::kNone; }

// False without memory for the object; a table that does not load is left out.
bool AddTable(std::vector<TablePointer>& tables, uint16_t kind, CodePage cp, Bytes body) {
  if (!IsTableKind(kind) || IsWideKind(kind) != IsWidePage(cp)) return true;
  TablePointer table = NewUnicodeTable(kind, cp);
  if (!table) return false;
  if (table->Load(body)) tables.push_back(std::move(table));
  return true;
}

bool AddResource(std::vector<TablePointer>& tables, Bytes resource) {
  if (resource.size() < kHeaderSize) return true;
  const auto kind = static_cast<uint16_t>(ReadBigEndian(resource, kKind));
  const Bytes body = resource.subspan(kHeaderSize);
  if (kind >= kFirstDecomposition && kind <= kLastDecomposition) {
    SetDecompositionData(kind, body);
    return true;
  }
  return AddTable(tables, kind, static_cast<CodePage>(ReadBigEndian(resource, kPage)), body);
}

bool AddAllTables(std::vector<TablePointer>& tables, std::span<const Bytes> resources) {
  tables.reserve(resources.size() + 2);
  if (!AddTable(tables, kKindHighHalf, kPlainAscii, PlainAsciiToUnicode()) ||
      !AddTable(tables, kFromUnicodeBit | kKindHighHalf, kPlainAscii, PlainAsciiFromUnicode())) {
    return false;
  }
  return std::all_of(resources.begin(), resources.end(),
                     [&tables](Bytes resource) { return AddResource(tables, resource); });
}

WideTable* AsBased(const TablePointer& table) {
  const bool based = (table->kind() & ~kFromUnicodeBit) == kKindBased;
  return based ? static_cast<WideTable*>(table.get()) : nullptr;
}

// The table of its own rows that completes this one.
const WideTable* FindBase(const std::vector<TablePointer>& tables, const WideTable& table) {
  const auto kind = static_cast<uint16_t>(kKindWide | (table.kind() & kFromUnicodeBit));
  for (const TablePointer& base : tables) {
    if (base->kind() == kind && base->code_page() == table.base_page()) {
      return static_cast<const WideTable*>(base.get());
    }
  }
  return nullptr;
}

// Completes the tables that have a base; those whose base is missing are dropped.
void LinkTables(std::vector<TablePointer>& tables) {
  for (size_t i = 0; i < tables.size();) {
    WideTable* const based = AsBased(tables[i]);
    const WideTable* const base = based == nullptr ? nullptr : FindBase(tables, *based);
    if (based != nullptr && base == nullptr) {
      tables.erase(tables.begin() + static_cast<std::ptrdiff_t>(i));
      continue;
    }
    if (based != nullptr) based->Link(*base);
    ++i;
  }
}

// Of two tables for one page and direction the first counts.
void FillIndex(UnicodeTableState& state) {
  state.index = {};
  // Half of the slots stay free, so that every search ends soon.
  const size_t count = std::min<size_t>(state.tables.size(), TableIndex::kSlots / 2);
  for (size_t i = 0; i < count; ++i) {
    const UnicodeTable& table = *state.tables[i];
    const uint32_t key = TableIndex::Key(table.code_page(), table.from_unicode());
    uint32_t slot = TableIndex::FirstSlot(key);
    while (state.index.slots[slot].table != nullptr) slot = (slot + 1) % TableIndex::kSlots;
    state.index.slots[slot] = {key, &table};
  }
}

CodePage TablePage(CodePage cp) {
  if (cp == 20001) return 20002;
  if (cp == 20014) return 936;
  return cp;
}

}  // namespace

std::unique_ptr<UnicodeTable> NewUnicodeTable(uint16_t kind, CodePage cp) {
  switch (kind & ~kFromUnicodeBit) {
    case kKindHighHalf:
    case kKindAllBytes:
      if (kind & kFromUnicodeBit)
        return TablePointer(new (std::nothrow) UnicodeToByteTable(kind, cp));
      return TablePointer(new (std::nothrow) ByteToUnicodeTable(kind, cp));
    case kKindWide:
    case kKindBased:
      return TablePointer(new (std::nothrow) WideTable(kind, cp));
    default:
      return nullptr;
  }
}

bool BuildUnicodeTables(std::span<const Bytes> resources) {
  ReleaseUnicodeTables();
  UnicodeTableState& state = State();
  try {
    if (!AddAllTables(state.tables, resources)) {
      ReleaseUnicodeTables();
      return false;
    }
    LinkTables(state.tables);
  } catch (const std::bad_alloc&) {
    ReleaseUnicodeTables();
    return false;
  }
  CheckDecompositionData();
  std::stable_sort(state.tables.begin(), state.tables.end(), ComesBefore);
  FillIndex(state);
  return true;
}

void ReleaseUnicodeTables() {
  State() = {};
  ReleaseDecompositionData();
}

std::span<const std::unique_ptr<UnicodeTable>> AllUnicodeTables() { return State().tables; }

}  // namespace qv

const qv::UnicodeTable* FindUnicodeTable(CodePage cp, bool from_unicode) {
  const auto& slots = qv::State().index.slots;
  const uint32_t key = qv::TableIndex::Key(qv::TablePage(cp), from_unicode);
  uint32_t slot = qv::TableIndex::FirstSlot(key);
  while (slots[slot].table != nullptr && slots[slot].key != key) {
    slot = (slot + 1) % qv::TableIndex::kSlots;
  }
  return slots[slot].table;
}

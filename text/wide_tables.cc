#include "text/wide_tables.h"

#include "text/east_asian_forms.h"
#include "text/shift_jis.h"

namespace qv {
namespace {

constexpr uint32_t kAsciiCodes = 128;
constexpr uint32_t kSingles = 256;
constexpr uint32_t kBlockLimit = 0x110000 / 128;
constexpr Field kBase{0, 2}, kSingleValues{2, kSingles * 2};
constexpr uint32_t kBasedHeader = kSingleValues.offset + kSingleValues.width;
constexpr uint32_t kWideNumber = 4, kWideValue = 4, kBasedNumber = 2, kBasedValue = 2;

}  // namespace

bool WideTable::Load(Bytes body) {
  const bool based = (kind() & ~kFromUnicodeBit) == kKindBased;
  block_of_.assign(1, 0);
  values_.assign(kBlockCodes, kReplacement);
  AddBlock(0);
  for (uint32_t code = 0; code < kAsciiCodes; ++code) values_[kBlockCodes + code] = code;
  bool valid = !based || body.size() >= kBasedHeader;
  if (valid && based) {
    base_page_ = static_cast<CodePage>(ReadBigEndian(body, kBase));
    SetSingles(body.subspan(kSingleValues.offset, kSingleValues.width));
    valid =
        LoadBlocks(body.subspan(kBasedHeader), kBasedNumber, kBasedValue, kSingles / kBlockCodes);
  } else if (valid) {
    valid = LoadBlocks(body, kWideNumber, kWideValue, 0);
  }
  if (valid && EastAsianFormOf(code_page()) == EastAsianForm::kDoubleByte) FindLeadBytes();
  return valid;
}

void WideTable::FindLeadBytes() {
  const DoubleByteReader reader(code_page());
  for (uint32_t byte = kAsciiCodes; byte < is_lead_.size(); ++byte) {
    const uint8_t pair[] = {static_cast<uint8_t>(byte), 0x40};
    is_lead_[byte] = reader.Read(pair, pair + sizeof pair).size == 2;
    const uint32_t first = byte << 8;
    if (from_unicode() || ValueOf(byte) != kReplacement) continue;
    for (uint32_t code = first; code < first + kSingles; ++code) {
      if (ValueOf(code) != kReplacement) is_lead_[byte] = true;
    }
  }
}

// Records ascend from `lowest` on, and the last is whole.
bool WideTable::LoadBlocks(Bytes records, uint32_t number_size, uint32_t value_size,
                           uint32_t lowest) {
  const uint32_t record_size = number_size + kBlockCodes * value_size;
  if (records.size() % record_size != 0) return false;
  for (size_t at = 0; at < records.size(); at += record_size) {
    const uint32_t block = ReadBigEndian(records, {0, number_size}, at);
    if (block < lowest || block >= kBlockLimit) return false;
    lowest = block + 1;
    AddBlock(block);
    for (uint32_t i = 0; i < kBlockCodes; ++i) {
      Set(block * kBlockCodes + i,
          ReadBigEndian(records, {number_size + i * value_size, value_size}, at));
    }
  }
  return true;
}

void WideTable::SetSingles(Bytes values) {
  AddBlock(1);
  for (uint32_t code = 0; code < kSingles; ++code) {
    Set(code, ReadBigEndian(values, {code * kBasedValue, kBasedValue}));
  }
}

// Makes entries for the blocks up to this one.
void WideTable::Reserve(uint32_t last_block) {
  if (last_block < last_) return;
  last_ = last_block + 1;
  block_of_.resize(last_ + 1, 0);
}

void WideTable::AddBlock(uint32_t block) {
  Reserve(block);
  if (block_of_[block] != 0) return;
  block_of_[block] = static_cast<uint16_t>(values_.size() / kBlockCodes);
  values_.resize(values_.size() + kBlockCodes, kReplacement);
}

// A value of 0, and any for code 0, changes nothing.
void WideTable::Set(uint32_t code, uint32_t value) {
  if (code == 0 || value == 0) return;
  AddBlock(code / kBlockCodes);
  values_[block_of_[code / kBlockCodes] * kBlockCodes + code % kBlockCodes] = value;
  if (code < kAsciiCodes && value != code) is_ascii_ = false;
}

void WideTable::Link(const WideTable& base) {
  std::vector<bool> own(kBlockLimit, false);
  for (uint32_t block = 0; block < last_; ++block) own[block] = block_of_[block] != 0;
  if (from_unicode()) {
    LinkFromUnicode(base, own);
  } else {
    LinkToUnicode(base, own);
  }
}

void WideTable::LinkToUnicode(const WideTable& base, const std::vector<bool>& own) {
  for (uint32_t row = kFirstJis; row <= kLastJis; ++row) {
    for (uint32_t cell = kFirstJis; cell <= kLastJis; ++cell) {
      const uint32_t jis = row << 8 | cell, code = ShiftJisFromJis(jis);
      const uint32_t value = base.ValueOf(jis);
      if (value != kReplacement && !own[code / kBlockCodes]) Set(code, value);
    }
  }
}

void WideTable::LinkFromUnicode(const WideTable& base, const std::vector<bool>& own) {
  for (uint32_t block = kSingles / kBlockCodes; block < base.last_; ++block) {
    if (own[block] || base.block_of_[block] == 0) continue;
    for (uint32_t code = block * kBlockCodes; code < (block + 1) * kBlockCodes; ++code) {
      const uint32_t jis = base.ValueOf(code);
      if (jis != kReplacement) Set(code, jis < kSingles ? jis : ShiftJisFromJis(jis));
    }
  }
}

}  // namespace qv

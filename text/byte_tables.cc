#include "text/byte_tables.h"

#include "text/utf8.h"

namespace qv {
namespace {

constexpr uint32_t kAsciiCodes = 128;
constexpr uint32_t kValueSize = 2;
constexpr uint32_t kRowSize = 18;
constexpr uint32_t kRowCodes = 16;
constexpr Field kRowNumber{0, 2}, kRowEntries{2, 16};
static_assert(kRowEntries.offset + kRowEntries.width == kRowSize);

// Rows ascend, none below `lowest`, and the last is whole.
bool RowsAreValid(Bytes body, uint32_t lowest) {
  if (body.empty() || body.size() % kRowSize != 0) return false;
  for (size_t at = 0; at < body.size(); at += kRowSize) {
    const uint32_t row = ReadBigEndian(body, kRowNumber, at);
    if (row < lowest) return false;
    lowest = row + 1;
  }
  return true;
}

}  // namespace

bool ByteToUnicodeTable::Load(Bytes body) {
  const uint32_t first = kind() == kKindHighHalf ? kAsciiCodes : 0;
  if (body.size() != (256 - first) * kValueSize) return false;
  is_ascii_ = true;
  for (uint32_t byte = 0; byte < 256; ++byte) {
    const uint32_t code =
        byte < first ? byte : ReadBigEndian(body, {0, kValueSize}, (byte - first) * kValueSize);
    codes_[byte] = static_cast<uint16_t>(code);
    utf8_[byte].length = EncodeUtf8(code, utf8_[byte].bytes);
    if (byte < kAsciiCodes && code != byte) is_ascii_ = false;
  }
  return true;
}

uint32_t ByteToUnicodeTable::Map(uint32_t value) const {
  return value < 256 ? codes_[value] : kReplacement;
}

bool UnicodeToByteTable::Load(Bytes body) {
  const bool high_half = (kind() & ~kFromUnicodeBit) == kKindHighHalf;
  if (!RowsAreValid(body, high_half ? kAsciiCodes / kRowCodes : 0)) return false;
  const uint32_t last_row = ReadBigEndian(body, kRowNumber, body.size() - kRowSize);
  last_ = last_row * kRowCodes / kBlockCodes + 1;
  block_of_.assign(last_ + 1, 0);
  bytes_.assign(kBlockCodes, kReplacement);
  if (high_half) {
    block_of_[0] = 1;
    for (uint32_t code = 0; code < kAsciiCodes; ++code) {
      bytes_.push_back(static_cast<uint8_t>(code));
    }
  }
  for (size_t at = 0; at < body.size(); at += kRowSize) {
    AddRow(ReadBigEndian(body, kRowNumber, at), body.subspan(at + kRowEntries.offset, kRowCodes));
  }
  is_ascii_ = true;
  for (uint32_t code = 0; code < kAsciiCodes; ++code) is_ascii_ &= ByteOf(code) == code;
  return true;
}

void UnicodeToByteTable::AddRow(uint32_t row, Bytes entries) {
  const uint32_t first = row * kRowCodes;
  uint16_t& block = block_of_[first / kBlockCodes];
  if (block == 0) {
    block = static_cast<uint16_t>(bytes_.size() / kBlockCodes);
    bytes_.resize(bytes_.size() + kBlockCodes, kReplacement);
  }
  uint8_t* place = &bytes_[block * kBlockCodes + first % kBlockCodes];
  for (uint32_t i = 0; i < kRowCodes; ++i) {
    // U+0000 is the one character whose byte is 0.
    if (entries[i] != 0 || first + i == 0) place[i] = entries[i];
  }
}

}  // namespace qv

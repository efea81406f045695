#include "format/encodings/checksums.h"

#include <atomic>

#include "base/lock_object.h"
#include "format/encodings/crc32_steps.h"
#include "format/encodings/crc_slices.h"
#include "format/encodings/processor.h"

namespace qv {
namespace {

constexpr int32_t kMostWidth = 64;

constexpr uint64_t kPolynomials[kMostWidth] = {
    // 1 to 16
    0x1, 0x3, 0x3, 0x3, 0x09, 0x07, 0x09, 0x07, 0x07D, 0x233, 0x385, 0x80F, 0x1CF5, 0x202D, 0x4599,
    0x1021,
    // 17 to 32
    0x1685B, 0x10BBD, 0x21783, 0x42E45, 0x102899, 0x10BC39, 0x21785F, 0x864CFB, 0x85E1C1, 0x10BC381,
    0x21786F3, 0x42F0E1F, 0x85E1C2F, 0x2030B9C7, 0x04C11DB7, 0x04C11DB7,
    // 33 to 48
    0x85E1C397, 0x10BC38781, 0x217870F43, 0x42F0E1E5B, 0x85E1C3D41, 0x10BC387ADB, 0x217870F5A1,
    0x0004820009, 0x85E1C3D745, 0x10BC387AE01, 0x217870F5D4B, 0x42F0E1EBA9F, 0x85E1C3D7537,
    0x10BC387AEA6B, 0x217870F5D44F, 0x42F0E1EBA9DB,
    // 49 to 64
    0x85E1C3D753CB, 0x10BC387AEA74B, 0x217870F5D4F51, 0x42F0E1EBA9E83, 0x85E1C3D753CD5,
    0x10BC387AEA7A11, 0x217870F5D4F4C9, 0x42F0E1EBA9E90D, 0x85E1C3D753D45B, 0x10BC387AEA7A86B,
    0x217870F5D4F515F, 0x42F0E1EBA9EA361, 0x85E1C3D753D46AB, 0x10BC387AEA7A8DA5, 0x217870F5D4F51B49,
    0x42F0E1EBA9EA3693};

constexpr CrcTables kCrc16Tables = [] {
  CrcTables tables{};
  FillCrcTables(tables, uint64_t{0x1021} << 48);
  return tables;
}();

// Never destroyed: threads may come until the process ends.
union TableLock {
  LockObject lock;
  constexpr TableLock() : lock() {}
  ~TableLock() {}
};

// The tables apart from the lock, so that they take no room in the program's file.
struct WidthTables {
  std::atomic<bool> ready{false};  // set once, under the lock, behind the tables
  CrcTables tables{};
};

const CrcTables& TablesOfWidth(int32_t width) {
  static constinit TableLock holder;
  static constinit WidthTables all[kMostWidth];
  WidthTables& one = all[width - 1];
  if (!one.ready.load(std::memory_order_acquire)) {
    ScopedLock hold(holder.lock);
    if (!one.ready.load(std::memory_order_relaxed)) {
      FillCrcTables(one.tables, CRCPolynomial(width) << (kMostWidth - width));
      one.ready.store(true, std::memory_order_release);
    }
  }
  return one.tables;
}

// What is beyond the width falls off when the register is brought to the top of the 64 bits.
uint64_t StartOfWidth(int32_t width) {
  constexpr uint64_t kLow = 0x0CD5E44A, kHigh = static_cast<uint32_t>(~0x053BCD4Eu);
  return width > 32 ? kHigh << 32 | kLow : kLow;
}

}  // namespace

uint32_t ExtendCRC32(uint32_t crc, const void* bytes, size_t count) {
  if (bytes == nullptr) return crc;
  const auto* at = static_cast<const uint8_t*>(bytes);
  if (count >= kLeastFolded && HasCarrylessMultiply()) return FoldCrc32(crc, at, count);
  return SliceCrc32(crc, at, count);
}

uint64_t ExtendCRCWidth(uint64_t crc, const void* bytes, size_t count, int32_t width) {
  if (width < 1 || width > kMostWidth) return 0;
  const auto* at = static_cast<const uint8_t*>(bytes);
  const int32_t unused = kMostWidth - width;
  return ExtendCrc(TablesOfWidth(width), crc << unused, at, at == nullptr ? 0 : count) >> unused;
}

uint64_t CRCPolynomial(int32_t width) {
  return width < 1 || width > kMostWidth ? 0 : kPolynomials[width - 1];
}

}  // namespace qv

uint16_t ZRCRC16(const void* bytes, size_t count, uint16_t start) {
  const auto* at = static_cast<const uint8_t*>(bytes);
  const uint64_t crc =
      qv::ExtendCrc<true>(qv::kCrc16Tables, uint64_t{start} << 48, at, at == nullptr ? 0 : count);
  return __builtin_bswap16(static_cast<uint16_t>(crc >> 48));
}

uint32_t ZRCRC32(const void* bytes, size_t count) {
  return ~qv::ExtendCRC32(~uint32_t{0}, bytes, count);
}

uint32_t ZRCRC32Raw(const void* bytes, size_t count) { return qv::ExtendCRC32(0, bytes, count); }

uint64_t ZRCRCWidth(const void* bytes, size_t count, int32_t width) {
  return qv::ExtendCRCWidth(qv::StartOfWidth(width), bytes, count, width);
}

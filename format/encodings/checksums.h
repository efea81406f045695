// Checksums: CRC-16, CRC-32 and a CRC of any width from 1 to 64 bits.
//
//   uint32_t crc = ZRCRC32(bytes, count);              // 0xCBF43926 for "123456789"
//   uint64_t check = ZRCRCWidth(bytes, count, 64);
//
// They find accidental changes and nothing else: whoever means to can make bytes of any CRC.
// Null bytes are none. A width outside 1 to 64 gives 0. Threads: any. The tables of a width are
// made under a lock when it is first used, 16 KB each, and stay.
#pragma once

#include <cstddef>
#include <cstdint>

// The polynomial 0x1021, most significant bit first, from `start`, without a final inversion. The
// result has its two bytes swapped; swap it back to go on from it with more bytes.
uint16_t ZRCRC16(const void* bytes, size_t count, uint16_t start);

// That of IEEE 802.3, as zip and Ethernet use it.
uint32_t ZRCRC32(const void* bytes, size_t count);
// The same table from 0 and without the final inversion.
uint32_t ZRCRC32Raw(const void* bytes, size_t count);

// Most significant bit first, without a final inversion, from a start of its own: 0x0CD5E44A cut to
// the width, from 33 bits on with NOT 0x053BCD4E (cut to the rest) above it.
//
// The polynomials (qv::CRCPolynomial) are published ones where there is one in use, as the
// catalogue of parametrised CRC algorithms lists them: parity at 1 bit, GSM at 3, 14 and 40,
// INTERLAKEN at 4, EPC-C1G2 at 5, CDMA2000-B at 6, MMC at 7, SMBUS at 8, ATM at 10, FLEXRAY at 11,
// DECT at 12, BBC at 13, CAN at 15, XMODEM (0x1021) at 16, CAN-FD at 17 and 21, OPENPGP at 24, CDMA
// at 30, PHILIPS at 31, that of IEEE 802.3 at 32, ECMA-182 at 64. The others are the top bits of
// the 64-bit one, or the next number below them that is a primitive polynomial; at 2 bits there is
// only one.
uint64_t ZRCRCWidth(const void* bytes, size_t count, int32_t width);

namespace qv {

// Goes on with the register of a CRC-32 as it stands, without inversions: ZRCRC32Raw begins with 0;
// ZRCRC32 begins with all ones and inverts at the end.
uint32_t ExtendCRC32(uint32_t crc, const void* bytes, size_t count);

// Goes on with the result of ZRCRCWidth of the same width, as if the bytes stood behind those.
uint64_t ExtendCRCWidth(uint64_t crc, const void* bytes, size_t count, int32_t width);

// Without the highest term; 0 for a width outside 1 to 64.
uint64_t CRCPolynomial(int32_t width);

}  // namespace qv

// Pseudo-random numbers of 16, 32 and 64 bits, each from a generator of its own that takes the
// microsecond clock in now and then.
//
//   uint32_t die = ZRRandom32(5) + 1;      // 1 to 6
//   uint16_t any = ZRRandom16(0);          // 0 to 65535
//
// They spread work and name files; they protect nothing: what comes next is easily told. The 16-bit
// generator begins every process with the same 187 numbers; the others ask for the clock at once.
//
// Reseeding, at one state in 128 (16 bits) or in 64 (the others): a block of 16 bytes is made of
// the clock (8 bytes), the calls and the reseeds so far (4 bytes each, little-endian) and mixed
// into the state: its CRC-32 (16 bits), its CRC of width 64 (32 bits), or its SHA-1, of which the
// first 8 bytes, as a big-endian number, go into state A and the next 8 into B, each by exclusive
// or; the last 4 are not used.
//
// Two weaknesses follow from the constants. A range is taken by remainder, so the smallest numbers
// are a little more frequent where it does not divide all the generator gives. And the multiplier
// of state A of the 64-bit generator is a multiple of 32: 13 calls after a reseeding A has come to
// where it stays, and the bits F0F0F0F0F0F0F0F0 of the numbers stand still until the next one.
// Where all bits must vary, use ZRRandom32 twice.
//
// Threads: any. There is no lock, so two threads at once may get the same number.
#pragma once

#include <cstdint>

// 0 to 65535; with 0 < range < 65535: 0 to range.
uint16_t ZRRandom16(uint16_t range);
// Any 32 bits; with 0 < range < 0xFFFFFFFF: 0 to range.
uint32_t ZRRandom32(uint32_t range);
// Any 64 bits; with a range that is neither 0 nor all ones: 0 to range.
uint64_t ZRRandom64(uint64_t range);

namespace qv {

// Every generator begins as in a new process.
void ResetRandomForTest();

}  // namespace qv

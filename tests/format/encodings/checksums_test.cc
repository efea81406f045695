#include "format/encodings/checksums.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

#include "format/encodings/byte_order.h"
#include "format/encodings/crc32_steps.h"
#include "format/encodings/processor.h"

namespace {

using std::string;

constexpr char kDigits[] = "123456789";  // what the catalogue's check values are of

string RandomBytes(size_t count) {
  static std::mt19937 random(4);
  string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

const uint8_t* Raw(const string& bytes) { return reinterpret_cast<const uint8_t*>(bytes.data()); }

// The definition: a long division, bit by bit, the most significant first.
uint64_t Divide(const string& bytes, int width, uint64_t polynomial, uint64_t start) {
  const uint64_t top = uint64_t{1} << (width - 1);
  uint64_t rest = start;
  for (const uint8_t byte : bytes) {
    for (int bit = 7; bit >= 0; --bit) {
      const bool divide = ((rest & top) != 0) != ((byte >> bit & 1) != 0);
      rest = (rest << 1) ^ (divide ? polynomial : 0);
    }
  }
  return rest & (top | (top - 1));
}

// The same for the least significant bit first, on the register alone.
uint32_t DivideReflected(const string& bytes, uint32_t rest) {
  for (const uint8_t byte : bytes) {
    rest ^= byte;
    for (int bit = 0; bit < 8; ++bit) rest = (rest & 1) != 0 ? rest >> 1 ^ 0xEDB88320 : rest >> 1;
  }
  return rest;
}

uint64_t Start(int width) {
  const uint64_t all = ~uint64_t{0} >> (64 - width);
  return (width > 32 ? 0xFAC432B10CD5E44Aull : 0x0CD5E44Aull) & all;
}

// Stands first: the width has to be one that was not used yet.
TEST(Checksums, TablesOfAWidthAreMadeOnceForAllThreads) {
  const string bytes = RandomBytes(100);
  constexpr int kWidth = 37;
  std::vector<uint64_t> results(4);
  std::vector<std::thread> threads;
  for (uint64_t& result : results) {
    threads.emplace_back([&] { result = ZRCRCWidth(bytes.data(), bytes.size(), kWidth); });
  }
  for (std::thread& thread : threads) thread.join();
  const uint64_t expected = Divide(bytes, kWidth, qv::CRCPolynomial(kWidth), Start(kWidth));
  EXPECT_EQ(results, std::vector<uint64_t>(4, expected));
}

TEST(Checksums, Crc16HasThePublishedValuesWithBytesSwapped) {
  const struct {
    const char* name;
    string bytes;
    uint16_t start, expected;
  } kRows[] = {
      {"XMODEM", kDigits, 0, 0xC331},           {"IBM-3740", kDigits, 0xFFFF, 0xB129},
      {"SPI-FUJITSU", kDigits, 0x1D0F, 0xCCE5}, {"no bytes: the start", "", 0x1234, 0x3412},
      {"one byte", "\x01", 0, 0x2110},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(ZRCRC16(row.bytes.data(), row.bytes.size(), row.start), row.expected);
  }
  EXPECT_EQ(ZRCRC16(nullptr, 5, 0x1234), 0x3412);
}

TEST(Checksums, Crc32HasThePublishedValues) {
  EXPECT_EQ(ZRCRC32(kDigits, 9), 0xCBF43926u);
  EXPECT_EQ(ZRCRC32("", 0), 0u);
  EXPECT_EQ(ZRCRC32(nullptr, 5), 0u);
  // From 0 and not inverted: what begins with zeros has 0 until the first other byte.
  EXPECT_EQ(ZRCRC32Raw("\0\0\0\0", 4), 0u);
  EXPECT_EQ(ZRCRC32Raw(kDigits, 9), DivideReflected(kDigits, 0));
}

TEST(Checksums, WidthsInUseHaveTheirPublishedPolynomials) {
  const struct {
    int width;
    uint64_t start, inversion, check;  // of the catalogue
  } kRows[] = {
      {3, 0, 0x7, 0x4},
      {4, 0xF, 0xF, 0xB},
      {5, 0x09, 0, 0x00},
      {6, 0x3F, 0, 0x3B},
      {7, 0, 0, 0x75},
      {8, 0, 0, 0xF4},
      {10, 0, 0, 0x199},
      {11, 0x01A, 0, 0x5A3},
      {12, 0, 0, 0xF5B},
      {13, 0, 0, 0x04FA},
      {14, 0, 0x3FFF, 0x30AE},
      {15, 0, 0, 0x059E},
      {16, 0, 0, 0x31C3},
      {17, 0, 0, 0x04F03},
      {21, 0, 0, 0x0ED841},
      {24, 0xB704CE, 0, 0x21CF02},
      {30, 0x3FFFFFFF, 0x3FFFFFFF, 0x04C34ABF},
      {31, 0x7FFFFFFF, 0x7FFFFFFF, 0x0CE9E46C},
      {32, 0xFFFFFFFF, 0xFFFFFFFF, 0xFC891918},
      {40, 0, 0xFFFFFFFFFF, 0xD4164FC646},
      {64, 0, 0, 0x6C40DF5F0B497347},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.width);
    EXPECT_EQ(Divide(kDigits, row.width, qv::CRCPolynomial(row.width), row.start) ^ row.inversion,
              row.check);
  }
}

// x to the power of 2^width - 1 is 1 in the field of a primitive polynomial (and of hardly
// another); `width` squarings and the multiplications by x between them are its binary digits, all
// ones.
bool OrderFits(int width, uint64_t polynomial) {
  const uint64_t top = uint64_t{1} << (width - 1), all = top | (top - 1);
  const auto shifted = [&](uint64_t v) {
    return (v << 1 & all) ^ ((v & top) != 0 ? polynomial : 0);
  };
  uint64_t power = 1;
  for (int digit = 0; digit < width; ++digit) {
    uint64_t square = 0;
    for (int bit = width - 1; bit >= 0; --bit) {
      square = shifted(square);
      if ((power >> bit & 1) != 0) square ^= power;
    }
    power = shifted(square);
  }
  return power == 1;
}

TEST(Checksums, OtherWidthsComeFromThe64BitPolynomial) {
  const int kDerived[] = {9,  18, 19, 20, 22, 23, 25, 26, 27, 28, 29, 33, 34, 35,
                          36, 37, 38, 39, 41, 42, 43, 44, 45, 46, 47, 48, 49, 50,
                          51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};
  for (const int width : kDerived) {
    SCOPED_TRACE(width);
    const uint64_t polynomial = qv::CRCPolynomial(width);
    const uint64_t top_bits = qv::CRCPolynomial(64) >> (64 - width) | 1;
    EXPECT_LE(polynomial, top_bits);
    EXPECT_LE(top_bits - polynomial, 400u);  // they are dense: 1 in `width`, about
    EXPECT_TRUE(OrderFits(width, polynomial));
  }
  EXPECT_EQ(qv::CRCPolynomial(1), 1u);
  EXPECT_EQ(qv::CRCPolynomial(2), 3u);
}

TEST(Checksums, EveryWidthDividesFromItsStart) {
  const string bytes = RandomBytes(67);
  for (int width = 1; width <= 64; ++width) {
    for (const size_t count : {0, 1, 7, 8, 9, 16, 67}) {
      SCOPED_TRACE(testing::Message() << width << " bits, " << count << " bytes");
      EXPECT_EQ(ZRCRCWidth(bytes.data(), count, width),
                Divide(bytes.substr(0, count), width, qv::CRCPolynomial(width), Start(width)));
      const uint64_t begun = ZRCRCWidth(bytes.data(), count, width);
      EXPECT_EQ(qv::ExtendCRCWidth(begun, bytes.data() + count, 67 - count, width),
                ZRCRCWidth(bytes.data(), 67, width));
    }
  }
  for (const int width : {-1, 0, 65}) EXPECT_EQ(ZRCRCWidth(bytes.data(), 67, width), 0u);
  EXPECT_EQ(ZRCRCWidth(nullptr, 67, 64), Start(64));
}

TEST(Checksums, EveryWalkOfCrc32GivesTheSame) {
  for (size_t count = 0; count < 300; ++count) {
    SCOPED_TRACE(count);
    // A block of its own, so that a sanitizer sees a read past it; not aligned.
    const string bytes = RandomBytes(count + 1).substr(1);
    const uint32_t start = static_cast<uint32_t>(count * 0x9E3779B9u);
    const uint32_t expected = DivideReflected(bytes, start);
    EXPECT_EQ(qv::SliceCrc32(start, Raw(bytes), count), expected);
    EXPECT_EQ(qv::ExtendCRC32(start, bytes.data(), count), expected);
    if (count >= qv::kLeastFolded && qv::HasCarrylessMultiply()) {
      EXPECT_EQ(qv::FoldCrc32(start, Raw(bytes), count), expected);
    }
  }
}

TEST(ByteOrder, SwapsFourBytes) {
  EXPECT_EQ(ZRSwap32(0x01020304), 0x04030201u);
  EXPECT_EQ(ZRSwap32(0x000000FF), 0xFF000000u);
}

}  // namespace

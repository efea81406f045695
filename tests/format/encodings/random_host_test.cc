#include <gtest/gtest.h>

#include <string>

#include "base/clock.h"
#include "format/encodings/checksums.h"
#include "format/encodings/random.h"
#include "format/encodings/sha1.h"
#include "platform/host/control.h"

namespace {

// The generators once more, each number computed in 128 bits and the reseed block put together byte
// by byte; checksums and digest have tests of their own.
class Model {
 public:
  explicit Model(uint64_t clock) : clock_(clock) {}
  int reseeds() const { return static_cast<int>(reseeds_); }

  uint16_t Next16() {
    if ((a16_ & 0x84211028) == 0x84201028) {
      const std::string block = Block();
      a16_ ^= ZRCRC32(block.data(), block.size());
    }
    ++calls_;
    a16_ = static_cast<uint32_t>((uint64_t{a16_} * 214013 + 2531011) % (uint64_t{1} << 32));
    return static_cast<uint16_t>(a16_ / 65536);
  }
  uint32_t Next32() {
    const auto low = static_cast<uint32_t>(a32_), high = static_cast<uint32_t>(a32_ >> 32);
    if ((low & 0x01000800) == 0x01000800 && (high & 0x80104020) == 0x80104020) {
      const std::string block = Block();
      a32_ ^= ZRCRCWidth(block.data(), block.size(), 64);
    }
    ++calls_;
    a32_ = Step(a32_, 0xB4AFDFBC363C2C37, 0x65199D6D27DE71B5);
    return static_cast<uint32_t>((a32_ >> 24) % (uint64_t{1} << 32));
  }
  uint64_t Next64() {
    const auto low = static_cast<uint32_t>(b64_), high = static_cast<uint32_t>(b64_ >> 32);
    if ((low & 0x08010020) == 0x08010020 && (high & 0x04020400) == 0x04020400) Mix(Block());
    ++calls_;
    b64_ = Step(b64_, 0xB738F54C45230D63, 0x4BCB6772CB66120F);
    a64_ = Step(a64_, 0xAEEDB933FCA615E0, 0x07C406AC0810A8FF);
    uint64_t number = 0;
    for (int bit = 0; bit < 64; ++bit) {
      const uint64_t from = bit % 8 < 4 ? b64_ : a64_;
      number |= (from >> bit & 1) << bit;
    }
    return number;
  }

 private:
  __extension__ using Wide = unsigned __int128;

  static uint64_t Step(uint64_t state, uint64_t factor, uint64_t less) {
    const Wide product = Wide{state} * factor + (Wide{1} << 64) - less;
    return static_cast<uint64_t>(product);
  }
  std::string Block() {
    ++reseeds_;
    std::string block;
    for (int i = 0; i < 8; ++i) block += static_cast<char>(clock_ >> 8 * i);
    for (int i = 0; i < 4; ++i) block += static_cast<char>(calls_ >> 8 * i);
    for (int i = 0; i < 4; ++i) block += static_cast<char>(reseeds_ >> 8 * i);
    return block;
  }
  void Mix(const std::string& block) {
    uint8_t digest[20];
    qv::Sha1 sha1;
    sha1.Add(block.data(), block.size());
    sha1.Finish(digest);
    uint64_t words[2] = {0, 0};
    for (int i = 0; i < 16; ++i) words[i / 8] = words[i / 8] * 256 + digest[i];
    a64_ ^= words[0];
    b64_ ^= words[1];
  }

  uint64_t clock_;
  uint32_t calls_ = 0, reseeds_ = 0;
  uint32_t a16_ = 0xC7691B3F;
  uint64_t a32_ = 0xA65FFBA509740BFD;
  uint64_t a64_ = 0xB4E589FD44D78E35, b64_ = 0x9DBA046BD8751065;
};

class RandomHostTest : public testing::Test {
 protected:
  RandomHostTest() { Restart(5000000); }
  ~RandomHostTest() override {
    host::ThawTicks();
    qv::ResetClockForTest();
    qv::ResetRandomForTest();
  }
  // A clock that has run for `micros` since its first reading, one second, and new generators.
  static void Restart(uint64_t micros) {
    qv::ResetClockForTest();
    host::FreezeMicroseconds(7000000);
    ZRMicroseconds(true);
    host::AdvanceMicroseconds(micros);
    qv::ResetRandomForTest();
  }
};

constexpr int kNumbers = 5000;

TEST_F(RandomHostTest, FollowsTheSequencesThroughTheirReseedings) {
  for (const uint64_t micros : {uint64_t{0}, uint64_t{0x123456789ABC}}) {
    Restart(micros);
    Model model16(1000000 + micros), model32(1000000 + micros), model64(1000000 + micros);
    for (int i = 0; i < kNumbers; ++i) {
      ASSERT_EQ(ZRRandom16(0), model16.Next16()) << i;
      ASSERT_EQ(ZRRandom32(0), model32.Next32()) << i;
      ASSERT_EQ(ZRRandom64(0), model64.Next64()) << i;
    }
    for (const Model& model : {model16, model32, model64}) EXPECT_GT(model.reseeds(), 5);
  }
}

TEST_F(RandomHostTest, ReadsTheClockAtEveryReseeding) {
  host::FreezeMicroseconds(50000000, 1000);  // a step per reading
  const uint64_t before = ZRMicroseconds(true);
  for (int i = 0; i < kNumbers; ++i) ZRRandom32(0);
  EXPECT_GT(ZRMicroseconds(true) - before, 5 * 1000u);
}

TEST_F(RandomHostTest, KeepsToItsRange) {
  Model any16(6000000), any32(6000000), any64(6000000);
  for (int i = 0; i < kNumbers; ++i) {
    const auto limit = static_cast<uint16_t>(i % 1000 + 1);
    ASSERT_EQ(ZRRandom16(limit), any16.Next16() % (limit + 1)) << i;
    ASSERT_EQ(ZRRandom32(limit), any32.Next32() % (limit + 1)) << i;
    ASSERT_EQ(ZRRandom64(uint64_t{limit} << 40), any64.Next64() % ((uint64_t{limit} << 40) + 1))
        << i;
  }
  // One below all ones is the largest range; all ones is none.
  EXPECT_EQ(ZRRandom16(0xFFFE), any16.Next16() % 0xFFFF);
  EXPECT_EQ(ZRRandom16(0xFFFF), any16.Next16());
  EXPECT_EQ(ZRRandom32(0xFFFFFFFE), any32.Next32() % 0xFFFFFFFF);
  EXPECT_EQ(ZRRandom32(0xFFFFFFFF), any32.Next32());
  EXPECT_EQ(ZRRandom64(~uint64_t{1}), any64.Next64() % ~uint64_t{0});
  EXPECT_EQ(ZRRandom64(~uint64_t{0}), any64.Next64());
}

}  // namespace

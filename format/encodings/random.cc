#include "format/encodings/random.h"

#include <atomic>

#include "base/clock.h"
#include "format/encodings/byte_order.h"
#include "format/encodings/checksums.h"
#include "format/encodings/sha1.h"

namespace qv {
namespace {

constexpr uint32_t kStart16 = 0xC7691B3F;
constexpr uint64_t kStart32 = 0xA65FFBA509740BFD;
constexpr uint64_t kStart64A = 0xB4E589FD44D78E35, kStart64B = 0x9DBA046BD8751065;

// A number that threads read and write without a lock: they may lose a step of each other, but each
// sees a number that was stored.
template <typename Number>
class Shared {
 public:
  constexpr explicit Shared(Number value) : value_(value) {}
  Number Get() const { return value_.load(std::memory_order_relaxed); }
  void Set(Number value) { value_.store(value, std::memory_order_relaxed); }

 private:
  std::atomic<Number> value_;
};

// What a reseeding is made of.
struct ReseedBlock {
  static constexpr size_t kBytes = 16;

  Shared<uint64_t> clock{0};  // at the last reseeding
  Shared<uint32_t> calls{0}, reseeds{0};
};

struct RandomState {
  Shared<uint32_t> state16{kStart16};
  Shared<uint64_t> state32{kStart32};
  Shared<uint64_t> state64_a{kStart64A}, state64_b{kStart64B};
  ReseedBlock block16, block32, block64;
};

RandomState& State() {
  static constinit RandomState state;
  return state;
}

void Clear(ReseedBlock& block) {
  block.clock.Set(0);
  block.calls.Set(0);
  block.reseeds.Set(0);
}

void CountCall(ReseedBlock& block) { block.calls.Set(block.calls.Get() + 1); }

// Takes the clock in and writes the block as bytes.
void Renew(ReseedBlock& block, uint8_t (&bytes)[ReseedBlock::kBytes]) {
  block.clock.Set(ZRMicroseconds(true));
  block.reseeds.Set(block.reseeds.Get() + 1);
  StoreLittle(bytes, block.clock.Get());
  StoreLittle(bytes + 8, block.calls.Get());
  StoreLittle(bytes + 12, block.reseeds.Get());
}

// Reseeding stands apart, so that a call without it stays a few instructions.
[[gnu::noinline]] void Reseed16(RandomState& random) {
  uint8_t bytes[ReseedBlock::kBytes];
  Renew(random.block16, bytes);
  random.state16.Set(random.state16.Get() ^ ZRCRC32(bytes, sizeof bytes));
}

[[gnu::noinline]] void Reseed32(RandomState& random) {
  uint8_t bytes[ReseedBlock::kBytes];
  Renew(random.block32, bytes);
  random.state32.Set(random.state32.Get() ^ ZRCRCWidth(bytes, sizeof bytes, 64));
}

[[gnu::noinline]] void Reseed64(RandomState& random) {
  uint8_t bytes[ReseedBlock::kBytes], digest[Sha1::kSize];
  Renew(random.block64, bytes);
  Sha1 sha1;
  sha1.Add(bytes, sizeof bytes);
  sha1.Finish(digest);
  random.state64_a.Set(random.state64_a.Get() ^ LoadBig<uint64_t>(digest));
  random.state64_b.Set(random.state64_b.Get() ^ LoadBig<uint64_t>(digest + 8));
}

constexpr bool HasBits(uint64_t value, uint64_t bits) { return (value & bits) == bits; }

// 0 to `range`, or anything when the range is 0 or all ones.
template <typename Number>
constexpr Number InRange(Number number, Number range) {
  const auto count = static_cast<Number>(range + 1);
  return count <= 1 ? number : static_cast<Number>(number % count);
}

}  // namespace

void ResetRandomForTest() {
  RandomState& random = State();
  random.state16.Set(kStart16);
  random.state32.Set(kStart32);
  random.state64_a.Set(kStart64A);
  random.state64_b.Set(kStart64B);
  for (ReseedBlock* block : {&random.block16, &random.block32, &random.block64}) Clear(*block);
}

}  // namespace qv

uint16_t ZRRandom16(uint16_t range) {
  qv::RandomState& random = qv::State();
  if ((random.state16.Get() & 0x84211028) == 0x84201028) [[unlikely]]
    Reseed16(random);
  CountCall(random.block16);
  const uint32_t state = random.state16.Get() * 214013 + 2531011;
  random.state16.Set(state);
  return qv::InRange(static_cast<uint16_t>(state >> 16), range);
}

uint32_t ZRRandom32(uint32_t range) {
  qv::RandomState& random = qv::State();
  if (qv::HasBits(random.state32.Get(), 0x8010402001000800)) [[unlikely]]
    Reseed32(random);
  CountCall(random.block32);
  const uint64_t state = random.state32.Get() * 0xB4AFDFBC363C2C37 - 0x65199D6D27DE71B5;
  random.state32.Set(state);
  return qv::InRange(static_cast<uint32_t>(state >> 24), range);
}

uint64_t ZRRandom64(uint64_t range) {
  constexpr uint64_t kFromB = 0x0F0F0F0F0F0F0F0F;
  qv::RandomState& random = qv::State();
  if (qv::HasBits(random.state64_b.Get(), 0x0402040008010020)) [[unlikely]]
    Reseed64(random);
  CountCall(random.block64);
  const uint64_t b = random.state64_b.Get() * 0xB738F54C45230D63 - 0x4BCB6772CB66120F;
  const uint64_t a = random.state64_a.Get() * 12604934565013100000u - 0x07C406AC0810A8FF;
  random.state64_b.Set(b);
  random.state64_a.Set(a);
  return qv::InRange((b & kFromB) | (a & ~kFromB), range);
}

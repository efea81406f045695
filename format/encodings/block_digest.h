// What the digests share: gathering bytes into blocks, and for those with 64-byte blocks a state of
// 32-bit words and the padding with the length behind it.
#pragma once

#include <algorithm>
#include <cstring>
#include <utility>

#include "format/encodings/byte_order.h"
#include "format/encodings/digest.h"

namespace qv {

// Calls step.template operator()<i>() for i from 0 to n - 1: a loop whose index is a constant in
// every turn.
template <size_t n, typename Step>
void Unrolled(Step step) {
  [&]<size_t... i>(std::index_sequence<i...>) { (step.template operator()<i>(), ...); }
  (std::make_index_sequence<n>());
}

template <size_t kBlock>
class BlockDigest : public Digest {
 public:
  // Whole blocks are hashed where they lie; only what is left over is copied.
  void Add(const void* bytes, size_t count) final {
    if (bytes == nullptr || count == 0) return;
    const auto* at = static_cast<const uint8_t*>(bytes);
    const size_t waiting = Waiting();
    count_ += count;
    if (waiting > 0) {
      const size_t taken = std::min(kBlock - waiting, count);
      std::memcpy(block_ + waiting, at, taken);
      if (waiting + taken < kBlock) return;
      HashBlocks(block_, 1);
      at += taken, count -= taken;
    }
    const size_t whole = count / kBlock;
    if (whole > 0) HashBlocks(at, whole);
    std::memcpy(block_, at + whole * kBlock, count % kBlock);
  }
  size_t block_size() const final { return kBlock; }

 protected:
  virtual void HashBlocks(const uint8_t* bytes, size_t blocks) = 0;
  // Bytes of the block that is not whole yet.
  size_t Waiting() const { return count_ % kBlock; }

  uint64_t count_ = 0;  // bytes added
  uint8_t block_[kBlock];
};

// kBig: numbers are big-endian, in the text and in the digest.
template <size_t kWords, bool kBig>
class WordDigest : public BlockDigest<64> {
 public:
  static constexpr size_t kSize = kWords * 4;

  void Start() final {
    count_ = 0;
    std::copy_n(kStart, kWords, state_);
  }
  void Finish(uint8_t* out) final {
    Pad();
    for (size_t i = 0; i < kWords; ++i) Store(out + i * 4, state_[i]);
    Start();
  }
  size_t size() const final { return kSize; }

 protected:
  uint32_t state_[kWords] = {};

 private:
  static constexpr uint32_t kStart[] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};

  template <typename Number>
  static void Store(uint8_t* out, Number value) {
    kBig ? StoreBig(out, value) : StoreLittle(out, value);
  }

  // A 1 bit, zeros up to 8 bytes before the end of a block, and the length in bits.
  void Pad() {
    constexpr size_t kLengthAt = 56;
    const uint64_t bits = count_ * 8;
    size_t used = Waiting();
    block_[used++] = 0x80;
    if (used > kLengthAt) {
      std::memset(block_ + used, 0, sizeof block_ - used);
      HashBlocks(block_, 1);
      used = 0;
    }
    std::memset(block_ + used, 0, kLengthAt - used);
    Store(block_ + kLengthAt, bits);
    HashBlocks(block_, 1);
  }
};

}  // namespace qv

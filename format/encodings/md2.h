// MD2 (RFC 1319, with its erratum): digests of 16 bytes. digest.h says how to use it.
#pragma once

#include "format/encodings/block_digest.h"

namespace qv {

class Md2 final : public BlockDigest<16> {
 public:
  static constexpr size_t kSize = 16;

  Md2() { Start(); }
  void Start() override;
  void Finish(uint8_t* out) override;
  size_t size() const override { return kSize; }

 private:
  void HashBlocks(const uint8_t* bytes, size_t blocks) override;

  uint8_t state_[48], checksum_[16];
};

}  // namespace qv

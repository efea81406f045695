// MD4 (RFC 1320): digests of 16 bytes. digest.h says how to use it.
#pragma once

#include "format/encodings/block_digest.h"

namespace qv {

class Md4 final : public WordDigest<4, false> {
 public:
  Md4() { Start(); }

 private:
  void HashBlocks(const uint8_t* bytes, size_t blocks) override;
};

}  // namespace qv

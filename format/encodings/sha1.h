// SHA-1 (RFC 3174): digests of 20 bytes. digest.h says how to use it.
#pragma once

#include "format/encodings/block_digest.h"

namespace qv {

class Sha1 final : public WordDigest<5, true> {
 public:
  Sha1() { Start(); }

 private:
  void HashBlocks(const uint8_t* bytes, size_t blocks) override;
};

// The two ways to hash blocks of 64 bytes, which give the same: on any processor, and by the
// instructions made for it, where HasSha1Instructions() only.
void HashSha1Blocks(uint32_t* state, const uint8_t* bytes, size_t blocks);
void HashSha1BlocksByInstructions(uint32_t* state, const uint8_t* bytes, size_t blocks);

}  // namespace qv

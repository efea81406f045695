#include "format/encodings/hmac.h"

#include <cstring>

namespace qv {
namespace {

constexpr uint8_t kInnerPad = 0x36, kOuterPad = 0x5C;

}  // namespace

Hmac::Hmac(Digest& digest, const void* key, size_t key_bytes) : digest_(digest) {
  if (key_bytes > digest.block_size()) {
    digest.Start();
    digest.Add(key, key_bytes);
    digest.Finish(key_);
  } else if (key != nullptr) {
    std::memcpy(key_, key, key_bytes);
  }
  Start();
}

void Hmac::Start() { StartWithKey(kInnerPad); }

void Hmac::Finish(uint8_t* out) {
  uint8_t inner[kMostDigestSize];
  digest_.Finish(inner);
  StartWithKey(kOuterPad);
  digest_.Add(inner, digest_.size());
  digest_.Finish(out);
  Start();
}

void Hmac::StartWithKey(uint8_t pad) {
  uint8_t block[kMostDigestBlock];
  for (size_t i = 0; i < sizeof block; ++i) block[i] = key_[i] ^ pad;
  digest_.Start();
  digest_.Add(block, digest_.block_size());
}

}  // namespace qv

// HMAC (RFC 2104) over any digest: proves that a text comes from one who has the key.
//
//   qv::Sha1 sha1;
//   qv::Hmac hmac(sha1, key, key_bytes);
//   hmac.Add(text, text_bytes);
//   uint8_t out[qv::kMostDigestSize];
//   hmac.Finish(out);                     // sha1.size() bytes; ready for the next text
//
// A key longer than the digest's block is hashed first. The digest is borrowed: it lives longer
// than the Hmac, is used by nobody else in that time, and begins anew at its end.
#pragma once

#include "format/encodings/digest.h"

namespace qv {

class Hmac final : public Digest {
 public:
  // A null key is an empty one.
  Hmac(Digest& digest, const void* key, size_t key_bytes);
  ~Hmac() override { digest_.Start(); }
  Hmac(const Hmac&) = delete;
  Hmac& operator=(const Hmac&) = delete;

  void Start() override;
  void Add(const void* bytes, size_t count) override { digest_.Add(bytes, count); }
  void Finish(uint8_t* out) override;
  size_t size() const override { return digest_.size(); }
  size_t block_size() const override { return digest_.block_size(); }

 private:
  // Begins a text with the key, each byte changed by `pad`.
  void StartWithKey(uint8_t pad);

  Digest& digest_;
  uint8_t key_[kMostDigestBlock] = {};
};

}  // namespace qv

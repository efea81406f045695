// Message digests: SHA-1 (sha1.h), MD2, MD4 and MD5 (md2.h, md4.h, md5.h), and HMAC over any of
// them (hmac.h), all used in the same way.
//
//   qv::Sha1 digest;
//   digest.Add("ab", 2);
//   digest.Add("c", 1);                  // cut as the caller likes: the result is the same
//   uint8_t out[qv::Sha1::kSize];
//   digest.Finish(out);                  // A9993E36...; the object is ready for the next text
//
// They serve formats that name them. None of them resists one who looks for two texts of one
// digest; HMAC over SHA-1 and MD5 still proves who wrote a text. Texts of any length, 4 GB and
// more. Threads: an object is used by one thread at a time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace qv {

constexpr size_t kMostDigestSize = 20, kMostDigestBlock = 64;  // bytes

class Digest {
 public:
  virtual ~Digest() = default;

  // Begins with an empty text. A new object has begun already.
  virtual void Start() = 0;
  // Adds bytes to the text; null bytes are none.
  virtual void Add(const void* bytes, size_t count) = 0;
  // Writes the size() bytes of the digest of what was added, and begins anew.
  virtual void Finish(uint8_t* out) = 0;

  virtual size_t size() const = 0;
  // Bytes that are hashed at a time: what HMAC brings its key to.
  virtual size_t block_size() const = 0;
};

}  // namespace qv

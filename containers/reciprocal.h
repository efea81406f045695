// Division of 64-bit numbers by a divisor that stays the same: a multiplication in its place, since
// it is slow, and on 32-bit machines a call of the compiler's library.
#pragma once

#include <cstdint>

namespace qv {

class Reciprocal {
 public:
  struct Result {
    uint64_t quotient, rest;
  };

  // Not by 0.
  explicit Reciprocal(uint64_t divisor) : divisor_(divisor), inverse_(UINT64_MAX / divisor) {}
  uint64_t divisor() const { return divisor_; }
  // The product comes out right or 1 too small, since the inverse is less than 1 too small.
  Result Divide(uint64_t number) const {
    const uint64_t quotient = HighProduct(number, inverse_);
    const uint64_t rest = number - quotient * divisor_;
    return rest >= divisor_ ? Result{quotient + 1, rest - divisor_} : Result{quotient, rest};
  }

 private:
  static uint64_t HighProduct(uint64_t a, uint64_t b) {
#ifdef __SIZEOF_INT128__
    __extension__ using Wide = unsigned __int128;
    return static_cast<uint64_t>(static_cast<Wide>(a) * b >> 64);
#else
    const uint64_t a_low = a & UINT32_MAX, a_high = a >> 32;
    const uint64_t b_low = b & UINT32_MAX, b_high = b >> 32;
    const uint64_t cross = a_high * b_low + (a_low * b_low >> 32);
    const uint64_t middle = a_low * b_high + (cross & UINT32_MAX);
    return a_high * b_high + (cross >> 32) + (middle >> 32);
#endif
  }

  uint64_t divisor_;
  uint64_t inverse_;
};

}  // namespace qv

#include "format/encodings/processor.h"

#include <cpuid.h>

namespace qv {
namespace {

struct Features {
  bool carryless_multiply = false, sha1 = false;
};

// The registers they use are SSE's, which every system saves; so the processor alone decides.
Features AskProcessor() {
  Features features;
  unsigned a = 0, b = 0, c = 0, d = 0;
  if (__get_cpuid(1, &a, &b, &c, &d) == 0 || (c & bit_SSE4_1) == 0) return features;
  features.carryless_multiply = (c & bit_PCLMUL) != 0;
  features.sha1 =
      (c & bit_SSSE3) != 0 && __get_cpuid_count(7, 0, &a, &b, &c, &d) != 0 && (b & bit_SHA) != 0;
  return features;
}

const Features& Known() {
  static const Features features = AskProcessor();
  return features;
}

}  // namespace

bool HasCarrylessMultiply() { return Known().carryless_multiply; }
bool HasSha1Instructions() { return Known().sha1; }

}  // namespace qv

// What was encoded decodes, by a decoder of its own, to the same bytes; no more is written than was
// reserved, and at most one separator less.
#include "format/encodings/base64.h"
#include "fuzz/fuzz_support.h"
#include "tests/format/encodings/decoded_base64.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const std::string separator = input.Text(24), bytes = input.Rest();
  const size_t room = ZRBase64Encode(bytes.data(), bytes.size(), nullptr, separator.c_str());
  fuzz::GuardedBuffer out(room);
  const size_t written = ZRBase64Encode(bytes.data(), bytes.size(), out.data(), separator.c_str());
  FUZZ_CHECK(written <= room && room - written <= separator.size() && out.Intact());
  FUZZ_CHECK(test::DecodedBase64({out.data(), written}, separator) == bytes);
  return 0;
}

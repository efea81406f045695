// Any bytes as a resource fork in memory: what is found is a whole body inside the bytes, of a type
// and a number that stand in them, and the same one each time.
#include "fuzz/fuzz_support.h"
#include "resources/fork_lookup.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const size_t type_at = input.Word();
  const auto number = static_cast<int16_t>(input.Word());
  const std::string bytes = input.Rest();
  const auto* begin = reinterpret_cast<const uint8_t*>(bytes.data());
  const qv::Bytes image(begin, bytes.size());
  const uint32_t type = qv::ReadBigEndian(image, {0, 4}, type_at);
  const auto body = qv::FindInFork(image, type, number);
  if (!body) return 0;
  FUZZ_CHECK(body->data() >= begin + 4 && body->size() <= bytes.size());
  const auto at = static_cast<size_t>(body->data() - begin);
  FUZZ_CHECK(at + body->size() <= bytes.size());
  FUZZ_CHECK(qv::ReadBigEndian(image, {0, 4}, at - 4) == body->size());
  FUZZ_CHECK(bytes.size() >= 46);
  return 0;
}

// UTF-7 over any bytes: reading ends and consumes all but a beginning, what is read and written
// again reads the same, and neither depends on where input or output is cut.
#include "format/encodings/utf7.h"
#include "fuzz/fuzz_support.h"

namespace {

using Codes = std::vector<uint32_t>;

// Reads with `step` more bytes each time, in a block of their own.
Codes Decode(const std::string& text, size_t step) {
  Codes codes;
  UTF7DecodeState state;
  size_t at = 0;
  for (size_t end = 0; end < text.size();) {
    end = std::min(text.size(), end + step);
    const std::vector<uint8_t> unread(text.begin() + at, text.begin() + end);
    const uint8_t* in = unread.data();
    for (bool complete = true; complete;) {
      const uint8_t* const before = in;
      const uint32_t code =
          ZRUTF7DecodeNext(&in, unread.data() + unread.size(), &complete, 0, &state);
      FUZZ_CHECK(in >= before && in <= unread.data() + unread.size());
      FUZZ_CHECK(!complete || (in > before && code < 0x110000));
      if (complete) codes.push_back(code);
    }
    at += static_cast<size_t>(in - unread.data());
    FUZZ_CHECK(end - at <= 6);
  }
  return codes;
}

std::string Encode(const Codes& codes) {
  std::string text(codes.size() * qv::kUTF7MostBytes + 2, '\0');
  auto* const start = reinterpret_cast<uint8_t*>(text.data());
  uint8_t* out = start;
  UTF7EncodeState state;
  for (size_t i = 0; i <= codes.size(); ++i) {
    bool complete = false;
    for (size_t room = 0; !complete; ++room) {
      FUZZ_CHECK(room <= qv::kUTF7MostBytes);
      if (i < codes.size()) {
        ZRUTF7EncodeChar(codes[i], &out, out + room, &complete, &state);
      } else {
        qv::UTF7CloseRun(&out, out + room, &complete, &state);
      }
    }
  }
  text.resize(static_cast<size_t>(out - start));
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const size_t step = 1 + input.Byte() % 9;
  const std::string text = input.Rest();
  const Codes codes = Decode(text, SIZE_MAX / 2);
  FUZZ_CHECK(codes == Decode(text, step));
  const std::string written = Encode(codes);
  FUZZ_CHECK(codes == Decode(written, step));
  return 0;
}

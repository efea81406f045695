// Any format over arguments that fit every conversion: the text stays inside its buffer, ends with
// a NUL, and its length is the one returned.
#include <algorithm>
#include <cstring>

#include "fuzz/fuzz_support.h"
#include "text/formatter.h"

namespace {

// Arguments are taken from registers and the stack by what the format says, so there must be enough
// of both kinds: each pointer leads to a writable, NUL-terminated text whose first byte is also a
// valid length.
constexpr int kMostArguments = 8;
constexpr size_t kTextSize = 256;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  uint32_t limit = input.Word() % 8200;
  std::string format = input.Text();
  auto takes = [](char c) { return c == '%' || c == '*'; };
  if (std::count_if(format.begin(), format.end(), takes) > kMostArguments) return 0;

  static char text[kTextSize];
  std::memset(text, 'a', sizeof text - 1);
  text[0] = static_cast<char>(input.Byte());
  double number = static_cast<double>(input.Word()) * 1e17 - 3.5;

  fuzz::GuardedBuffer out(size_t{limit} + 1);
  uint32_t length =
      FormatTextN(out.data(), limit, format.c_str(), text, text, text, text, text, text, text, text,
                  number, number, number, number, number, number, number, number);
  FUZZ_CHECK(out.Intact());
  FUZZ_CHECK(length <= limit && length <= kFormatLimit);
  FUZZ_CHECK(out.data()[length] == '\0');
  return 0;
}

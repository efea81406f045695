// Any text as a mail address: the text stays as it is, nothing is written behind a buffer, cleaning
// in place gives what cleaning elsewhere gives, and a clean address is clean already.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/fuzz_support.h"
#include "net/addresses.h"

namespace {

constexpr size_t kMostInPlace = 255;

struct Cleaned {
  int result;
  std::string output;
  bool operator==(const Cleaned&) const = default;
};

Cleaned Clean(const std::string& address, uint32_t size, uint32_t name_size) {
  std::string text = address + '\0';  // written to by nobody
  fuzz::GuardedBuffer output(size), name(name_size);
  const int result = ZRCleanAddress(text.data(), output.data(), size, name.data(), name_size);
  FUZZ_CHECK(text.compare(0, address.size(), address) == 0 && text.back() == '\0');
  FUZZ_CHECK(output.Intact() && name.Intact());
  FUZZ_CHECK(std::memchr(output.data(), '\0', size) != nullptr);
  return {result, output.data()};
}

Cleaned CleanInPlace(const std::string& address, uint32_t size) {
  fuzz::GuardedBuffer buffer(std::max<size_t>(size, address.size() + 1));
  std::memcpy(buffer.data(), address.c_str(), address.size() + 1);
  const int result = ZRCleanAddress(buffer.data(), buffer.data(), size, nullptr, 0);
  FUZZ_CHECK(buffer.Intact());
  return {result, buffer.data()};
}

// An escaped special can begin a mailbox that is not quoted; by itself it is no beginning.
bool BeginsPlainly(const std::string& address) {
  if (address[0] == '"') return address.find("\"@", 1) != std::string::npos;
  return address[0] > ' ' && address.find_first_of("<>()[]\\,;:@\x7F") != 0;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const uint32_t output_size = 1 + input.Byte(), name_size = input.Byte();
  const std::string address = input.Text();
  const Cleaned cleaned = Clean(address, output_size, name_size);
  FUZZ_CHECK(CleanInPlace(address, output_size) ==
             Clean(address.substr(0, kMostInPlace), output_size, 0));
  // A quoted mailbox with an '@' in it is only found behind a source route.
  const auto signs = std::count(cleaned.output.begin(), cleaned.output.end(), '@');
  if (cleaned.result == 1 && signs == 1 && BeginsPlainly(cleaned.output)) {
    FUZZ_CHECK(Clean(cleaned.output, output_size, name_size) == cleaned);
  }
  return 0;
}

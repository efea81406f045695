// Any text: what is escaped is plain ASCII and comes back as it was; unescaping never writes behind
// its output and gives the same in place; a product URL that can be read is the same record when it
// is built and read again.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/fuzz_support.h"
#include "net/product_urls.h"
#include "net/url_escaping.h"

namespace {

using qv::ProductURL;

constexpr size_t kMostUtf8 = 1023;
constexpr uint32_t kAmple = 4096;

std::string Escape(const std::string& text, uint32_t size, const qv::URLEscapeSet* set) {
  fuzz::GuardedBuffer output(size);
  uint32_t used = size;
  ZRURLEscape(text.data(), static_cast<uint32_t>(text.size()), output.data(), &used, set, kUtf8);
  FUZZ_CHECK(output.Intact() && used <= size);
  return {output.data(), used};
}

std::string Unescape(const std::string& text, uint32_t size, bool slashes, CodePage cp) {
  fuzz::GuardedBuffer output(size), in_place(std::max<size_t>(size, text.size() + 1));
  const uint32_t length =
      ZRURLUnescape(text.c_str(), qv::kNoInputLimit, output.data(), size, slashes, cp);
  FUZZ_CHECK(output.Intact() && length < size && output.data()[length] == '\0');
  std::memcpy(in_place.data(), text.c_str(), text.size() + 1);
  ZRURLUnescape(in_place.data(), qv::kNoInputLimit, in_place.data(), size, slashes, cp);
  FUZZ_CHECK(in_place.Intact() && std::memcmp(in_place.data(), output.data(), length + 1) == 0);
  return {output.data(), length};
}

void CheckEscape(const std::string& text, uint32_t size, size_t set) {
  const qv::URLEscapeSet& escaped = qv::kURLEscapeSets[set];
  const std::string all = Escape(text, kAmple, &escaped), some = Escape(text, size, &escaped);
  FUZZ_CHECK(std::all_of(all.begin(), all.end(), [](char c) { return c >= 0x1F && c < 0x7F; }));
  FUZZ_CHECK((all != text) == (ZRURLNeedsEscape(text.c_str(), &escaped) == 1));
  FUZZ_CHECK(size <= all.size() || some == all);
  // Set 0 leaves '%' and '+' as they are.
  if (set != 0) FUZZ_CHECK(Unescape(all, kAmple, true, kUtf8) == text);
}

bool IsSame(const ProductURL& a, const ProductURL& b) {
  for (const auto part :
       {&ProductURL::user, &ProductURL::password, &ProductURL::host, &ProductURL::port,
        &ProductURL::object, &ProductURL::parameters, &ProductURL::name, &ProductURL::credential}) {
    if (std::strcmp(a.*part, b.*part) != 0) return false;
  }
  return a.number == b.number && a.no_user == b.no_user && a.empty_password == b.empty_password &&
         a.credential_kind == b.credential_kind;
}

void CheckProductURL(const std::string& text) {
  const std::string url = "qvp://" + text;
  std::string work(url.size() + 1, '\0'), work_again(kAmple, '\0');
  ProductURL parts, again;
  if (!qv::ReadProductURL(url.c_str(), work.data(), static_cast<uint32_t>(work.size()), &parts)) {
    return;
  }
  const bool password_alone = *parts.user == '\0' && (*parts.password || parts.empty_password);
  char built[kAmple];
  if (*parts.host == '\0' || password_alone || ZRBuildQVPURL(parts, built, sizeof built) == 0) {
    return;
  }
  FUZZ_CHECK(qv::ReadProductURL(built, work_again.data(), kAmple, &again));
  FUZZ_CHECK(IsSame(parts, again));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr CodePage kPages[] = {kUtf8, 1252, kUtf16Little, 10000};
  fuzz::Input input(data, size);
  const size_t set = input.Byte() % 4;
  const uint32_t output_size = 1 + input.Byte();
  const bool slashes = (input.Byte() & 1) != 0;
  const CodePage cp = kPages[input.Byte() % std::size(kPages)];
  const std::string text = input.Text(kMostUtf8);
  CheckEscape(text, output_size, set);
  Unescape(text, output_size, slashes, cp);
  CheckProductURL(text);
  return 0;
}

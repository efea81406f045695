// Every engine over any bytes: nothing outside the buffers, a smaller output is a prefix of a
// larger one, and a text that arrives in chunks gives the same bytes however it is split.
#include <cstring>

#include "fuzz/fuzz_support.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/unicode_engines.h"

namespace {

constexpr CodePage kPages[] = {kUtf8, kUtf16Little, kUtf16Big, kUtf32Little, kUtf32Big, kUtf7,
                               1252,  1251,         437,       10000,        37,        864,
                               1006,  kPlainAscii,  932,       10001,        20001,     20002};
constexpr CodePage kUnicodePages[] = {kUtf8,        kUtf16Little, kUtf16Big,
                                      kUtf32Little, kUtf32Big,    kUtf7};
constexpr qv::Decomposition kDecompositions[] = {
    qv::Decomposition::kNone, qv::Decomposition::kCanonical, qv::Decomposition::kCompatibility};

// Text of these can be cut and continued only with its state.
bool HasState(CodePage cp) { return cp == kUtf7 || cp == 20002; }

CodePage Page(uint8_t choice) { return kPages[choice % std::size(kPages)]; }

std::string ConvertWhole(const std::string& text, CodePage from, CodePage to,
                         const qv::ConversionOptions& options, size_t room) {
  // Exactly as long as the text: a read behind it is seen.
  std::vector<char> in;
  in.reserve(1);  // an address even for an empty text
  in.assign(text.begin(), text.end());
  fuzz::GuardedBuffer out(room);
  CodePage target = to;
  auto result =
      qv::ConvertThroughUnicode(in.data(), static_cast<uint32_t>(in.size()), from, out.data(),
                                static_cast<uint32_t>(room), &target, options);
  FUZZ_CHECK(out.Intact());
  FUZZ_CHECK(result.written <= room && result.consumed <= in.size());
  return {out.data(), result.written};
}

std::string ConvertInChunks(const std::string& text, CodePage from, CodePage to,
                            const qv::ConversionOptions& options, size_t chunk, size_t room) {
  qv::StreamConverter converter(from, to, options);
  std::string all;
  size_t at = 0;
  while (at < text.size()) {
    size_t take = std::min(chunk, text.size() - at);
    std::vector<char> in(text.begin() + at, text.begin() + at + take);
    fuzz::GuardedBuffer out(room);
    auto result = converter.Convert(in.data(), static_cast<uint32_t>(take), out.data(),
                                    static_cast<uint32_t>(room));
    FUZZ_CHECK(out.Intact() && result.written <= room && result.consumed <= take);
    FUZZ_CHECK(result.consumed > 0 || result.written > 0);
    all.append(out.data(), result.written);
    at += result.consumed;
  }
  for (;;) {
    fuzz::GuardedBuffer out(room);
    auto result = converter.Finish(out.data(), static_cast<uint32_t>(room));
    FUZZ_CHECK(out.Intact() && result.written <= room);
    if (result.written == 0) return all;
    all.append(out.data(), result.written);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  CodePage from = Page(input.Byte()), to = Page(input.Byte());
  if (!qv::IsUnicodeCodePage(from) && !qv::IsUnicodeCodePage(to)) {
    to = kUnicodePages[to % std::size(kUnicodePages)];
  }
  qv::ConversionOptions options{input.Byte() % 7, input.Byte() % 2 == 0 ? 0 : kConvertByteOrderMark,
                                kDecompositions[input.Byte() % std::size(kDecompositions)]};
  const bool decomposes = options.decomposition != qv::Decomposition::kNone;
  size_t small = input.Byte(), chunk = 1 + input.Byte() % 9,
         room = input.Byte() % 9 + (decomposes ? qv::StreamConverter::kLeastRoomDecomposing
                                               : qv::StreamConverter::kLeastRoom);
  std::string text = input.Rest();

  const size_t ample = text.size() * (decomposes ? 128 : 8) + 16;
  std::string whole = ConvertWhole(text, from, to, options, ample);
  std::string cut = ConvertWhole(text, from, to, options, small);
  if (HasState(to)) {
    // It is closed where it ends; read back, it is the beginning all the same.
    const qv::ConversionOptions plain{qv::kKeep, 0};
    whole = ConvertWhole(whole, to, kUtf8, plain, ample);
    cut = ConvertWhole(cut, to, kUtf8, plain, ample);
    FUZZ_CHECK(whole.compare(0, cut.size(), cut) == 0);
    whole = ConvertWhole(text, from, to, options, ample);
  } else {
    FUZZ_CHECK(whole.compare(0, cut.size(), cut) == 0);
  }
  std::string chunked = ConvertInChunks(text, from, to, options, chunk, room);
  FUZZ_CHECK(chunked == whole);

  // The terminated form, and the in-place one, over the same bytes.
  fuzz::GuardedBuffer buffer(text.size() + 8);
  std::memcpy(buffer.data(), text.data(), text.size());
  std::memset(buffer.data() + text.size(), 0, 8);
  uint32_t count = CPConvert(buffer.data(), from, to, static_cast<uint32_t>(buffer.size()));
  FUZZ_CHECK(buffer.Intact());
  FUZZ_CHECK(count == 0 || CPStrLen(buffer.data(), to) <= buffer.size());
  return 0;
}

// Every pair converter over any bytes: nothing outside the buffers; an output that ends for want of
// room is the conversion of the bytes consumed; and what a converter writes leads back to a text
// that gives the same again.
#include <algorithm>

#include "fuzz/fuzz_support.h"
#include "text/east_asian_forms.h"
#include "text/pair_converters.h"

namespace {

constexpr CodePage kPages[] = {932,   10001, 20001, 20002, 936,  10025,
                               20004, 20014, 949,   10003, 20003};

CodePage Page(uint8_t choice) { return kPages[choice % std::size(kPages)]; }

constexpr size_t kMostCut = 5;  // more bytes than the end of a text can cut

struct Converted {
  std::string text;
  size_t consumed;
  bool operator==(const Converted&) const = default;
};

Converted Convert(const std::string& text, CodePage from, CodePage to, int mode, size_t room) {
  // Exactly as long as the text: a read behind it is seen.
  std::vector<char> in;
  in.reserve(1);  // an address even for an empty text
  in.assign(text.begin(), text.end());
  fuzz::GuardedBuffer out(room);
  auto written = static_cast<uint32_t>(room);
  uint32_t consumed = qv::PairConverter(from, to).Convert(
      in.data(), static_cast<uint32_t>(in.size()), out.data(), &written, mode);
  FUZZ_CHECK(out.Intact() && written <= room && consumed <= in.size());
  return {{out.data(), written}, consumed};
}

Converted ConvertWhole(const std::string& text, CodePage from, CodePage to, int mode) {
  return Convert(text, from, to, mode, text.size() * 8 + 16);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  CodePage from = Page(input.Byte()), to = Page(input.Byte());
  int mode = input.Byte() % 7;
  size_t room = input.Byte();
  std::string text = input.Rest();

  Converted part = Convert(text, from, to, mode, room);
  Converted alone = ConvertWhole(text.substr(0, part.consumed), from, to, mode);
  // The last bytes may begin a character when nothing shows that they do not.
  FUZZ_CHECK(alone == part ||
             (alone.consumed < part.consumed && part.consumed - alone.consumed < kMostCut));

  Converted whole = ConvertWhole(text, from, to, mode);
  if (from != to && !qv::IsEastAsianPair(from, to)) {
    FUZZ_CHECK(whole == (Converted{"", 0}));
    return 0;
  }
  FUZZ_CHECK(text.size() - whole.consumed < kMostCut);
  Converted back = ConvertWhole(whole.text, to, from, qv::kKeep);
  FUZZ_CHECK(back.consumed == whole.text.size());
  // An ESC that began no sequence cannot go back into text that has sequences.
  if (from != to && qv::EastAsianFormOf(from) == qv::EastAsianForm::kIso2022) {
    std::replace(whole.text.begin(), whole.text.end(), '\x1B', static_cast<char>(kReplacement));
  }
  FUZZ_CHECK(ConvertWhole(back.text, from, to, qv::kKeep) ==
             (Converted{whole.text, back.text.size()}));
  return 0;
}

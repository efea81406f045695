// Any text, fed in any pieces: echo mode gives every byte back once and in order, each find stands
// where it says, the pieces make no difference, and a silent finder, which looks bytes up in a
// table, finds what one finds that follows the rules.
#include <algorithm>
#include <string>
#include <vector>

#include "fuzz/fuzz_support.h"
#include "net/links.h"

namespace {

constexpr size_t kMostAddress = 256;

struct Find {
  uint32_t position;
  std::string text;
  bool is_url;
  bool operator==(const Find&) const = default;
};

struct Finder : ZRURLFinder {
  using ZRURLFinder::ZRURLFinder;
  void EchoChar(uint8_t byte) override { echoed += static_cast<char>(byte); }
  void FoundURLRange(uint32_t position, uint32_t length) override {
    finds.push_back({position, std::string(length, '\0'), true});
  }
  void FoundAddressRange(uint32_t position, uint32_t length) override {
    finds.push_back({position, std::string(length, '\0'), false});
  }
  void FoundURL(const char* text) override { Found(text); }
  void FoundAddress(const char* text) override { Found(text); }
  void Found(const std::string& text) {
    FUZZ_CHECK(text.size() == finds.back().text.size());
    finds.back().text = text;
    echoed += text;
  }

  std::string echoed;
  std::vector<Find> finds;
};

struct Settings {
  bool no_spaces;
  CodePage cp;
};

Finder Run(uint32_t mode, const Settings& settings, const std::string& text, size_t piece) {
  Finder finder(mode, settings.no_spaces);
  finder.SetCodePage(settings.cp);
  for (size_t at = 0; at < text.size(); at += piece) {
    const size_t length = std::min(piece, text.size() - at);
    if (length == 1) {
      finder.Feed(static_cast<uint8_t>(text[at]));
    } else {
      finder.FeedText(text.data() + at, length);
    }
  }
  finder.FeedText(nullptr, 0);
  return finder;
}

void CheckEcho(const Finder& echo, const Settings& settings, const std::string& text,
               size_t quotes) {
  const bool cut = std::any_of(echo.finds.begin(), echo.finds.end(), [](const Find& find) {
    return !find.is_url && find.text.size() == kMostAddress;
  });
  const bool overtakes = quotes > 1 && settings.cp != 10000;
  if (cut || overtakes) return;
  FUZZ_CHECK(echo.echoed == text);
  for (const Find& find : echo.finds) {
    FUZZ_CHECK(text.compare(find.position, find.text.size(), find.text) == 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  constexpr CodePage kPages[] = {10000, 932, 950, 936, 20014};
  fuzz::Input input(data, size);
  const Settings settings = {(input.Byte() & 1) != 0, kPages[input.Byte() % std::size(kPages)]};
  const size_t piece = 1 + input.Byte();
  std::string text = input.Rest();
  std::replace(text.begin(), text.end(), '\0', ' ');
  const auto quotes = static_cast<size_t>(std::count(text.begin(), text.end(), '"'));

  const Finder echo = Run(ZRURLFinder::kEchoMode, settings, text, piece);
  CheckEcho(echo, settings, text, quotes);
  const Finder whole = Run(0, settings, text, std::max<size_t>(text.size(), 1));
  FUZZ_CHECK(Run(0, settings, text, piece).finds == whole.finds);
  FUZZ_CHECK(Run(0, settings, text, 1).finds == whole.finds);
  // With more quotes one may wait in front of a token.
  if (quotes < 2) FUZZ_CHECK(whole.finds == echo.finds);
  return 0;
}

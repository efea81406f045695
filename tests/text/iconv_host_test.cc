// Whole texts between the Unicode forms, against iconv.
#include <gtest/gtest.h>
#include <iconv.h>

#include "tests/text/module_tables.h"

namespace qv {
namespace {

class Iconv : public test::ModuleTables {};

TEST_F(Iconv, AgreesOnTexts) {
  const struct {
    CodePage from, to;
    const char *from_name, *to_name;
  } kPairs[] = {
      {kUtf8, kUtf16Little, "UTF-8", "UTF-16LE"}, {kUtf8, kUtf16Big, "UTF-8", "UTF-16BE"},
      {kUtf8, kUtf32Little, "UTF-8", "UTF-32LE"}, {kUtf16Little, kUtf8, "UTF-16LE", "UTF-8"},
      {kUtf32Big, kUtf8, "UTF-32BE", "UTF-8"},    {kUtf16Big, kUtf32Big, "UTF-16BE", "UTF-32BE"},
      {kUtf8, kUtf8, "UTF-8", "UTF-8"},           {kUtf16Little, kUtf16Big, "UTF-16LE", "UTF-16BE"},
  };
  uint32_t seed = 12345;
  const auto next = [&seed](uint32_t limit) {
    seed = seed * 1664525 + 1013904223;
    return (seed >> 8) % limit;
  };
  for (int round = 0; round < 200; ++round) {
    std::string codes;  // UTF-32 little-endian
    const uint32_t length = next(120), wideness = next(5);
    for (uint32_t i = 0; i < length; ++i) {
      constexpr uint32_t kLimits[] = {0x80, 0x800, 0xD800, 0x110000};
      uint32_t code = next(next(12) ? 0x80 : kLimits[next(1 + std::min(wideness, 3u))]);
      if (code >= 0xD800 && code < 0xE000) code -= 0x800;
      for (int shift = 0; shift < 32; shift += 8) codes += static_cast<char>(code >> shift);
    }
    for (const auto& pair : kPairs) {
      const auto by_iconv = [](const char* to, const char* from, std::string in) {
        const iconv_t converter = iconv_open(to, from);
        std::string out(in.size() * 4 + 4, '\0');
        char *in_at = in.data(), *out_at = out.data();
        size_t in_left = in.size(), out_left = out.size();
        EXPECT_EQ(iconv(converter, &in_at, &in_left, &out_at, &out_left), 0u);
        iconv_close(converter);
        return out.substr(0, out.size() - out_left);
      };
      const std::string input = by_iconv(pair.from_name, "UTF-32LE", codes);
      ASSERT_EQ(test::ConvertWithEngine(input, pair.from, pair.to, kKeep).text,
                by_iconv(pair.to_name, pair.from_name, input))
          << pair.from_name << " to " << pair.to_name;
    }
  }
}

}  // namespace
}  // namespace qv

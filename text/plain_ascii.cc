#include "text/plain_ascii.h"

#include <map>

namespace qv {
namespace {

constexpr uint32_t kRowCodes = 16;

// U+00A0 to U+017F: letters without accents, and look-alikes; '_' where there is none.
constexpr uint32_t kFirstLetter = 0xA0;
constexpr char kLetters[] =
    " !c__Y|_\"ca<_-r-"  // 00A0
    "o_23'u_.,1o>____"   // 00B0
    "AAAAAAACEEEEIIII"   // 00C0
    "DNOOOOOxOUUUUYTs"   // 00D0
    "aaaaaaaceeeeiiii"   // 00E0
    "dnooooo_ouuuuyty"   // 00F0
    "AaAaAaCcCcCcCcDd"   // 0100
    "DdEeEeEeEeEeGgGg"   // 0110
    "GgGgHhHhIiIiIiIi"   // 0120
    "IiIiJjKkkLlLlLlL"   // 0130
    "lLlNnNnNnnNnOoOo"   // 0140
    "OoOoRrRrRrSsSsSs"   // 0150
    "SsTtTtTtUuUuUuUu"   // 0160
    "UuUuWwYyYZzZzZzs";  // 0170
static_assert(sizeof kLetters - 1 == 0x180 - kFirstLetter);

struct LookAlike {
  uint32_t code;
  char plain;
};
constexpr LookAlike kSigns[] = {
    {0x0192, 'f'}, {0x02C6, '^'},  {0x02DC, '~'},  {0x2010, '-'}, {0x2011, '-'}, {0x2013, '-'},
    {0x2014, '-'}, {0x2018, '\''}, {0x2019, '\''}, {0x201A, ','}, {0x201C, '"'}, {0x201D, '"'},
    {0x201E, '"'}, {0x2020, '+'},  {0x2021, '+'},  {0x2022, '*'}, {0x2026, '.'}, {0x2030, '%'},
    {0x2039, '<'}, {0x203A, '>'},  {0x2122, 'T'},
};

}  // namespace

std::vector<uint8_t> PlainAsciiToUnicode() { return std::vector<uint8_t>(256); }

std::vector<uint8_t> PlainAsciiFromUnicode() {
  std::map<uint32_t, char> plain;
  for (uint32_t i = 0; i + 1 < sizeof kLetters; ++i) {
    if (kLetters[i] != '_') plain[kFirstLetter + i] = kLetters[i];
  }
  for (const LookAlike& sign : kSigns) plain[sign.code] = sign.plain;
  std::vector<uint8_t> body;
  uint32_t open_row = 0;
  for (const auto& [code, letter] : plain) {
    const uint32_t row = code / kRowCodes;
    if (row != open_row) {
      body.insert(body.end(), {static_cast<uint8_t>(row >> 8), static_cast<uint8_t>(row)});
      body.resize(body.size() + kRowCodes);
      open_row = row;
    }
    body[body.size() - kRowCodes + code % kRowCodes] = static_cast<uint8_t>(letter);
  }
  return body;
}

}  // namespace qv

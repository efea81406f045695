#include "format/encodings/utf7.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using Codes = std::vector<uint32_t>;

const uint8_t* Bytes(const std::string& text) {
  return reinterpret_cast<const uint8_t*>(text.data());
}

// Reads all characters; `consumed` is where the reading ended. The input grows by `step` bytes, in
// a block of its own each time.
Codes Decode(const std::string& text, size_t* consumed = nullptr, size_t step = SIZE_MAX) {
  Codes codes;
  UTF7DecodeState state;
  size_t at = 0;
  for (size_t end = 0; end < text.size();) {
    end += std::min(step, text.size() - end);
    const std::string unread = text.substr(at, end - at);
    const uint8_t* in = Bytes(unread);
    for (bool complete = true; complete;) {
      const uint8_t* const before = in;
      const uint32_t code =
          ZRUTF7DecodeNext(&in, Bytes(unread) + unread.size(), &complete, 7, &state);
      EXPECT_EQ(state.start, before);
      EXPECT_EQ(state.caller_value, 7u);
      if (complete) codes.push_back(code);
    }
    at += static_cast<size_t>(in - Bytes(unread));
  }
  if (consumed != nullptr) *consumed = at;
  return codes;
}

// Writes the codes, giving each as much room as it asks for, and closes the run.
std::string Encode(const Codes& codes, bool close = false) {
  std::vector<uint8_t> room(codes.size() * qv::kUTF7MostBytes + 2);
  UTF7EncodeState state;
  uint8_t* out = room.data();
  bool complete = true;
  for (size_t i = 0; i <= codes.size(); ++i) {
    if (i == codes.size() && !close) break;
    // One byte after the other, until it fits: what fails leaves everything as it was.
    uint8_t* const before = out;
    const uint32_t phase = state.phase, mode = state.mode;
    complete = false;
    for (size_t bytes = 0; !complete; ++bytes) {
      EXPECT_EQ(out, before);
      EXPECT_EQ(state.phase, phase);
      EXPECT_EQ(state.mode, mode);
      EXPECT_LE(bytes, qv::kUTF7MostBytes);
      if (i < codes.size()) {
        ZRUTF7EncodeChar(codes[i], &out, before + bytes, &complete, &state);
      } else {
        qv::UTF7CloseRun(&out, before + bytes, &complete, &state);
      }
    }
    EXPECT_EQ(state.position, out);
  }
  return {room.data(), out + (state.phase != 0)};
}

TEST(Utf7, BothWays) {
  const struct {
    const char* name;
    std::string text;
    Codes codes;
  } kRows[] = {
      {"not identical to", "A+ImIDkQ.", {'A', 0x2262, 0x391, '.'}},
      {"a smile in a sentence",
       "Hi Mom -+Jjo--!",
       {'H', 'i', ' ', 'M', 'o', 'm', ' ', '-', 0x263A, '-', '!'}},
      {"Japanese", "+ZeVnLIqe", {0x65E5, 0x672C, 0x8A9E}},
      {"pounds",
       "Item 3 is +AKM-1.",
       {'I', 't', 'e', 'm', ' ', '3', ' ', 'i', 's', ' ', 0xA3, '1', '.'}},
      {"plus", "1+-2", {'1', '+', '2'}},
      {"plus inside a run", "+AOkAKw", {0xE9, '+'}},
      {"a letter closes with a minus", "+AOk-a", {0xE9, 'a'}},
      {"a blank closes by itself", "+AOk x", {0xE9, ' ', 'x'}},
      {"an optional direct one stays in the run", "!+AOkAIQ", {'!', 0xE9, '!'}},
      {"a slash is a digit", "+AOk-/", {0xE9, '/'}},
      {"a pair at each phase", "+2D3eANg93gDYPd4A", {0x1F600, 0x1F600, 0x1F600}},
      {"a pair after one unit and after two",
       "+AOnYPd4AAOkA6dg93gA",
       {0xE9, 0x1F600, 0xE9, 0xE9, 0x1F600}},
      {"third unit from 8000", "+AOkA6YAA", {0xE9, 0xE9, 0x8000}},
      {"controls and backslash are never direct", "+AAEAXAB+", {1, '\\', '~'}},
      {"the highest", "+2//f/w", {0x10FFFF}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Decode(row.text), row.codes);
    EXPECT_EQ(Encode(row.codes), row.text);
    for (size_t step : {1u, 2u, 3u}) EXPECT_EQ(Decode(row.text, nullptr, step), row.codes);
  }
  EXPECT_EQ(Encode({0x110000}), Encode({26}));
}

TEST(Utf7, DecodesAnyBytes) {
  const struct {
    const char* name;
    std::string text;
    Codes codes;
    size_t unread = 0;
  } kRows[] = {
      {"closing minus", "+AGE-", {'a'}},
      {"closing minus, then a minus", "+AGE--", {'a', '-'}},
      {"ended by a blank", "+AGE x", {'a', ' ', 'x'}},
      {"pending digit at the end", "+AGE", {'a'}, 1},
      {"a unit that is cut", "+AG", {}, 2},
      {"an opened run", "a+", {'a'}},
      {"a run of nothing", "+!", {'!'}},
      {"breaks off inside a unit", "+AGEA!", {'a', '!'}},
      {"breaks off with a minus", "+AG-b", {'b'}},
      {"a run behind a run", "+AGE-+AGI-", {'a', 'b'}},
      {"a byte above 7F", "\xE9+AGE\xE9", {0xE9, 'a', 0xE9}},
      {"lone high, then direct", "+2D0!", {26, '!'}},
      {"lone high, run closed", "+2D0-a", {26, 'a'}},
      {"lone high, then a letter in the run", "+2D0AYQ-", {26, 'a'}},
      {"high, high, low", "+2D3YPd4A", {26, 0x1F600}},
      {"lone high, cut", "+2D0", {}, 3},
      {"half a low", "+2D3eA", {}, 5},
      {"lone low", "+3gA-", {0xDE00}},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    for (size_t step : {99u, 1u, 2u, 5u}) {
      size_t consumed = 0;
      EXPECT_EQ(Decode(row.text, &consumed, step), row.codes);
      EXPECT_EQ(row.text.size() - consumed, row.unread);
    }
  }
}

TEST(Utf7, CloseLeavesNoRunOpen) {
  const struct {
    const char* name;
    Codes codes;
    std::string text;
  } kRows[] = {
      {"nothing", {}, ""},
      {"outside a run", {'a'}, "a"},
      {"one unit", {0xE9}, "+AOk-"},
      {"two units", {0xE9, 0xE9}, "+AOkA6Q-"},
      {"three units", {0xE9, 0xE9, 0xE9}, "+AOkA6QDp-"},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.name);
    EXPECT_EQ(Encode(row.codes, true), row.text);
  }
}

TEST(Utf7, EveryCodePointInEveryNeighbourhood) {
  for (const Codes& before :
       {Codes{}, Codes{'x'}, Codes{0xE9}, Codes{0xE9, 0xE9}, Codes{0xE9, 0xE9, 0xE9}}) {
    Codes codes;
    for (uint32_t code = 0; code < 0x110000; code += code < 0x3000 ? 1 : 61) {
      if (code >= 0xD800 && code < 0xE000) continue;
      codes.insert(codes.end(), before.begin(), before.end());
      codes.push_back(code);
    }
    ASSERT_EQ(Decode(Encode(codes, true)), codes) << before.size();
  }
}

}  // namespace

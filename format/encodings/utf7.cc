#include "format/encodings/utf7.h"

#include <array>
#include <cstddef>

#include "format/encodings/base64_digits.h"

static_assert(sizeof(void*) != 4 ||
              (sizeof(UTF7DecodeState) == 16 && sizeof(UTF7EncodeState) == 12));

namespace qv {
namespace {

constexpr uint32_t kReplacement = 0x1A;
constexpr uint32_t kModeDirect = 0, kModeRun = 3;
constexpr uint32_t kPhaseStart = 8;  // of a decoder behind the '+'
constexpr uint32_t kUnitBits = 16, kDigitBits = 6;
constexpr uint32_t kFirstSupplementary = 0x10000, kCodeLimit = 0x110000;

constexpr bool IsHigh(uint32_t unit) { return (unit & ~0x3FFu) == 0xD800; }
constexpr bool IsLow(uint32_t unit) { return (unit & ~0x3FFu) == 0xDC00; }

// Bits of the digit at the position that belong to the next unit.
constexpr uint32_t BitsLeft(uint32_t phase) {
  return phase == 0 || phase == kPhaseStart ? 0 : kDigitBits - phase;
}

// --- Decoding ---

enum class UnitEnd {
  kRead,   // a whole unit
  kCut,    // the input ended first
  kBreak,  // a byte that is no digit came first: the position stands at it
};

// Reads one unit of a run; position and phase move when it is whole or the run breaks off.
UnitEnd ReadUnit(const uint8_t*& in, const uint8_t* in_end, uint32_t& phase, uint32_t& unit) {
  const uint8_t* at = in;
  uint32_t bits = 0, wanted = kUnitBits;
  uint32_t fresh =
      BitsLeft(phase) == 0 ? kDigitBits : BitsLeft(phase);  // bits of the digit at `at`
  while (true) {
    if (at == in_end) return UnitEnd::kCut;
    const int value = Base64Value(*at);
    if (value < 0) break;
    const uint32_t digit = static_cast<uint32_t>(value) & ((1u << fresh) - 1);
    if (fresh > wanted) {
      // The digit is shared with the next unit and stays at the position.
      unit = bits << wanted | digit >> (fresh - wanted);
      phase = wanted;
      in = at;
      return UnitEnd::kRead;
    }
    bits = bits << fresh | digit;
    wanted -= fresh;
    fresh = kDigitBits;
    ++at;
    if (wanted == 0) break;
  }
  in = at;
  phase = 0;
  unit = bits;
  return wanted == 0 ? UnitEnd::kRead : UnitEnd::kBreak;
}

// Reads a character of the run. kRead: `code` is it.
UnitEnd ReadRunCharacter(const uint8_t*& in, const uint8_t* in_end, uint32_t& phase,
                         uint32_t& code) {
  const uint8_t* at = in;
  uint32_t now = phase;
  const UnitEnd first = ReadUnit(at, in_end, now, code);
  if (first == UnitEnd::kCut) return first;
  if (first == UnitEnd::kRead && IsHigh(code)) {
    const uint8_t* behind = at;
    uint32_t then = now, low = 0;
    const UnitEnd second = ReadUnit(behind, in_end, then, low);
    if (second == UnitEnd::kCut) return second;
    if (second == UnitEnd::kRead && IsLow(low)) {
      code = kFirstSupplementary + ((code & 0x3FF) << 10 | (low & 0x3FF));
      at = behind;
      now = then;
    } else {
      code = kReplacement;  // what follows is read again, from behind this unit
    }
  }
  in = at;
  phase = now;
  return first;
}

// --- Encoding ---

enum class Directness : uint8_t { kNever, kOutsideRuns, kAlways };

constexpr std::array<Directness, 128> MakeDirectness() {
  std::array<Directness, 128> classes{};
  const auto mark = [&classes](const char* characters, Directness directness) {
    for (; *characters != '\0'; ++characters) {
      classes[static_cast<uint8_t>(*characters)] = directness;
    }
  };
  mark("!\"#$%&*;<=>@[]^_`{|}", Directness::kOutsideRuns);
  mark("\t\r\n '(),-./0123456789:?", Directness::kAlways);
  mark("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz", Directness::kAlways);
  return classes;
}
constexpr std::array<Directness, 128> kDirectness = MakeDirectness();

Directness DirectnessOf(uint32_t code) {
  return code < kDirectness.size() ? kDirectness[code] : Directness::kNever;
}

// Bytes that a unit or pair takes from the position on, the partial digit there among them.
uint32_t RunBytes(uint32_t units, uint32_t phase) {
  return (phase + units * kUnitBits + kDigitBits - 1) / kDigitBits;
}

// Continues the bit stream with one unit.
void WriteUnit(uint32_t unit, uint8_t*& out, uint32_t& phase) {
  uint32_t pending = 0, bits = kUnitBits;
  if (phase != 0) {
    const int digit = Base64Value(*out);
    pending = (digit < 0 ? 0u : static_cast<uint32_t>(digit)) >> (kDigitBits - phase);
    bits += phase;
  }
  const uint32_t stream = pending << kUnitBits | unit;
  while (bits >= kDigitBits) {
    bits -= kDigitBits;
    *out++ = static_cast<uint8_t>(kBase64Digits[stream >> bits & 63]);
  }
  if (bits > 0) *out = static_cast<uint8_t>(kBase64Digits[stream << (kDigitBits - bits) & 63]);
  phase = bits;
}

size_t RoomAt(const uint8_t* out, const uint8_t* out_end) {
  return out < out_end ? static_cast<size_t>(out_end - out) : 0;
}

// A character that is written as itself; `text` and `size` are it and what has to stand before it.
bool WriteDirect(const char* text, uint32_t size, uint8_t*& out, const uint8_t* out_end,
                 UTF7EncodeState& state) {
  const uint32_t partial = state.phase != 0 ? 1 : 0;
  if (RoomAt(out, out_end) < partial + size) return false;
  out += partial;
  for (uint32_t i = 0; i < size; ++i) *out++ = static_cast<uint8_t>(text[i]);
  state.phase = 0;
  state.mode = kModeDirect;
  return true;
}

bool WriteInRun(uint32_t code, uint8_t*& out, const uint8_t* out_end, UTF7EncodeState& state) {
  if (code >= kCodeLimit) code = kReplacement;
  const uint32_t opening = state.mode == kModeDirect ? 1 : 0;
  const uint32_t units = code < kFirstSupplementary ? 1 : 2;
  if (RoomAt(out, out_end) < opening + RunBytes(units, state.phase)) return false;
  if (opening != 0) *out++ = '+';
  state.mode = kModeRun;
  if (units == 1) {
    WriteUnit(code, out, state.phase);
  } else {
    const uint32_t offset = code - kFirstSupplementary;
    WriteUnit(0xD800 | offset >> 10, out, state.phase);
    WriteUnit(0xDC00 | (offset & 0x3FF), out, state.phase);
  }
  return true;
}

bool Write(uint32_t code, uint8_t*& out, const uint8_t* out_end, UTF7EncodeState& state) {
  const Directness directness = DirectnessOf(code);
  const char character = static_cast<char>(code);
  if (state.mode == kModeDirect) {
    if (code == '+') return WriteDirect("+-", 2, out, out_end, state);
    if (directness != Directness::kNever) return WriteDirect(&character, 1, out, out_end, state);
    return WriteInRun(code, out, out_end, state);
  }
  if (directness != Directness::kAlways) return WriteInRun(code, out, out_end, state);
  // A '-' closes the run where the character would be taken for a part of it.
  const char closed[] = {'-', character};
  const bool close = code == '-' || Base64Value(static_cast<uint8_t>(code)) >= 0;
  return WriteDirect(close ? closed : &character, close ? 2 : 1, out, out_end, state);
}

}  // namespace

void UTF7CloseRun(uint8_t** out, uint8_t* out_end, bool* complete, UTF7EncodeState* state) {
  *complete = state->mode == kModeDirect || WriteDirect("-", 1, *out, out_end, *state);
  if (*complete) state->position = *out;
}

}  // namespace qv

uint32_t ZRUTF7DecodeNext(const uint8_t** in, const uint8_t* in_end, bool* complete,
                          uintptr_t caller_value, UTF7DecodeState* state) {
  state->caller_value = caller_value;
  state->start = *in;
  *complete = true;
  const uint8_t*& at = *in;
  while (at != in_end) {
    if (state->in_run == 0) {
      const uint8_t byte = *at++;
      if (byte != '+') return byte;
      state->in_run = 1;
      state->phase = qv::kPhaseStart;
      continue;
    }
    const bool opened = state->phase == qv::kPhaseStart && *at == '-';
    uint32_t code = 0;
    const qv::UnitEnd end = qv::ReadRunCharacter(at, in_end, state->phase, code);
    if (end == qv::UnitEnd::kRead) return code;
    if (end == qv::UnitEnd::kCut) break;
    state->in_run = 0;
    if (*at == '-') ++at;
    if (opened) return '+';
  }
  *complete = false;
  return 0;
}

void ZRUTF7EncodeChar(uint32_t code, uint8_t** out, uint8_t* out_end, bool* complete,
                      UTF7EncodeState* state) {
  *complete = qv::Write(code, *out, out_end, *state);
  if (*complete) state->position = *out;
}

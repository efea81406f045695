// The fast part of the engines' loop: sixteen bytes at a time for readers whose bytes below 80 are
// ASCII.
//
// Pure ASCII is copied or widened block by block. In mixed text each round converts the ASCII
// before the next other byte, and that one character, with no branch on the length of either; all
// room is checked once per round. What a round cannot do (line ends to rewrite, ill-formed
// sequences, the last bytes) is left to the loop that converts one character at a time.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "text/ascii_block.h"
#include "text/engine_forms.h"
#include "text/engine_loop.h"
#include "text/wide_forms.h"

namespace qv {

// --- What is known of each reader and writer ---

// `kReads`: bytes below 80 are ASCII characters (for ByteReader and ByteWriter where their table
// says so). Decode reads one character of at most kMostBytes bytes, which lie before the end; false
// where it takes the careful reader. kComesInRuns, where it is there: one such character follows
// another.
template <class Reader>
struct FastReader {
  static constexpr bool kReads = false;
};

template <>
struct FastReader<ByteReader> {
  static constexpr bool kReads = true;
  static constexpr uint32_t kMostBytes = 1;
  static bool IsAscii(const ByteReader& reader) { return reader.table.is_ascii(); }
  [[gnu::always_inline]] static bool Decode(const ByteReader& reader, const uint8_t* in,
                                            ReadCharacter& character) {
    character = {reader.table.CodeOf(*in), 1};
    return true;
  }
};

template <>
struct FastReader<Utf8Reader> {
  static constexpr bool kReads = true;
  static constexpr uint32_t kMostBytes = 4;
  static bool IsAscii(const Utf8Reader&) { return true; }
  [[gnu::always_inline]] static bool Decode(const Utf8Reader&, const uint8_t* in,
                                            ReadCharacter& character) {
    const uint32_t bytes = LoadUnit<4, true>(in);
    const Lead& lead = kLeads[bytes >> 27];
    character.code = ((bytes >> 24 & lead.bits) << 18 | (bytes >> 16 & 0x3F) << 12 |
                      (bytes >> 8 & 0x3F) << 6 | (bytes & 0x3F)) >>
                     lead.shift;
    character.size = lead.size;
    return (bytes & lead.tail_mask) == lead.tail;
  }

 private:
  // By the top five bits of the lead byte; a tail that no masked bytes can equal marks those that
  // begin no sequence of up to four bytes.
  struct Lead {
    uint8_t size, bits, shift;
    uint32_t tail_mask, tail;
  };
  static constexpr Lead kAscii{1, 0x7F, 18, 0, 0};
  static constexpr Lead kNone{1, 0, 0, 0, 1};
  static constexpr Lead kTwo{2, 0x1F, 12, 0xC00000, 0x800000};
  static constexpr Lead kThree{3, 0x0F, 6, 0xC0C000, 0x808000};
  static constexpr Lead kFour{4, 0x07, 0, 0xC0C0C0, 0x808080};
  static constexpr Lead kLeads[32] = {
      kAscii, kAscii, kAscii, kAscii, kAscii, kAscii, kAscii, kAscii, kAscii, kAscii, kAscii,
      kAscii, kAscii, kAscii, kAscii, kAscii, kNone,  kNone,  kNone,  kNone,  kNone,  kNone,
      kNone,  kNone,  kTwo,   kTwo,   kTwo,   kTwo,   kThree, kThree, kFour,  kNone};
};

// Over a double-byte table: a byte alone or a pair. What is no character of the table is left to
// the careful reader.
template <class Form>
struct FastPairReader {
  using Reader = WideReader<Form>;
  static constexpr bool kReads = true;
  static constexpr uint32_t kMostBytes = 2;
  static constexpr bool kComesInRuns = true;
  static bool IsAscii(const Reader& reader) { return reader.table().is_ascii(); }
};

template <>
struct FastReader<WideReader<DoubleByteReader>> : FastPairReader<DoubleByteReader> {
  [[gnu::always_inline]] static bool Decode(const Reader& reader, const uint8_t* in,
                                            ReadCharacter& character) {
    const bool pair = reader.table().is_lead(in[0]);
    const uint32_t code = pair ? LoadUnit<2, true>(in) : in[0];
    character = {reader.table().ValueOf(code), pair ? 2u : 1u};
    return character.code != kReplacement && (!pair || in[1] >= WideTable::kLeastTrail);
  }
};

// ASCII, and pairs of JIS X 0208.
template <>
struct FastReader<WideReader<JapaneseEucReader>> : FastPairReader<JapaneseEucReader> {
  [[gnu::always_inline]] static bool Decode(const Reader& reader, const uint8_t* in,
                                            ReadCharacter& character) {
    if (in[0] < 0x80) {
      character = {in[0], 1};
      return true;
    }
    const uint32_t pair = LoadUnit<2, true>(in);
    character = {reader.table().ValueOf(pair & 0x7F7F), 2};
    return (pair & 0x8080) == 0x8080 && in[0] > 0xA0 && in[1] > 0xA0 &&
           character.code != kReplacement;
  }
};

// `kWrites`: ASCII characters are their own bytes, in units of kUnit bytes (for tables where they
// say so). Store stores a block of ASCII.
template <class Writer>
struct FastWriter {
  static constexpr bool kWrites = false;
};

struct NarrowUnits {
  static constexpr bool kWrites = true;
  static constexpr uint32_t kUnit = 1;
  static void Store(const AsciiBlock& block, uint8_t* out) { block.Store(out); }
};

template <>
struct FastWriter<ByteWriter> : NarrowUnits {
  static bool IsAscii(const ByteWriter& writer) { return writer.table.is_ascii(); }
};

template <>
struct FastWriter<Utf8Writer> : NarrowUnits {
  static bool IsAscii(const Utf8Writer&) { return true; }
};

// Forms without a state.
template <class Form>
requires(!std::is_reference_v<Form>) struct FastWriter<WideWriter<Form>> : NarrowUnits {
  static bool IsAscii(const WideWriter<Form>& writer) { return writer.table().is_ascii(); }
};

template <class Writer, int unit, bool big_endian>
struct WideUnits {
  static constexpr bool kWrites = true;
  static constexpr uint32_t kUnit = unit;
  static bool IsAscii(const Writer&) { return true; }
  static void Store(const AsciiBlock& block, uint8_t* out) {
    block.StoreWide<unit, big_endian>(out);
  }
};
template <bool big_endian>
struct FastWriter<Utf16Writer<big_endian>> : WideUnits<Utf16Writer<big_endian>, 2, big_endian> {};
template <bool big_endian>
struct FastWriter<Utf32Writer<big_endian>> : WideUnits<Utf32Writer<big_endian>, 4, big_endian> {};

// --- The rounds ---

constexpr uint32_t kMostCharacterOutput = 4;  // bytes of one character in any form

// Bits of the line ends that have to be rewritten. A CR in the last place is one of them: its LF
// may follow the block.
inline uint32_t WrongLineEnds(const AsciiBlock& block, LineEndMode line_ends) {
  const uint32_t cr = block.EqualMask('\r'), lf = block.EqualMask('\n');
  const uint32_t pair = cr & lf >> 1;
  switch (line_ends) {
    case kCr:
      return lf | pair | (cr & 1u << (AsciiBlock::kBytes - 1));
    case kLf:
      return cr;
    case kCrLf:
      return (cr | lf) & ~(pair | pair << 1);
    default:
      return 0;
  }
}

// Converts as much as whole rounds can; the cursor then stands at a character. All of it is inlined
// into ConvertBlocks, so that the cursor stays in registers.
template <class Reader, class Writer, bool rewrite>
class BlockLoop {
 public:
  BlockLoop(const Reader& reader, const Writer& writer, LineEndMode line_ends, EngineCursor& cursor)
      : reader_(reader), writer_(writer), line_ends_(line_ends), cursor_(cursor), at_(cursor) {}
  ~BlockLoop() {
    cursor_.in = at_.in;
    cursor_.out = at_.out;
  }
  BlockLoop(const BlockLoop&) = delete;
  BlockLoop& operator=(const BlockLoop&) = delete;

  [[gnu::always_inline]] void Run() {
    do {
      ConvertAscii();
    } while (ConvertMixed());
    ConvertTail();
  }

 private:
  using Input = FastReader<Reader>;
  using Output = FastWriter<Writer>;
  static constexpr uint32_t kBlockOutput = AsciiBlock::kBytes * Output::kUnit;
  // What a round may read and write.
  static constexpr uint32_t kRoundInput = AsciiBlock::kBytes + Input::kMostBytes;
  static constexpr uint32_t kRoundOutput = kBlockOutput + kMostCharacterOutput;
  static constexpr uint32_t kTailOutput = kRoundInput * kMostCharacterOutput + kRoundOutput;

  bool HasRoom(uint32_t in, uint32_t out) const {
    return static_cast<size_t>(at_.in_end - at_.in) >= in &&
           static_cast<size_t>(at_.out_end - at_.out) >= out;
  }

  uint32_t SpecialMask(const AsciiBlock& block) const {
    uint32_t mask = block.HighMask();
    if constexpr (rewrite) mask |= WrongLineEnds(block, line_ends_);
    return mask;
  }

  [[gnu::always_inline]] void ConvertAscii() {
    while (HasRoom(AsciiBlock::kBytes, kBlockOutput)) {
      const AsciiBlock block = AsciiBlock::Load(at_.in);
      if (SpecialMask(block) != 0) return;
      Output::Store(block, at_.out);
      at_.in += AsciiBlock::kBytes;
      at_.out += kBlockOutput;
    }
  }

  // False when the careful loop has to go on; true when the text has become plain again.
  [[gnu::always_inline]] bool ConvertMixed() {
    constexpr uint32_t kPlainRounds = 7;  // three rounds in sequence met nothing special
    for (uint32_t history = 0; (history & kPlainRounds) != kPlainRounds;) {
      if (!HasRoom(kRoundInput, kRoundOutput)) return false;
      const uint32_t plain = StorePlainBytes(AsciiBlock::kBytes);
      if (!ConvertOne()) return false;
      if constexpr (requires { Input::kComesInRuns; }) {
        if (!ConvertRun()) return false;
      }
      history = history << 1 | plain / AsciiBlock::kBytes;
    }
    return true;
  }

  // In the scripts of double bytes the next character is as a rule of the same kind.
  [[gnu::always_inline]] bool ConvertRun() {
    while (HasRoom(kRoundInput, kRoundOutput) && *at_.in >= 0x80) {
      if (!ConvertOne()) return false;
    }
    return true;
  }

  // The last bytes, too few for a round, with padding behind them that no sequence can contain. A
  // CR at the very end is left where it is: whether its LF follows is not for rounds to say.
  [[gnu::always_inline]] void ConvertTail() {
    size_t rest = static_cast<size_t>(at_.in_end - at_.in);
    if (rewrite && rest > 0 && at_.in_end[-1] == '\r') --rest;
    if (rest >= kRoundInput || rest == 0 || !HasRoom(0, kTailOutput)) return;
    uint8_t padded[kRoundInput + kRoundInput] = {};
    std::memcpy(padded, at_.in, rest);
    const uint8_t* const start = at_.in;
    const uint8_t* const end = padded + rest;
    at_.in = padded;
    do {
      StorePlainBytes(static_cast<uint32_t>(end - at_.in));
    } while (at_.in != end && ConvertOne() && at_.in != end);
    at_.in = start + (at_.in - padded);
  }

  // Converts the plain bytes that stand first, at most `most` of them and at most a block; stores a
  // whole block.
  [[gnu::always_inline]] uint32_t StorePlainBytes(uint32_t most) {
    const AsciiBlock block = AsciiBlock::Load(at_.in);
    Output::Store(block, at_.out);
    const auto found =
        static_cast<uint32_t>(std::countr_zero(SpecialMask(block) | 1u << AsciiBlock::kBytes));
    const uint32_t plain = std::min(found, most);
    at_.in += plain;
    at_.out += plain * Output::kUnit;
    return plain;
  }

  [[gnu::always_inline]] bool ConvertOne() {
    if constexpr (rewrite) {
      if (*at_.in == '\r' || *at_.in == '\n') return false;
    }
    if constexpr (std::is_same_v<Reader, ByteReader> && std::is_same_v<Writer, Utf8Writer>) {
      const ByteToUnicodeTable::Utf8Text& text = reader_.table.Utf8Of(*at_.in);
      std::memcpy(at_.out, text.bytes, sizeof text.bytes);
      at_.in += 1;
      at_.out += text.length;
    } else {
      ReadCharacter character;
      if (!Input::Decode(reader_, at_.in, character)) return false;
      at_.in += character.size;
      if constexpr (requires { Input::kComesInRuns; } && std::is_same_v<Writer, Utf8Writer>) {
        if (StoreThreeBytes(character.code)) return true;
      }
      at_.out += writer_.Write(character.code, at_.out, kMostCharacterOutput);
    }
    return true;
  }

  // Most of those characters have three bytes in UTF-8; one store of four puts them down.
  [[gnu::always_inline]] bool StoreThreeBytes(uint32_t code) {
    if (code - 0x800 >= 0x10000 - 0x800) return false;
    StoreUnit<4, false>(0x8080E0 | code >> 12 | (code << 2 & 0x3F00) | (code << 16 & 0x3F0000),
                        at_.out);
    at_.out += 3;
    return true;
  }

  const Reader& reader_;
  const Writer& writer_;
  const LineEndMode line_ends_;
  EngineCursor& cursor_;
  EngineCursor at_;  // a copy, which the stores into the output cannot alias
};

template <class Reader, class Writer>
void ConvertBlocks(const Reader& reader, const Writer& writer, LineEndMode line_ends,
                   EngineCursor& cursor) {
  if (!FastReader<Reader>::IsAscii(reader) || !FastWriter<Writer>::IsAscii(writer)) return;
  if (line_ends == kKeep) {
    BlockLoop<Reader, Writer, false>(reader, writer, line_ends, cursor).Run();
  } else {
    BlockLoop<Reader, Writer, true>(reader, writer, line_ends, cursor).Run();
  }
}

}  // namespace qv

#include "text/pair_converters.h"

#include <new>

#include "text/byte_converters.h"
#include "text/east_asian_forms.h"
#include "text/engine_loop.h"
#include "text/shift_jis.h"
#include "text/unicode_table.h"

namespace qv {
namespace {

enum class Family { kNone, kJapanese, kChinese, kKorean };

Family FamilyOf(CodePage cp) {
  switch (cp) {
    case 932:
    case 10001:
    case 20001:
    case 20002:
      return Family::kJapanese;
    case 936:
    case 10025:
    case 20004:
    case 20014:
      return Family::kChinese;
    case 949:
    case 10003:
    case 20003:
      return Family::kKorean;
    default:
      return Family::kNone;
  }
}

// --- Counterparts ---

constexpr bool IsShiftJis(CodePage cp) { return cp == 932 || cp == 10001; }

// The rows of JIS X 0208, which every Japanese page has at the same places. Of the other rows the
// Macintosh page has a set of its own.
constexpr bool IsCommonJisRow(uint32_t code) {
  const uint32_t row = code >> 8;
  return (row >= 0x21 && row <= 0x28) || (row >= 0x30 && row <= 0x74);
}

// By way of Unicode.
uint32_t CounterpartByTables(uint32_t code, CodePage from, CodePage to) {
  const UnicodeTable* to_unicode = FindUnicodeTable(from, false);
  const UnicodeTable* from_unicode = FindUnicodeTable(to, true);
  if (to_unicode == nullptr || from_unicode == nullptr) return kReplacement;
  const uint32_t character = to_unicode->Map(code);
  return character == 0 ? kReplacement : from_unicode->Map(character);
}

uint32_t JapaneseCounterpart(uint32_t code, CodePage from, CodePage to) {
  const bool is_katakana = code >= 0xA1 && code <= 0xDF;
  if (is_katakana) return code;
  const uint32_t jis = IsShiftJis(from) ? JisFromShiftJis(code) : code;
  const bool has_own_rows = from == 10001 || to == 10001;
  if (jis == 0 || (has_own_rows && !IsCommonJisRow(jis))) {
    return CounterpartByTables(code, from, to);
  }
  return IsShiftJis(to) ? ShiftJisFromJis(jis) : jis;
}

// Trail bytes of GBK are 40 to 7E and 80 to FE; 80 by itself is the euro sign.
bool IsGbk(uint32_t code) {
  const uint32_t trail = code & 0xFF;
  return code == 0x80 || (code > 0xFF && trail >= 0x40 && trail != 0x7F && trail != 0xFF);
}

// GB 2312 and KS X 1001: the codes whose bytes are both A1 to FE. 936 and 20014 share more: all
// that the lead bytes of 936 can express.
uint32_t EucCounterpart(uint32_t code, CodePage from, CodePage to) {
  const auto is_gbk_page = [](CodePage cp) { return cp == 936 || cp == 20014; };
  if (is_gbk_page(from) && is_gbk_page(to)) return IsGbk(code) ? code : kReplacement;
  const auto is_high = [](uint32_t byte) { return byte >= 0xA1 && byte <= 0xFE; };
  return is_high(code >> 8) && is_high(code & 0xFF) ? code : kReplacement;
}

// --- The loop ---

// Where a conversion stands.
struct PairText {
  const uint8_t* in;
  const uint8_t* in_end;
  uint8_t* out;
  uint8_t* out_end;
};

template <class Reader, class Writer>
class PairLoop {
 public:
  PairLoop(CodePage from, CodePage to, const Reader& reader, const Writer& writer,
           LineEndMode line_ends, PairText& text)
      : from_(from), to_(to), line_ends_(line_ends), reader_(reader), writer_(writer), at_(text) {}

  void Run() {
    while (at_.in != at_.in_end && ConvertOne()) {
    }
    at_.out += writer_.Close(at_.out, Room());
  }

 private:
  // False when the next character is cut or does not fit.
  bool ConvertOne() {
    const ReadCharacter read = reader_.Read(at_.in, at_.in_end);
    if (read.size == 0) return false;
    if (line_ends_ != kKeep && (read.code == '\r' || read.code == '\n')) return ConvertLineEnd();
    if (read.code != kNoCharacter && !Put(CounterpartOf(read.code, from_, to_))) return false;
    at_.in += read.size;
    return true;
  }

  // In all these forms CR and LF are themselves, whatever stands before them.
  bool ConvertLineEnd() {
    const Writer writer_before = writer_;
    uint8_t* const out_before = at_.out;
    if ((line_ends_ != kLf && !Put('\r')) || (line_ends_ != kCr && !Put('\n'))) {
      writer_ = writer_before;
      at_.out = out_before;
      return false;
    }
    const bool is_pair = at_.in[0] == '\r' && at_.in + 1 != at_.in_end && at_.in[1] == '\n';
    at_.in += is_pair ? 2 : 1;
    return true;
  }

  bool Put(uint32_t code) {
    const int size = writer_.Write(code, at_.out, Room());
    if (size < 0) return false;
    at_.out += size;
    return true;
  }

  size_t Room() const { return static_cast<size_t>(at_.out_end - at_.out); }

  const CodePage from_, to_;
  const LineEndMode line_ends_;
  Reader reader_;
  Writer writer_;
  PairText& at_;
};

}  // namespace

bool IsEastAsianPair(CodePage from, CodePage to) {
  return from != to && FamilyOf(from) != Family::kNone && FamilyOf(from) == FamilyOf(to);
}

uint32_t CounterpartOf(uint32_t code, CodePage from, CodePage to) {
  if (code < 0x80) return code;
  return FamilyOf(from) == Family::kJapanese ? JapaneseCounterpart(code, from, to)
                                             : EucCounterpart(code, from, to);
}

bool PairConverter::usable() const {
  return source == destination || IsEastAsianPair(source, destination);
}

uint32_t PairConverter::Convert(const char* input, uint32_t input_bytes, char* output,
                                uint32_t* output_bytes, int line_end_mode) const {
  if (!usable() || input == nullptr || output == nullptr) {
    *output_bytes = 0;
    return 0;
  }
  if (source == destination) {
    return CopyWithLineEnds(source, input, input_bytes, output, output_bytes, line_end_mode);
  }
  const auto* in = reinterpret_cast<const uint8_t*>(input);
  auto* out = reinterpret_cast<uint8_t*>(output);
  PairText text{in, in + input_bytes, out, out + *output_bytes};
  const LineEndMode line_ends = ResolveLineEnds(line_end_mode, source, destination);
  VisitEastAsianReader(source, [&](const auto& reader) {
    VisitEastAsianWriter(destination, [&](const auto& writer) {
      PairLoop(source, destination, reader, writer, line_ends, text).Run();
    });
  });
  *output_bytes = static_cast<uint32_t>(text.out - out);
  return static_cast<uint32_t>(text.in - in);
}

std::unique_ptr<Converter> NewPairConverter(CodePage source, CodePage destination) {
  return std::unique_ptr<Converter>(new (std::nothrow) PairConverter(source, destination));
}

}  // namespace qv

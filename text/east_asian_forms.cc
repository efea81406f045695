#include "text/east_asian_forms.h"

#include <algorithm>
#include <span>
#include <string_view>

namespace qv {

// --- Lead and trail bytes ---

struct LeadBytes {
  bool is_lead[256] = {};

  constexpr LeadBytes With(int first, int last) const {
    LeadBytes more = *this;
    for (int byte = first; byte <= last; ++byte) more.is_lead[byte] = true;
    return more;
  }
  bool operator[](uint32_t byte) const { return is_lead[byte]; }
};

namespace {

constexpr uint8_t kLeastTrailByte = 0x20;
constexpr uint8_t kSingleShift2 = 0x8E, kSingleShift3 = 0x8F;

constexpr LeadBytes kShiftJisLeads = LeadBytes{}.With(0x81, 0x9F).With(0xE0, 0xEF);
constexpr LeadBytes kEucLeads = LeadBytes{}.With(0xA1, 0xFE);
constexpr LeadBytes kBig5Leads = kEucLeads;
constexpr LeadBytes kWindowsEucLeads = kEucLeads.With(kSingleShift2, kSingleShift2);
constexpr LeadBytes kGbkLeads = LeadBytes{}.With(0x81, 0xFE);
constexpr LeadBytes kJohabLeads = LeadBytes{}.With(0x84, 0xD3).With(0xD8, 0xDE).With(0xE0, 0xF9);
constexpr LeadBytes kMacTraditionalLeads = LeadBytes{}.With(0xA1, 0xFC);
constexpr LeadBytes kMacKoreanLeads =
    LeadBytes{}.With(kSingleShift2, kSingleShift2).With(0xA1, 0xFD);
constexpr LeadBytes kMacSimplifiedLeads =
    LeadBytes{}.With(kSingleShift2, kSingleShift2).With(0xA1, 0xFC);
constexpr LeadBytes kNoLeads{};

const LeadBytes& LeadBytesOf(CodePage cp) {
  switch (cp) {
    case 932:
    case 10001:
      return kShiftJisLeads;
    case 936:
    case 949:
      return kWindowsEucLeads;
    case 950:
      return kBig5Leads;
    case 1361:
      return kJohabLeads;
    case 10002:
      return kMacTraditionalLeads;
    case 10003:
      return kMacKoreanLeads;
    case 10025:
      return kMacSimplifiedLeads;
    case 20009:
    case 20013:
      return kEucLeads;
    case 20014:
      return kGbkLeads;
    default:
      return kNoLeads;
  }
}

constexpr bool IsHighPairByte(uint32_t byte) { return byte >= 0xA1 && byte <= 0xFE; }
constexpr bool IsLowPairByte(uint32_t byte) { return byte >= 0x21 && byte <= 0x7E; }
constexpr bool IsKatakana(uint32_t code) { return code >= 0xA1 && code <= 0xDF; }

// 2121 to 7E7E, each byte within its range.
constexpr bool IsLowPair(uint32_t code) {
  return code <= 0xFFFF && IsLowPairByte(code >> 8) && IsLowPairByte(code & 0xFF);
}

constexpr uint32_t Pair(uint32_t first, uint32_t second) { return first << 8 | second; }

// Stores one byte or two.
int Store(uint32_t code, uint8_t* out, size_t room) {
  const int size = code <= 0xFF ? 1 : 2;
  if (room < static_cast<size_t>(size)) return kNoRoom;
  if (size == 2) *out++ = static_cast<uint8_t>(code >> 8);
  *out = static_cast<uint8_t>(code);
  return size;
}

}  // namespace

EastAsianForm EastAsianFormOf(CodePage cp) {
  switch (cp) {
    case 20001:
      return EastAsianForm::kJapaneseEuc;
    case 20002:
    case 20003:
    case 20004:
      return EastAsianForm::kIso2022;
    default:
      return &LeadBytesOf(cp) == &kNoLeads ? EastAsianForm::kNone : EastAsianForm::kDoubleByte;
  }
}

DoubleByteReader::DoubleByteReader(CodePage cp) : leads_(&LeadBytesOf(cp)) {}

ReadCharacter DoubleByteReader::Read(const uint8_t* in, const uint8_t* end) const {
  const uint8_t lead = in[0];
  if (!(*leads_)[lead]) return {lead, 1};
  if (end - in < 2) return {0, 0};
  if (in[1] < kLeastTrailByte) return {kReplacement, 1};
  return {Pair(lead, in[1]), 2};
}

DoubleByteWriter::DoubleByteWriter(CodePage cp) : leads_(&LeadBytesOf(cp)) {}

int DoubleByteWriter::Write(uint32_t code, uint8_t* out, size_t room) const {
  const bool is_byte = code <= 0xFF && !(*leads_)[code];
  const bool is_pair =
      code > 0xFF && code <= 0xFFFF && (*leads_)[code >> 8] && (code & 0xFF) >= kLeastTrailByte;
  return Store(is_byte || is_pair ? code : kReplacement, out, room);
}

// --- EUC-JP ---

namespace {

// Two bytes are one character where the walk takes them so, even when it is none of the set.
ReadCharacter ReadEucPair(const uint8_t* in, const uint8_t* end) {
  if (end - in < 2) return {0, 0};
  if (in[1] < kLeastTrailByte) return {kReplacement, 1};
  if (in[0] == kSingleShift2) return {IsKatakana(in[1]) ? in[1] : uint32_t{kReplacement}, 2};
  return {IsHighPairByte(in[1]) ? Pair(in[0], in[1]) & 0x7F7F : kReplacement, 2};
}

ReadCharacter ReadEucTriple(const uint8_t* in, const uint8_t* end) {
  for (int i = 1; i < 3; ++i) {
    if (in + i == end) return {0, 0};
    if (!IsHighPairByte(in[i])) return {kReplacement, 1};
  }
  return {kReplacement, 3};
}

}  // namespace

ReadCharacter JapaneseEucReader::Read(const uint8_t* in, const uint8_t* end) const {
  const uint8_t byte = in[0];
  if (byte < 0x80) return {byte, 1};
  if (byte == kSingleShift2 || IsHighPairByte(byte)) return ReadEucPair(in, end);
  if (byte == kSingleShift3) return ReadEucTriple(in, end);
  return {kReplacement, 1};
}

int JapaneseEucWriter::Write(uint32_t code, uint8_t* out, size_t room) const {
  if (code < 0x80) return Store(code, out, room);
  if (IsKatakana(code)) return Store(Pair(kSingleShift2, code), out, room);
  return Store(IsLowPair(code) ? code | 0x8080 : kReplacement, out, room);
}

// --- ISO-2022 ---

namespace {

constexpr uint8_t kEscape = 0x1B, kShiftOut = 0x0E, kShiftIn = 0x0F;

enum CharacterSet : uint8_t {
  kAscii,
  kKatakana,
  kTwoBytes,  // the page's own
  kForeign,   // two bytes, without codes here
};

struct Sequence {
  enum Effect { kNothing, kSetsPlain, kSetsShifted, kShiftsOne };
  std::string_view bytes;
  Effect effect;
  CharacterSet set = kAscii;
};

constexpr Sequence kJapaneseSequences[] = {
    {"\x1B(B", Sequence::kSetsPlain, kAscii},
    {"\x1B(J", Sequence::kSetsPlain, kAscii},  // differs in the yen sign and the overline
    {"\x1B(H", Sequence::kSetsPlain, kAscii},  // an old mistake for (J
    {"\x1B(I", Sequence::kSetsPlain, kKatakana},
    {"\x1B$@", Sequence::kSetsPlain, kTwoBytes},
    {"\x1B$B", Sequence::kSetsPlain, kTwoBytes},
    {"\x1B$(@", Sequence::kSetsPlain, kTwoBytes},
    {"\x1B$(B", Sequence::kSetsPlain, kTwoBytes},
    {"\x1B$(D", Sequence::kSetsPlain, kForeign},  // JIS X 0212
    {"\x1B&@", Sequence::kNothing},               // announces the edition of 1990
};
constexpr Sequence kKoreanSequences[] = {{"\x1B$)C", Sequence::kSetsShifted, kTwoBytes}};
constexpr Sequence kChineseSequences[] = {
    {"\x1B$)A", Sequence::kSetsShifted, kTwoBytes},
    {"\x1B$)G", Sequence::kSetsShifted, kForeign},  // CNS 11643 plane 1
    {"\x1B$)E", Sequence::kSetsShifted, kForeign},  // ISO-IR-165
    {"\x1B$*H", Sequence::kNothing},                // CNS 11643 plane 2, what ESC N chooses
    {"\x1BN", Sequence::kShiftsOne},
};

}  // namespace

struct Iso2022Scheme {
  enum Designation { kNone, kOncePerText, kOncePerLine };

  std::span<const Sequence> sequences;
  uint16_t pair_bits;        // of a code, on top of its seven-bit bytes
  CharacterSet shifted_set;  // what SO chooses where nothing is designated
  bool has_katakana;
  Designation designates;
  std::string_view designation;
  std::string_view opening[3];  // by character set, kAscii to kTwoBytes

  // The set that has a code; kForeign when none has.
  CharacterSet SetOf(uint32_t code) const {
    if (code < 0x80) return kAscii;
    if (has_katakana && IsKatakana(code)) return kKatakana;
    return IsLowPair(code ^ pair_bits) ? kTwoBytes : kForeign;
  }
};

namespace {

constexpr Iso2022Scheme kJapaneseScheme{kJapaneseSequences,
                                        0,
                                        kKatakana,
                                        true,
                                        Iso2022Scheme::kNone,
                                        "",
                                        {"\x1B(B", "\x1B(I", "\x1B$B"}};
constexpr Iso2022Scheme kKoreanScheme{
    kKoreanSequences,    0x8080, kTwoBytes, false, Iso2022Scheme::kOncePerText, "\x1B$)C",
    {"\x0F", "", "\x0E"}};
constexpr Iso2022Scheme kChineseScheme{
    kChineseSequences,           0x8080,    kTwoBytes,           false,
    Iso2022Scheme::kOncePerLine, "\x1B$)A", {"\x0F", "", "\x0E"}};

const Iso2022Scheme& SchemeOf(CodePage cp) {
  switch (cp) {
    case 20003:
      return kKoreanScheme;
    case 20004:
      return kChineseScheme;
    default:
      return kJapaneseScheme;
  }
}

constexpr bool IsLineEnd(uint32_t code) { return code == '\r' || code == '\n'; }

// The character of another set behind ESC N.
ReadCharacter ReadShiftedOnce(const uint8_t* in, const uint8_t* end) {
  constexpr uint32_t kSequenceBytes = 2, kPairBytes = 2;
  for (uint32_t i = kSequenceBytes; i < kSequenceBytes + kPairBytes; ++i) {
    if (in + i == end) return {0, 0};
    if (!IsLowPairByte(in[i])) return {kReplacement, kSequenceBytes};
  }
  return {kReplacement, kSequenceBytes + kPairBytes};
}

}  // namespace

Iso2022Reader::Iso2022Reader(CodePage cp) : scheme_(&SchemeOf(cp)) { ReturnToInitialState(); }

void Iso2022Reader::ReturnToInitialState() {
  plain_set_ = kAscii;
  shifted_set_ = scheme_->shifted_set;
  shifted_ = false;
}

ReadCharacter Iso2022Reader::Read(const uint8_t* in, const uint8_t* end) {
  const uint8_t byte = in[0];
  if (byte == kEscape) return ReadSequence(in, end);
  if (byte == kShiftOut || byte == kShiftIn) {
    shifted_ = byte == kShiftOut;
    return {kNoCharacter, 1};
  }
  if (IsLineEnd(byte)) ReturnToInitialState();
  if (byte >= 0x80) {
    return {scheme_->has_katakana && IsKatakana(byte) ? byte : uint32_t{kReplacement}, 1};
  }
  const uint8_t set = shifted_ ? shifted_set_ : plain_set_;
  if (set == kAscii || !IsLowPairByte(byte)) return {byte, 1};
  if (set == kKatakana) return {IsKatakana(byte | 0x80) ? byte | 0x80u : kReplacement, 1};
  if (end - in < 2) return {0, 0};
  if (!IsLowPairByte(in[1])) return {kReplacement, 1};
  return {set == kTwoBytes ? Pair(byte, in[1]) | scheme_->pair_bits : kReplacement, 2};
}

ReadCharacter Iso2022Reader::ReadSequence(const uint8_t* in, const uint8_t* end) {
  bool is_cut = false;
  for (const Sequence& sequence : scheme_->sequences) {
    const size_t available = std::min<size_t>(static_cast<size_t>(end - in), sequence.bytes.size());
    if (!std::equal(in, in + available, sequence.bytes.begin(),
                    [](uint8_t a, char b) { return a == static_cast<uint8_t>(b); })) {
      continue;
    }
    if (available < sequence.bytes.size()) {
      is_cut = true;
      continue;
    }
    if (sequence.effect == Sequence::kShiftsOne) return ReadShiftedOnce(in, end);
    if (sequence.effect == Sequence::kSetsPlain) plain_set_ = sequence.set;
    if (sequence.effect == Sequence::kSetsShifted) shifted_set_ = sequence.set;
    return {kNoCharacter, static_cast<uint32_t>(sequence.bytes.size())};
  }
  return is_cut ? ReadCharacter{0, 0} : ReadCharacter{kEscape, 1};
}

Iso2022Writer::Iso2022Writer(CodePage cp) : scheme_(&SchemeOf(cp)), set_(kAscii) {}

int Iso2022Writer::Write(uint32_t code, uint8_t* out, size_t room) {
  if (code == kEscape || code == kShiftOut || code == kShiftIn) code = kReplacement;
  CharacterSet set = scheme_->SetOf(code);
  if (set == kForeign) {
    code = kReplacement;
    set = kAscii;
  }
  const bool designates =
      !designated_ && (scheme_->designates == Iso2022Scheme::kOncePerText ||
                       (scheme_->designates == Iso2022Scheme::kOncePerLine && set == kTwoBytes));
  const std::string_view designation = designates ? scheme_->designation : "";
  const std::string_view opening = set != set_ ? scheme_->opening[set] : "";
  const std::string_view closing = set != kAscii ? scheme_->opening[kAscii] : "";
  const size_t size = designation.size() + opening.size() + (set == kTwoBytes ? 2 : 1);
  if (size + closing.size() > room) return kNoRoom;

  out = std::copy(designation.begin(), designation.end(), out);
  out = std::copy(opening.begin(), opening.end(), out);
  Store(code & 0x7F7F, out, 2);
  set_ = set;
  designated_ = (designated_ || designates) &&
                !(IsLineEnd(code) && scheme_->designates == Iso2022Scheme::kOncePerLine);
  return static_cast<int>(size);
}

int Iso2022Writer::Close(uint8_t* out, size_t room) {
  if (set_ == kAscii) return 0;
  const std::string_view closing = scheme_->opening[kAscii];
  if (closing.size() > room) return kNoRoom;
  std::copy(closing.begin(), closing.end(), out);
  set_ = kAscii;
  return static_cast<int>(closing.size());
}

}  // namespace qv

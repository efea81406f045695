// Every East Asian form over any bytes: text that is read in pieces gives the codes of the whole,
// reading a character again gives it again, and codes that are written, with any refusals for want
// of room on the way, read back as they were or as the replacement.
#include "fuzz/fuzz_support.h"
#include "text/east_asian_forms.h"

namespace {

constexpr CodePage kPages[] = {932,   936,   949,   950,   1361,  10001, 10002, 10003,
                               10025, 20001, 20002, 20003, 20004, 20009, 20013, 20014};

CodePage Page(uint8_t choice) { return kPages[choice % std::size(kPages)]; }

using Codes = std::vector<uint32_t>;

// Reads what stands between the two; returns the bytes that the end cuts.
template <class Reader>
size_t ReadAll(Reader& reader, const std::vector<uint8_t>& text, Codes& codes) {
  const uint8_t *in = text.data(), *end = in + text.size();
  while (in != end) {
    qv::ReadCharacter read = reader.Read(in, end), again = reader.Read(in, end);
    FUZZ_CHECK(read.code == again.code && read.size == again.size);
    FUZZ_CHECK(read.size <= static_cast<size_t>(end - in));
    if (read.size == 0) break;
    if (read.code != qv::kNoCharacter) codes.push_back(read.code);
    in += read.size;
  }
  return static_cast<size_t>(end - in);
}

// In pieces of so many bytes; what a piece cuts goes in front of the next one.
Codes ReadCodes(CodePage cp, const std::vector<uint8_t>& text, size_t piece) {
  Codes codes;
  bool known = qv::VisitEastAsianReader(cp, [&](auto reader) {
    std::vector<uint8_t> part;  // exactly as long as its bytes: a read behind them is seen
    for (size_t at = 0; at < text.size(); at += piece) {
      part.insert(part.end(), text.begin() + at, text.begin() + std::min(at + piece, text.size()));
      part.shrink_to_fit();
      size_t cut = ReadAll(reader, part, codes);
      FUZZ_CHECK(cut < 5);
      part.erase(part.begin(), part.end() - cut);
    }
  });
  FUZZ_CHECK(known);
  return codes;
}

std::vector<uint8_t> WriteCodes(CodePage cp, const Codes& codes, size_t least_room) {
  std::vector<uint8_t> text;
  qv::VisitEastAsianWriter(cp, [&](auto writer) {
    for (uint32_t code : codes) {
      int size = qv::kNoRoom;
      for (size_t room = least_room; size == qv::kNoRoom; ++room) {
        FUZZ_CHECK(room < least_room + 16);
        std::vector<uint8_t> out(room);
        size = writer.Write(code, out.data(), room);
        if (size == qv::kNoRoom) continue;
        auto closed = writer;
        FUZZ_CHECK(closed.Close(out.data() + size, room - static_cast<size_t>(size)) >= 0);
        text.insert(text.end(), out.begin(), out.begin() + size);
      }
    }
    uint8_t out[4];
    text.insert(text.end(), out, out + writer.Close(out, sizeof out));
  });
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  CodePage from = Page(input.Byte()), to = Page(input.Byte());
  size_t piece = 1 + input.Byte() % 9, least_room = input.Byte() % 16;
  std::string rest = input.Rest();
  std::vector<uint8_t> text(rest.begin(), rest.end());

  Codes codes = ReadCodes(from, text, text.size() + 1);
  FUZZ_CHECK(ReadCodes(from, text, piece) == codes);

  std::vector<uint8_t> written = WriteCodes(to, codes, 16);
  FUZZ_CHECK(WriteCodes(to, codes, least_room) == written);
  Codes back = ReadCodes(to, written, written.size() + 1);
  FUZZ_CHECK(back.size() == codes.size());
  for (size_t i = 0; i < codes.size(); ++i) {
    FUZZ_CHECK(back[i] == codes[i] || back[i] == kReplacement);
  }
  return 0;
}

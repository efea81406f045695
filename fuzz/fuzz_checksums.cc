// Any bytes in any pieces: digests, HMACs and checksums are those of the whole; a text with one bit
// changed has another CRC.
#include "format/encodings/checksums.h"
#include "format/encodings/hmac.h"
#include "format/encodings/md2.h"
#include "format/encodings/md4.h"
#include "format/encodings/md5.h"
#include "format/encodings/sha1.h"
#include "fuzz/fuzz_support.h"

namespace {

using Pieces = std::vector<std::string>;

Pieces Cut(const std::string& text, const std::string& cuts) {
  Pieces pieces;
  size_t at = 0;
  for (const char cut : cuts) {
    pieces.push_back(text.substr(at, static_cast<uint8_t>(cut)));
    at += pieces.back().size();
  }
  pieces.push_back(text.substr(at));
  return pieces;
}

std::string Of(qv::Digest& digest, const Pieces& pieces) {
  // Blocks of their own, so that a read past a piece is seen.
  for (const std::string& piece : pieces) {
    digest.Add(std::vector<char>(piece.begin(), piece.end()).data(), piece.size());
  }
  uint8_t out[qv::kMostDigestSize];
  digest.Finish(out);
  return {out, out + digest.size()};
}

void CheckDigest(qv::Digest& digest, const std::string& text, const Pieces& pieces) {
  const std::string whole = Of(digest, {text});
  FUZZ_CHECK(Of(digest, pieces) == whole);
  qv::Hmac hmac(digest, pieces[0].data(), pieces[0].size());
  FUZZ_CHECK(Of(hmac, pieces) == Of(hmac, {text}));
}

void CheckChecksums(std::string text, const Pieces& pieces, uint8_t bit) {
  const uint32_t crc32 = ZRCRC32(text.data(), text.size());
  const uint16_t crc16 = ZRCRC16(text.data(), text.size(), bit);
  uint32_t crc32_in_pieces = ~0u;
  uint16_t crc16_in_pieces = bit;
  for (const std::string& piece : pieces) {
    crc32_in_pieces = qv::ExtendCRC32(crc32_in_pieces, piece.data(), piece.size());
    crc16_in_pieces = __builtin_bswap16(ZRCRC16(piece.data(), piece.size(), crc16_in_pieces));
  }
  FUZZ_CHECK(crc32 == ~crc32_in_pieces);
  FUZZ_CHECK(crc16 == __builtin_bswap16(crc16_in_pieces));
  if (text.empty()) return;
  const int32_t width = bit % 64 + 1;
  const uint64_t crc = ZRCRCWidth(text.data(), text.size(), width);
  text[bit % text.size()] ^= static_cast<char>(1 << bit % 8);
  FUZZ_CHECK(ZRCRC32(text.data(), text.size()) != crc32);
  FUZZ_CHECK(ZRCRCWidth(text.data(), text.size(), width) != crc);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const uint8_t bit = input.Byte();
  const std::string cuts = input.Text(8), text = input.Rest();
  const Pieces pieces = Cut(text, cuts);
  qv::Sha1 sha1;
  qv::Md2 md2;
  qv::Md4 md4;
  qv::Md5 md5;
  for (qv::Digest* digest : std::initializer_list<qv::Digest*>{&sha1, &md2, &md4, &md5}) {
    CheckDigest(*digest, text, pieces);
  }
  CheckChecksums(text, pieces, bit);
  return 0;
}

// Checksums and digests beside zlib, libdeflate, Boost and OpenSSL, each where it is installed, and
// random numbers beside std::minstd_rand.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>

#ifdef QV_HAVE_ZLIB
#include <zlib.h>
#endif
#ifdef QV_HAVE_LIBDEFLATE
#include <libdeflate.h>
#endif
#ifdef QV_HAVE_BOOST_CRC
#include <boost/crc.hpp>
#endif
#ifdef QV_HAVE_OPENSSL
#define OPENSSL_SUPPRESS_DEPRECATED
#include <openssl/md4.h>
#include <openssl/md5.h>
#include <openssl/sha.h>
#endif

#include "bench/ratio.h"
#include "format/encodings/byte_order.h"
#include "format/encodings/checksums.h"
#include "format/encodings/crc32_steps.h"
#include "format/encodings/md4.h"
#include "format/encodings/md5.h"
#include "format/encodings/random.h"
#include "format/encodings/sha1.h"
#include "tests/test_platform.h"

namespace {

constexpr size_t kCorpusBytes = 1 << 20;

const std::string& Corpus() {
  static const std::string corpus = [] {
    std::mt19937 random(3);
    std::string bytes(kCorpusBytes, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
  }();
  return corpus;
}

using Bytes = const uint8_t*;
// The first 8 bytes of what a text gives; enough to tell that both give the same.
using Function = uint64_t (*)(Bytes bytes, size_t count);

// Goes through the corpus in pieces of `size` bytes.
std::function<void(benchmark::State&)> Through(Function function, size_t size) {
  return [=](benchmark::State& state) {
    size_t at = 0;
    for (auto _ : state) {
      benchmark::DoNotOptimize(function(reinterpret_cast<Bytes>(Corpus().data()) + at, size));
      at += size;
      if (at + size > kCorpusBytes) at = 0;
    }
  };
}

// Aims of 64 bytes, 4 KiB and 1 MiB; below 0: this size is left out.
struct Aims {
  double tiny, page, large;
};

[[maybe_unused]] void AddBeside(const char* name, const char* peer, Aims aims, Function ours,
                                Function theirs) {
  const auto* bytes = reinterpret_cast<Bytes>(Corpus().data());
  if (ours(bytes, kCorpusBytes) != theirs(bytes, kCorpusBytes)) {
    std::fprintf(stderr, "%s: our result differs from that of %s\n", name, peer);
    std::exit(1);
  }
  const struct {
    size_t size;
    double aim;
    const char* label;
  } kSizes[] = {
      {64, aims.tiny, "64 B"}, {4096, aims.page, "4 KiB"}, {kCorpusBytes, aims.large, "1 MiB"}};
  for (const auto& row : kSizes) {
    if (row.aim < 0) continue;
    bench::Add({std::string(name) + ", " + row.label, peer, row.aim, Through(ours, row.size),
                Through(theirs, row.size)});
  }
}

template <typename Digest>
[[maybe_unused]] uint64_t DigestOf(Bytes bytes, size_t count) {
  Digest digest;
  digest.Add(bytes, count);
  uint8_t out[Digest::kSize];
  digest.Finish(out);
  return qv::LoadLittle<uint64_t>(out);
}

#ifdef QV_HAVE_OPENSSL
template <typename Context, auto start, auto add, auto finish>
uint64_t OpenSslOf(Bytes bytes, size_t count) {
  Context context;
  uint8_t out[qv::kMostDigestSize];
  start(&context);
  add(&context, bytes, count);
  finish(out, &context);
  return qv::LoadLittle<uint64_t>(out);
}
#endif

// SHA-1 as on a processor without the instructions for it; texts are whole blocks.
[[maybe_unused]] uint64_t PortableSha1(Bytes bytes, size_t count) {
  uint32_t state[] = {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0};
  qv::HashSha1Blocks(state, bytes, count / 64);
  uint8_t last[64] = {0x80};
  qv::StoreBig(last + 56, uint64_t{count} * 8);
  qv::HashSha1Blocks(state, last, 1);
  return uint64_t{ZRSwap32(state[1])} << 32 | ZRSwap32(state[0]);
}

void AddChecksums() {
  [[maybe_unused]] const Function crc32 = [](Bytes b, size_t n) { return uint64_t{ZRCRC32(b, n)}; };
#ifdef QV_HAVE_LIBDEFLATE
  AddBeside("CRC-32", "libdeflate", {0, 1.0, 1.0}, crc32,
            [](Bytes b, size_t n) { return uint64_t{libdeflate_crc32(0, b, n)}; });
#endif
#ifdef QV_HAVE_ZLIB
  const Function zlib = [](Bytes b, size_t n) {
    return uint64_t{::crc32(0, b, static_cast<uInt>(n))};
  };
  AddBeside("CRC-32 too", "zlib", {0.2, -1, -1}, crc32, zlib);
  AddBeside(
      "CRC-32 by table", "zlib", {0, 2.0, 2.0},
      [](Bytes b, size_t n) { return uint64_t{~qv::SliceCrc32(~0u, b, n)}; }, zlib);
#endif
#ifdef QV_HAVE_BOOST_CRC
  AddBeside(
      "CRC-16", "Boost", {0.2, 0.2, 0.2},
      [](Bytes b, size_t n) { return uint64_t{__builtin_bswap16(ZRCRC16(b, n, 0))}; },
      [](Bytes b, size_t n) {
        boost::crc_optimal<16, 0x1021> crc;
        crc.process_bytes(b, n);
        return uint64_t{crc.checksum()};
      });
  AddBeside(
      "CRC of width 64", "Boost", {0.25, 0.25, 0.25},
      [](Bytes b, size_t n) { return ZRCRCWidth(b, n, 64); },
      [](Bytes b, size_t n) {
        boost::crc_optimal<64, 0x42F0E1EBA9EA3693, 0xFAC432B10CD5E44A> crc;
        crc.process_bytes(b, n);
        return uint64_t{crc.checksum()};
      });
#endif
}

void AddDigests() {
#ifdef QV_HAVE_OPENSSL
  const Function sha1 = OpenSslOf<SHA_CTX, SHA1_Init, SHA1_Update, SHA1_Final>;
  AddBeside("SHA-1", "OpenSSL", {1.1, 1.1, 1.1}, DigestOf<qv::Sha1>, sha1);
  AddBeside("SHA-1 without its instructions", "OpenSSL", {2.5, 2.5, 2.5}, PortableSha1, sha1);
  AddBeside("MD5", "OpenSSL", {1.15, 1.15, 1.15}, DigestOf<qv::Md5>,
            OpenSslOf<MD5_CTX, MD5_Init, MD5_Update, MD5_Final>);
  AddBeside("MD4", "OpenSSL", {1.15, 1.15, 1.15}, DigestOf<qv::Md4>,
            OpenSslOf<MD4_CTX, MD4_Init, MD4_Update, MD4_Final>);
#endif
}

template <auto random>
void Draw(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(random(0));
}

void DrawMinimal(benchmark::State& state) {
  std::minstd_rand random;
  for (auto _ : state) benchmark::DoNotOptimize(random());
}

void AddRandom() {
  bench::Add({"random number, 16 bits", "minstd_rand", 0.7, Draw<ZRRandom16>, DrawMinimal});
  bench::Add({"random number, 32 bits", "minstd_rand", 0.7, Draw<ZRRandom32>, DrawMinimal});
  bench::Add({"random number, 64 bits", "minstd_rand", 1.0, Draw<ZRRandom64>, DrawMinimal});
}

}  // namespace

int main(int argc, char** argv) {
  test::StartWithOwnState();
  AddChecksums();
  AddDigests();
  AddRandom();
  const int result = bench::Run(argc, argv);
  test::RemoveOwnState();
  return result;
}

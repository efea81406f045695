// Base64 beside OpenSSL's.
#ifdef QV_HAVE_OPENSSL
#include <openssl/evp.h>
#endif

#include <cstdio>
#include <memory>
#include <random>
#include <string>

#include "bench/ratio.h"
#include "format/encodings/base64.h"
#include "format/encodings/base64_lines.h"
#include "tests/test_platform.h"

namespace {

constexpr size_t kCorpusBytes = 1 << 20;

using Encoder = size_t (*)(const char* in, size_t bytes, char* out);

size_t Ours(const char* in, size_t bytes, char* out) {
  return ZRBase64Encode(in, bytes, out, "\n");
}

// Whole lines only.
size_t OursPortable(const char* in, size_t bytes, char* out) {
  const char* end =
      qv::WriteBase64LinesPortable(reinterpret_cast<const uint8_t*>(in),
                                   bytes / qv::kBase64LineBytes, out, qv::Base64Separator("\n"));
  return static_cast<size_t>(end - out);
}

#ifdef QV_HAVE_OPENSSL
// Without the separator that OpenSSL writes behind the last line.
size_t OpenSsl(const char* in, size_t bytes, char* out) {
  static EVP_ENCODE_CTX* const context = EVP_ENCODE_CTX_new();
  auto* text = reinterpret_cast<unsigned char*>(out);
  int size = 0, rest = 0;
  EVP_EncodeInit(context);
  EVP_EncodeUpdate(context, text, &size, reinterpret_cast<const unsigned char*>(in),
                   static_cast<int>(bytes));
  EVP_EncodeFinal(context, text + size, &rest);
  return static_cast<size_t>(size + rest) - 1;
}
const Encoder kTheirs = OpenSsl;
constexpr char kPeer[] = "EVP_EncodeUpdate";
#else
const Encoder kTheirs = nullptr;
constexpr char kPeer[] = "";
#endif

std::function<void(benchmark::State&)> Rotating(Encoder encode, size_t bytes,
                                                std::shared_ptr<std::string> corpus) {
  if (encode == nullptr) return {};
  auto out = std::make_shared<std::string>(bytes * 2, '\0');
  return [=, at = size_t{0}](benchmark::State& state) mutable {
    for (auto _ : state) {
      if (at + bytes > corpus->size()) at = 0;
      benchmark::DoNotOptimize(encode(corpus->data() + at, bytes, out->data()));
      at += bytes;
    }
  };
}

// Both must give the same characters before either is timed.
void CompareOnce(const char* name, Encoder encode, Encoder peer, const std::string& bytes) {
  if (peer == nullptr) return;
  std::string ours(bytes.size() * 2, '\0'), theirs = ours;
  ours.resize(encode(bytes.data(), bytes.size(), ours.data()));
  theirs.resize(peer(bytes.data(), bytes.size(), theirs.data()));
  if (ours == theirs) return;
  std::fprintf(stderr, "%s: our characters differ from OpenSSL's\n", name);
  std::exit(1);
}

void AddBase64(const char* name, Encoder encode, size_t bytes, double target) {
  auto corpus = std::make_shared<std::string>(kCorpusBytes, '\0');
  std::mt19937 random(7);
  for (char& c : *corpus) c = static_cast<char>(random());
  CompareOnce(name, encode, kTheirs, corpus->substr(0, bytes));
  bench::Add(
      {name, kPeer, target, Rotating(encode, bytes, corpus), Rotating(kTheirs, bytes, corpus)});
}

}  // namespace

int main(int argc, char** argv) {
  test::StartWithOwnState();
  constexpr size_t kWholeLines = kCorpusBytes / qv::kBase64LineBytes * qv::kBase64LineBytes;
  AddBase64("Base64 with lines, 1 MiB", Ours, kCorpusBytes, 0.35);
  AddBase64("Base64 with lines, 1 MiB, portable loop", OursPortable, kWholeLines, 0.75);
  AddBase64("Base64, 57 B", Ours, 57, 0.6);
  int result = bench::Run(argc, argv);
  test::RemoveOwnState();
  return result;
}

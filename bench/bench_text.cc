// Code-page conversion beside glibc's iconv, and the formatter beside snprintf.
#include <iconv.h>

#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

#include "bench/ratio.h"
#include "platform/windows_api.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "tests/test_platform.h"
#include "text/converters.h"
#include "text/formatter.h"
#include "text/unicode_engines.h"

namespace {

constexpr size_t kCorpusBytes = 1 << 20;

// Words in UTF-8; `accented` of 12 letters carry an accent (about).
std::string Words(int accented) {
  static const char* const kAccents[] = {"é", "ü", "ñ", "ö", "à", "ç", "ß", "î"};
  std::mt19937 random(7);
  std::string text;
  while (text.size() < kCorpusBytes * 5 / 4) {  // room for 1 MiB in any code page
    for (uint32_t letters = 2 + random() % 8; letters > 0; --letters) {
      if (static_cast<int>(random() % 12) < accented) {
        text += kAccents[random() % 8];
      } else {
        text += static_cast<char>('a' + random() % 26);
      }
    }
    text += random() % 12 == 0 ? ".\r\n" : " ";
  }
  return text;
}

std::string Iconv(const char* from, const char* to, std::string text) {
  iconv_t converter = iconv_open(to, from);
  std::string out(text.size() * 4 + 16, '\0');
  char *in = text.data(), *dst = out.data();
  size_t in_left = text.size(), out_left = out.size();
  iconv(converter, &in, &in_left, &dst, &out_left);
  iconv_close(converter);
  out.resize(out.size() - out_left);
  return out;
}

struct Conversion {
  const char* name;
  CodePage from, to;
  const char *iconv_from, *iconv_to;
  double target_short, target_long;  // 64 bytes; 4 KiB and 1 MiB
  bool western;
};

// Slices of `bytes` bytes that begin at characters; short ones rotate through the whole corpus.
class Slices {
 public:
  Slices(std::shared_ptr<std::string> text, size_t bytes, bool utf8) : corpus_(std::move(text)) {
    const std::string& corpus = *corpus_;
    for (size_t at = 0; at + bytes <= corpus.size(); at += bytes) {
      size_t start = at, end = at + bytes;
      while (utf8 && start < end && (corpus[start] & 0xC0) == 0x80) ++start;
      while (utf8 && end < corpus.size() && (corpus[end] & 0xC0) == 0x80) ++end;
      slices_.push_back({start, end - start});
    }
  }
  std::string_view Next() {
    if (next_ == slices_.size()) next_ = 0;
    auto [start, size] = slices_[next_++];
    return {corpus_->data() + start, size};
  }

 private:
  std::shared_ptr<std::string> corpus_;
  std::vector<std::pair<size_t, size_t>> slices_;
  size_t next_ = 0;
};

uint32_t ConvertOurs(std::string_view text, const Conversion& job, std::string& out) {
  CodePage to = job.to;
  return qv::ConvertThroughUnicode(text.data(), static_cast<uint32_t>(text.size()), job.from,
                                   out.data(), static_cast<uint32_t>(out.size()), &to,
                                   {qv::kKeep, 0})
      .written;
}

size_t ConvertTheirs(std::string_view text, iconv_t converter, std::string& out) {
  char *in = const_cast<char*>(text.data()), *dst = out.data();
  size_t in_left = text.size(), out_left = out.size();
  iconv(converter, &in, &in_left, &dst, &out_left);
  return out.size() - out_left;
}

// Both must give the same bytes before either is timed.
void CompareOnce(const Conversion& job, const std::string& corpus) {
  std::string ours(corpus.size() * 4 + 64, '\0');
  ours.resize(ConvertOurs(corpus, job, ours));
  if (ours != Iconv(job.iconv_from, job.iconv_to, corpus)) {
    std::fprintf(stderr, "%s: our bytes differ from iconv's\n", job.name);
    std::exit(1);
  }
}

void AddConversion(const Conversion& job) {
  auto corpus =
      std::make_shared<std::string>(Iconv("UTF-8", job.iconv_from, Words(job.western ? 1 : 0)));
  CompareOnce(job, *corpus);
  for (size_t bytes : {size_t{64}, size_t{4096}, kCorpusBytes}) {
    auto slices = std::make_shared<Slices>(corpus, bytes, job.from == kUtf8);
    auto out = std::make_shared<std::string>(bytes * 4 + 64, '\0');
    iconv_t converter = iconv_open(job.iconv_to, job.iconv_from);
    char label[80];
    std::snprintf(label, sizeof label, "%s, %s, %zu B", job.name, job.western ? "Western" : "ASCII",
                  bytes);
    bench::Add({label, "iconv", bytes == 64 ? job.target_short : job.target_long,
                [=](benchmark::State& state) {
                  for (auto _ : state) {
                    benchmark::DoNotOptimize(ConvertOurs(slices->Next(), job, *out));
                  }
                },
                [=](benchmark::State& state) {
                  for (auto _ : state) {
                    benchmark::DoNotOptimize(ConvertTheirs(slices->Next(), converter, *out));
                  }
                }});
  }
}

constexpr Conversion kConversions[] = {
    {"1252 to UTF-8", 1252, kUtf8, "CP1252", "UTF-8", 0.12, 0.05, false},
    {"1252 to UTF-8", 1252, kUtf8, "CP1252", "UTF-8", 0.35, 0.35, true},
    {"UTF-8 to 1252", kUtf8, 1252, "UTF-8", "CP1252", 0.12, 0.05, false},
    {"UTF-8 to 1252", kUtf8, 1252, "UTF-8", "CP1252", 0.35, 0.35, true},
    {"UTF-8 to UTF-16LE", kUtf8, kUtf16Little, "UTF-8", "UTF-16LE", 0.12, 0.06, false},
    {"UTF-8 to UTF-16LE", kUtf8, kUtf16Little, "UTF-8", "UTF-16LE", 0.5, 0.5, true},
};

#define QV_FORMAT_JOB(name, target, ...)                                                         \
  bench::Add({name, "snprintf", target,                                                          \
              [](benchmark::State& state) {                                                      \
                char out[8000];                                                                  \
                for (auto _ : state) benchmark::DoNotOptimize(FormatText(out, __VA_ARGS__));     \
              },                                                                                 \
              [](benchmark::State& state) {                                                      \
                char out[8000];                                                                  \
                for (auto _ : state) benchmark::DoNotOptimize(snprintf(out, 8000, __VA_ARGS__)); \
              }})

void AddFormatter() {
  static const char* volatile name = "settings";
  static volatile int number = 42, count = 123456;
  QV_FORMAT_JOB("FormatText, string and three numbers", 0.75, "%s: %d of %d at %08X\n", name,
                number, count, number);
  QV_FORMAT_JOB("FormatText, two strings", 1.0,
                "The folder %s could not be opened by the program %s\n", name, name);
  static volatile double value = 1234.5;
  QV_FORMAT_JOB("FormatText, four %0.0f", 1.15, "%0.0f %0.0f %0.0f %0.0f\n", value, value, value,
                value);
}

}  // namespace

int main(int argc, char** argv) {
  test::StartWithOwnState();
  ZRInitModuleResources(GetModuleHandleA(nullptr));
  LoadCharsetTables();
  for (const Conversion& job : kConversions) AddConversion(job);
  AddFormatter();
  int result = bench::Run(argc, argv);
  test::RemoveOwnState();
  return result;
}

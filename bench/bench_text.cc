// Code-page conversion beside glibc's iconv, and the formatter beside snprintf.
#include <iconv.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <random>

#include "bench/ratio.h"
#include "platform/windows_api.h"
#include "resources/charset_loader.h"
#include "resources/module_source.h"
#include "tests/test_platform.h"
#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/formatter.h"
#include "text/unicode_engines.h"
#include "text/utf8.h"

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

// Japanese in UTF-8, as prose is: hiragana, kanji, some katakana, a few letters.
std::string JapaneseWords() {
  std::mt19937 random(7);
  std::u32string codes;
  while (codes.size() < kCorpusBytes * 3 / 4) {
    const auto kind = static_cast<uint32_t>(random() % 20);
    for (auto letters = 1 + random() % 6; letters > 0; --letters) {
      codes += kind < 10 ? static_cast<char32_t>(0x3042 + random() % 80)
               : kind < 18
                   ? U"日本語文字東京大阪人間時電子送受信件名添付先生会社年月今回"[random() % 28]
               : kind < 19 ? static_cast<char32_t>(0x30A2 + random() % 80)
                           : static_cast<char32_t>('a' + random() % 26);
    }
    codes += random() % 8 == 0 ? U"。\r\n" : random() % 3 == 0 ? U"、" : U"";
  }
  std::string text;
  for (char32_t code : codes) {
    uint8_t bytes[4];
    const uint32_t size = qv::EncodeUtf8(code, bytes);
    text.append(reinterpret_cast<const char*>(bytes), size);
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
  const char* script;                // "ASCII", "Western", "Japanese"
};

std::string TextIn(const std::string& script) {
  return script == "Japanese" ? JapaneseWords() : Words(script == "Western" ? 1 : 0);
}

// Slices of `bytes` bytes that begin at characters; short ones rotate through the whole corpus.
class Slices {
 public:
  Slices(std::shared_ptr<std::string> text, size_t bytes, CodePage cp) : corpus_(std::move(text)) {
    const std::string& corpus = *corpus_;
    for (size_t start = 0, end = 0; end < corpus.size(); start = end) {
      while (end < corpus.size() && end - start < bytes) {
        end += CPCharSizeOrOne(corpus.data() + end, cp,
                               static_cast<uint32_t>(std::min<size_t>(corpus.size() - end, 7)));
      }
      if (end - start >= bytes || slices_.empty()) slices_.push_back({start, end - start});
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
  auto corpus = std::make_shared<std::string>(Iconv("UTF-8", job.iconv_from, TextIn(job.script)));
  CompareOnce(job, *corpus);
  for (size_t bytes : {size_t{64}, size_t{4096}, kCorpusBytes}) {
    auto slices = std::make_shared<Slices>(corpus, bytes, job.from);
    auto out = std::make_shared<std::string>(bytes * 4 + 64, '\0');
    iconv_t converter = iconv_open(job.iconv_to, job.iconv_from);
    char label[80];
    std::snprintf(label, sizeof label, "%s, %s, %zu B", job.name, job.script, bytes);
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
    {"1252 to UTF-8", 1252, kUtf8, "CP1252", "UTF-8", 0.12, 0.05, "ASCII"},
    {"1252 to UTF-8", 1252, kUtf8, "CP1252", "UTF-8", 0.35, 0.35, "Western"},
    {"UTF-8 to 1252", kUtf8, 1252, "UTF-8", "CP1252", 0.12, 0.05, "ASCII"},
    {"UTF-8 to 1252", kUtf8, 1252, "UTF-8", "CP1252", 0.35, 0.35, "Western"},
    {"932 to UTF-8", 932, kUtf8, "CP932", "UTF-8", 0.15, 0.06, "ASCII"},
    {"932 to UTF-8", 932, kUtf8, "CP932", "UTF-8", 0.5, 0.5, "Japanese"},
    {"UTF-8 to UTF-16LE", kUtf8, kUtf16Little, "UTF-8", "UTF-16LE", 0.12, 0.06, "ASCII"},
    {"UTF-8 to UTF-16LE", kUtf8, kUtf16Little, "UTF-8", "UTF-16LE", 0.5, 0.5, "Western"},
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

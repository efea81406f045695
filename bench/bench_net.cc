// Links beside RE2, mail addresses beside GMime, URL escaping beside stringencoders. A library that
// is not installed leaves its rows out.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#ifdef QV_HAVE_RE2
#include <re2/re2.h>
#endif
#ifdef QV_HAVE_GMIME
#include <gmime/gmime.h>
#endif
#ifdef QV_HAVE_STRINGENCODERS
#include <modp_burl.h>
#endif

#include "bench/ratio.h"
#include "net/addresses.h"
#include "net/links.h"
#include "net/url_escaping.h"

namespace {

using Texts = std::shared_ptr<const std::vector<std::string>>;

std::string Word(std::mt19937& random) {
  std::string word;
  for (auto letters = 2 + random() % 8; letters > 0; --letters) {
    word += static_cast<char>('a' + random() % 26);
  }
  return word;
}

// --- links ---

constexpr size_t kMailBytes = 4 << 20;

// Sentences of words; one word in 60 is a link or an address.
std::string MailText() {
  std::mt19937 random(3);
  std::string text;
  while (text.size() < kMailBytes) {
    const std::string host = Word(random) + "." + Word(random) + ".com";
    switch (random() % 180) {
      case 0:
        text += "http://" + host + "/" + Word(random) + "/" + Word(random) + ".html";
        break;
      case 1:
        text += "www." + host;
        break;
      case 2:
        text += Word(random) + "@" + host;
        break;
      default:
        text += Word(random);
    }
    const auto end = random() % 40;
    text += end == 0 ? ".\r\n" : end == 1 ? ".  " : end < 4 ? ", " : " ";
  }
  return text;
}

struct CountingFinder : ZRURLFinder {
  CountingFinder() : ZRURLFinder(0, true) {}
  void FoundURL(const char*) override { ++count; }
  void FoundAddress(const char*) override { ++count; }
  size_t count = 0;
};

size_t FindInBlocks(const std::string& text) {
  constexpr size_t kBlock = 4096;
  CountingFinder finder;
  for (size_t at = 0; at < text.size(); at += kBlock) {
    finder.FeedText(text.data() + at, std::min(kBlock, text.size() - at));
  }
  finder.FeedText(nullptr, 0);
  return finder.count;
}

size_t FindByByte(const std::string& text) {
  CountingFinder finder;
  for (const char c : text) finder.Feed(static_cast<uint8_t>(c));
  finder.FeedText(nullptr, 0);
  return finder.count;
}

template <class Find>
std::function<void(benchmark::State&)> Finding(std::shared_ptr<std::string> text, Find find) {
  return [=](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(find(*text));
  };
}

bool AddLinks() {
#ifdef QV_HAVE_RE2
  static const re2::RE2 kLinks(
      "(?:[a-z][a-z0-9+-]*://"
      "[^\\s<>\"]+|www\\.[^\\s<>\"]+|[a-z0-9._-]+@[a-z0-9-]+(?:\\.[a-z0-9-]+)+)");
  const auto with_re2 = [](const std::string& text) {
    re2::StringPiece rest(text);
    size_t count = 0;
    while (re2::RE2::FindAndConsume(&rest, kLinks)) ++count;
    return count;
  };
  const auto text = std::make_shared<std::string>(MailText());
  const size_t found = FindInBlocks(*text);
  if (found != FindByByte(*text) || found != with_re2(*text)) return false;
  bench::Add({"links in 4 MiB, in blocks", "RE2", 1.8, Finding(text, FindInBlocks),
              Finding(text, with_re2)});
  bench::Add({"links in 4 MiB, a call per byte", "RE2", 3.5, Finding(text, FindByByte),
              Finding(text, with_re2)});
#else
  std::printf("RE2 is not installed (libre2-dev): its rows are left out\n");
#endif
  return true;
}

// --- addresses ---

// Ten forms of an address.
Texts Addresses() {
  static const char* const kForms[][2] = {
      {"", ""},   {"<", ">"},    {"\"A B\" <", ">"},  {"A B <", ">"},   {"", " (A B)"},
      {" ", " "}, {"A <", "> "}, {"\"B, A\" <", ">"}, {"A (x) <", ">"}, {"\"A\" <", "> (x)"}};
  std::mt19937 random(4);
  auto texts = std::make_shared<std::vector<std::string>>();
  for (int i = 0; i < 10000; ++i) {
    const auto& form = kForms[i % 10];
    texts->push_back(form[0] + Word(random) + "." + Word(random) + "@" + Word(random) + ".com" +
                     form[1]);
  }
  return texts;
}

template <class Job>
std::function<void(benchmark::State&)> Rotating(Texts texts, Job job) {
  return [=](benchmark::State& state) mutable {
    size_t next = 0;
    for (auto _ : state) {
      job((*texts)[next]);
      if (++next == texts->size()) next = 0;
    }
  };
}

#ifdef QV_HAVE_GMIME

// Each keeps the address that it read last.
struct Cleaned {
  char address[256], name[64];
  void operator()(const std::string& text) {
    ZRCleanAddress(text.c_str(), address, sizeof address, name, sizeof name);
    benchmark::DoNotOptimize(address);
  }
};

struct Parsed {
  char address[256];
  void operator()(const std::string& text) {
    InternetAddressList* list = internet_address_list_parse(nullptr, text.c_str());
    InternetAddress* first = internet_address_list_get_address(list, 0);
    const char* found = internet_address_mailbox_get_addr(INTERNET_ADDRESS_MAILBOX(first));
    std::memcpy(address, found, std::min(std::strlen(found) + 1, sizeof address));
    g_object_unref(list);
  }
};

bool AddAddresses() {
  g_mime_init();
  const Texts texts = Addresses();
  Cleaned ours;
  Parsed theirs;
  for (const std::string& text : *texts) {
    ours(text);
    theirs(text);
    if (std::strcmp(ours.address, theirs.address) != 0) return false;
  }
  bench::Add({"clean an address of ten forms", "GMime", 0.1, Rotating(texts, ours),
              Rotating(texts, theirs)});
  return true;
}

#else

bool AddAddresses() {
  std::printf("GMime is not installed (libgmime-3.0-dev): its row is left out\n");
  return true;
}

#endif

// --- escaping ---

// Different texts of `bytes` bytes, 1 MiB of them; `accented` of 12 letters have an accent.
Texts WordTexts(size_t bytes, uint32_t accented) {
  std::mt19937 random(6);
  auto texts = std::make_shared<std::vector<std::string>>();
  for (size_t total = 0; total < 1 << 20; total += bytes) {
    std::string text;
    while (text.size() < bytes) text += Word(random) + " ";
    for (char& c : text) {
      if (c != ' ' && random() % 12 < accented) c = '\xE9';
    }
    text.resize(bytes);
    texts->push_back(text);
  }
  return texts;
}

#ifdef QV_HAVE_STRINGENCODERS

constexpr size_t kRoom = 4096;

void Escape(const std::string& text) {
  char out[kRoom];
  auto size = static_cast<uint32_t>(3 * text.size() + 1);
  ZRURLEscape(text.data(), static_cast<uint32_t>(text.size()), out, &size, nullptr, kUtf8);
  benchmark::DoNotOptimize(out);
}

void PeerEscape(const std::string& text) {
  char out[kRoom];
  modp_burl_encode(out, text.data(), text.size());
  benchmark::DoNotOptimize(out);
}

void Unescape(const std::string& text) {
  char out[kRoom];
  qv::UnescapeURLAndSlashes(text.c_str(), out, kRoom, kUtf8);
  benchmark::DoNotOptimize(out);
}

void PeerUnescape(const std::string& text) {
  char out[kRoom];
  modp_burl_decode(out, text.data(), text.size());
  benchmark::DoNotOptimize(out);
}

std::string Escaped(const std::string& text) {
  char out[kRoom];
  uint32_t size = kRoom;
  ZRURLEscape(text.data(), static_cast<uint32_t>(text.size()), out, &size, nullptr, kUtf8);
  return {out, size};
}

// The peer reads what we wrote, and we what it wrote.
bool Agree(const std::string& text) {
  char theirs[kRoom], back[kRoom];
  const std::string escaped = Escaped(text);
  modp_burl_decode(back, escaped.data(), escaped.size());
  modp_burl_encode(theirs, text.data(), text.size());
  char ours[kRoom];
  qv::UnescapeURLAndSlashes(theirs, ours, kRoom, kUtf8);
  return text == back && text == ours;
}

bool AddJob(const char* name, size_t bytes, uint32_t accented, double escape, double unescape) {
  const Texts texts = WordTexts(bytes, accented);
  auto escaped = std::make_shared<std::vector<std::string>>();
  for (const std::string& text : *texts) {
    if (!Agree(text)) return false;
    escaped->push_back(Escaped(text));
  }
  bench::Add({std::string("escape ") + name, "stringencoders", escape, Rotating(texts, Escape),
              Rotating(texts, PeerEscape)});
  bench::Add({std::string("unescape ") + name, "stringencoders", unescape,
              Rotating(escaped, Unescape), Rotating(escaped, PeerUnescape)});
  return true;
}

bool AddEscaping() {
  return AddJob("words, 64 B", 64, 0, 1.5, 1.5) && AddJob("words, 1000 B", 1000, 0, 1.1, 1.0) &&
         AddJob("Western, 1000 B", 1000, 1, 0.5, 0);
}

#else

bool AddEscaping() {
  std::printf("stringencoders is not installed (libmodpbase64-dev): its rows are left out\n");
  return true;
}

#endif

}  // namespace

int main(int argc, char** argv) {
  if (!AddLinks() || !AddAddresses() || !AddEscaping()) {
    std::fprintf(stderr, "the libraries give different answers\n");
    return 1;
  }
  return bench::Run(argc, argv);
}

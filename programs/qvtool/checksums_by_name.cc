#include "programs/qvtool/checksums_by_name.h"

#include <charconv>
#include <functional>

#include "format/encodings/checksums.h"
#include "format/encodings/hmac.h"
#include "format/encodings/md2.h"
#include "format/encodings/md4.h"
#include "format/encodings/md5.h"
#include "format/encodings/sha1.h"

namespace qvtool {
namespace {

constexpr char kHexDigits[] = "0123456789abcdef";

// The sum so far is always what the library's function would return.
class Crc final : public Checksum {
 public:
  using Extend = std::function<uint64_t(uint64_t sum, const char* bytes, size_t count)>;

  Crc(int32_t bits, uint64_t start, Extend extend)
      : bits_(bits), sum_(start), extend_(std::move(extend)) {}

  void Add(std::string_view bytes) override { sum_ = extend_(sum_, bytes.data(), bytes.size()); }
  std::string Hex() override {
    std::string text;
    for (int32_t shift = (bits_ + 3) / 4 * 4; shift > 0;) {
      text += kHexDigits[sum_ >> (shift -= 4) & 15];
    }
    return text;
  }

 private:
  int32_t bits_;
  uint64_t sum_;
  Extend extend_;
};

std::unique_ptr<Checksum> NewCrc16() {
  return std::make_unique<Crc>(16, 0, [](uint64_t sum, const char* bytes, size_t count) {
    return ZRCRC16(bytes, count, __builtin_bswap16(static_cast<uint16_t>(sum)));
  });
}

// Inverted at both ends, or not at all.
std::unique_ptr<Checksum> NewCrc32(uint32_t inversion) {
  return std::make_unique<Crc>(32, 0, [inversion](uint64_t sum, const char* bytes, size_t count) {
    return qv::ExtendCRC32(static_cast<uint32_t>(sum) ^ inversion, bytes, count) ^ inversion;
  });
}

std::unique_ptr<Checksum> NewCrcOfWidth(int32_t width) {
  const uint64_t start = ZRCRCWidth(nullptr, 0, width);
  return std::make_unique<Crc>(width, start,
                               [width](uint64_t sum, const char* bytes, size_t count) {
                                 return qv::ExtendCRCWidth(sum, bytes, count, width);
                               });
}

class DigestSum final : public Checksum {
 public:
  DigestSum(std::unique_ptr<qv::Digest> digest, const std::optional<std::string>& key)
      : digest_(std::move(digest)), used_(digest_.get()) {
    if (!key) return;
    hmac_ = std::make_unique<qv::Hmac>(*digest_, key->data(), key->size());
    used_ = hmac_.get();
  }

  void Add(std::string_view bytes) override { used_->Add(bytes.data(), bytes.size()); }
  std::string Hex() override {
    uint8_t out[qv::kMostDigestSize];
    used_->Finish(out);
    std::string text;
    for (size_t i = 0; i < used_->size(); ++i) {
      text += kHexDigits[out[i] >> 4];
      text += kHexDigits[out[i] & 15];
    }
    return text;
  }

 private:
  std::unique_ptr<qv::Digest> digest_;
  std::unique_ptr<qv::Hmac> hmac_;
  qv::Digest* used_;
};

std::unique_ptr<qv::Digest> NewDigest(const std::string& name) {
  if (name == "sha1") return std::make_unique<qv::Sha1>();
  if (name == "md5") return std::make_unique<qv::Md5>();
  if (name == "md4") return std::make_unique<qv::Md4>();
  if (name == "md2") return std::make_unique<qv::Md2>();
  return nullptr;
}

// That of "crc:24"; 0 for another name.
int32_t WidthIn(std::string_view name) {
  constexpr std::string_view kPrefix = "crc:";
  if (name.substr(0, kPrefix.size()) != kPrefix) return 0;
  name.remove_prefix(kPrefix.size());
  int32_t width = 0;
  const char* end = name.data() + name.size();
  const auto [parsed, error] = std::from_chars(name.data(), end, width);
  return error == std::errc() && parsed == end && qv::CRCPolynomial(width) != 0 ? width : 0;
}

int DigitOf(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

}  // namespace

std::unique_ptr<Checksum> NewChecksum(const std::string& name,
                                      const std::optional<std::string>& key) {
  if (auto digest = NewDigest(name)) return std::make_unique<DigestSum>(std::move(digest), key);
  if (key) return nullptr;
  if (name == "crc16") return NewCrc16();
  if (name == "crc32") return NewCrc32(~uint32_t{0});
  if (name == "crc32raw") return NewCrc32(0);
  const int32_t width = WidthIn(name);
  return width == 0 ? nullptr : NewCrcOfWidth(width);
}

std::optional<std::string> BytesOfHex(std::string_view digits) {
  std::string bytes;
  if (digits.size() % 2 != 0) return std::nullopt;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int high = DigitOf(digits[i]), low = DigitOf(digits[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high << 4 | low);
  }
  return bytes;
}

}  // namespace qvtool

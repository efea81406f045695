// glibc's iconv and ICU, as other opinions on character sets. Their converters stay open.
#pragma once

#include <gtest/gtest.h>
#include <iconv.h>
#include <unicode/ucnv.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace test {

constexpr char kPeerUnicode[] = "UTF-16BE";
constexpr int kPeerRoom = 1 << 14;  // bytes, or units

// Nothing where the peer has no character for something of the text.
using PeerText = std::optional<std::string>;

struct ClosePeer {
  void operator()(UConverter* converter) const { ucnv_close(converter); }
  void operator()(iconv_t converter) const { iconv_close(converter); }
};

inline PeerText ByIconv(const char* from, const char* to, std::string text) {
  static std::map<std::pair<std::string, std::string>, std::unique_ptr<void, ClosePeer>> all;
  auto& converter = all[{from, to}];
  if (converter == nullptr) converter.reset(iconv_open(to, from));
  EXPECT_NE(converter.get(), reinterpret_cast<iconv_t>(-1)) << from << " to " << to;
  iconv(converter.get(), nullptr, nullptr, nullptr, nullptr);
  static char out[kPeerRoom];
  char *in_at = text.data(), *out_at = out;
  size_t in_left = text.size(), out_left = sizeof out;
  if (iconv(converter.get(), &in_at, &in_left, &out_at, &out_left) != 0) return {};
  iconv(converter.get(), nullptr, nullptr, &out_at, &out_left);  // what it composes or closes
  return std::string(out, sizeof out - out_left);
}

inline UConverter* IcuConverter(const char* page) {
  static std::map<std::string, std::unique_ptr<UConverter, ClosePeer>> all;
  auto& converter = all[page];
  UErrorCode error = U_ZERO_ERROR;
  if (converter == nullptr) {
    converter.reset(ucnv_open(page, &error));
    ucnv_setToUCallBack(converter.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                        &error);
    ucnv_setFromUCallBack(converter.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr,
                          &error);
    ucnv_setFallback(converter.get(), false);
  }
  EXPECT_TRUE(U_SUCCESS(error)) << page;
  ucnv_reset(converter.get());
  return converter.get();
}

inline PeerText ByIcu(const char* from, const char* to, const std::string& text) {
  UErrorCode error = U_ZERO_ERROR;
  static char16_t units[kPeerRoom];
  const int count = ucnv_toUChars(IcuConverter(from), units, kPeerRoom, text.data(),
                                  static_cast<int>(text.size()), &error);
  static char out[kPeerRoom];
  const int size = ucnv_fromUChars(IcuConverter(to), out, kPeerRoom, units, count, &error);
  return U_SUCCESS(error) ? PeerText(std::string(out, static_cast<size_t>(size))) : PeerText();
}

}  // namespace test

#include "programs/qvclient/base64_text.h"

#include <cstdint>

namespace qvclient {
namespace {

constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

uint32_t ByteAt(std::string_view bytes, size_t at) {
  return at < bytes.size() ? static_cast<unsigned char>(bytes[at]) : 0;
}

void AppendGroup(std::string_view bytes, size_t at, std::string* text) {
  uint32_t group = ByteAt(bytes, at) << 16 | ByteAt(bytes, at + 1) << 8 | ByteAt(bytes, at + 2);
  *text += kAlphabet[group >> 18];
  *text += kAlphabet[group >> 12 & 63];
  *text += at + 1 < bytes.size() ? kAlphabet[group >> 6 & 63] : '=';
  *text += at + 2 < bytes.size() ? kAlphabet[group & 63] : '=';
}

void AppendBase64(std::string_view bytes, std::string* text) {
  for (size_t at = 0; at < bytes.size(); at += 3) AppendGroup(bytes, at, text);
}

}  // namespace

std::string Base64(std::string_view bytes) {
  std::string text;
  AppendBase64(bytes, &text);
  return text;
}

std::string Base64Lines(std::string_view bytes) {
  std::string text;
  text.reserve((bytes.size() / kBase64LineBytes + 1) * 78);
  for (size_t at = 0; at < bytes.size(); at += kBase64LineBytes) {
    AppendBase64(bytes.substr(at, kBase64LineBytes), &text);
    text += "\r\n";
  }
  return text;
}

}  // namespace qvclient

#include "programs/qvclient/base64_text.h"

#include "format/encodings/base64.h"

namespace qvclient {
namespace {

constexpr char kNoSeparator[] = "";
constexpr std::string_view kLineEnd = "\r\n";

void AppendBase64(std::string_view bytes, std::string* text) {
  const size_t before = text->size();
  text->resize(before + ZRBase64Encode(bytes.data(), bytes.size(), nullptr, kNoSeparator));
  ZRBase64Encode(bytes.data(), bytes.size(), text->data() + before, kNoSeparator);
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
    text += kLineEnd;
  }
  return text;
}

}  // namespace qvclient

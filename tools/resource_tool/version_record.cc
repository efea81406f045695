#include "tools/resource_tool/version_record.h"

#include <string_view>

namespace qvresource {
namespace {

constexpr uint32_t kSignature = 0xFEEF04BD;
constexpr uint32_t kStructureVersion = 0x00010000;
constexpr uint32_t kFlagsMask = 0x3F;
constexpr uint32_t kWindows32 = 0x00040004;
constexpr uint32_t kLibrary = 2;
constexpr uint32_t kLanguage = 0x0409, kCodePage = 1252;
constexpr std::string_view kLanguageKey = "040904E4";  // the two above, in hexadecimal

// A node of the record's tree: {length, length of value, is text, key, value, children}.
class Node {
 public:
  Node(ByteVector& out, std::string_view key, bool is_text) : out_(out), start_(out.size()) {
    AppendLittle(out_, 0, 2);
    AppendLittle(out_, 0, 2);
    AppendLittle(out_, is_text ? 1 : 0, 2);
    AppendWide(out_, key);
    AppendLittle(out_, 0, 2);
    AlignTo4(out_);
  }
  ~Node() {
    const size_t length = out_.size() - start_;
    Patch(0, length);
    AlignTo4(out_);
  }
  Node(const Node&) = delete;
  Node& operator=(const Node&) = delete;

  // Counted in characters for text, in bytes otherwise.
  void SetValueLength(size_t length) { Patch(2, length); }

 private:
  void Patch(size_t offset, size_t value) {
    out_[start_ + offset] = static_cast<uint8_t>(value);
    out_[start_ + offset + 1] = static_cast<uint8_t>(value >> 8);
  }

  ByteVector& out_;
  size_t start_;
};

void AppendFixedPart(ByteVector& out, const std::array<uint16_t, 4>& number) {
  const uint32_t high = static_cast<uint32_t>(number[0]) << 16 | number[1];
  const uint32_t low = static_cast<uint32_t>(number[2]) << 16 | number[3];
  for (uint32_t value : {kSignature, kStructureVersion, high, low, high, low, kFlagsMask, 0u,
                         kWindows32, kLibrary, 0u, 0u, 0u}) {
    AppendLittle(out, value, 4);
  }
}

void AppendTexts(ByteVector& out, const VersionRecord& record) {
  Node info(out, "StringFileInfo", true);
  Node table(out, kLanguageKey, true);
  for (const auto& [key, text] : record.texts) {
    Node node(out, key, true);
    node.SetValueLength(text.size() + 1);
    AppendWide(out, text);
    AppendLittle(out, 0, 2);
  }
}

void AppendTranslation(ByteVector& out) {
  Node info(out, "VarFileInfo", true);
  Node translation(out, "Translation", false);
  translation.SetValueLength(4);
  AppendLittle(out, kLanguage, 2);
  AppendLittle(out, kCodePage, 2);
}

}  // namespace

ByteVector EncodeVersionRecord(const VersionRecord& record) {
  ByteVector out;
  {
    Node root(out, "VS_VERSION_INFO", false);
    const size_t start = out.size();
    AppendFixedPart(out, record.number);
    root.SetValueLength(out.size() - start);
    AppendTexts(out, record);
    AppendTranslation(out);
  }
  return out;
}

}  // namespace qvresource

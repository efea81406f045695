#include "format/hex_dump.h"

#include <algorithm>

#include "app/debug_output.h"
#include "base/big_endian.h"

namespace {

constexpr uint32_t kUsualPerLine = 16;

// Gathers characters and writes them when a line ends, or when there is no more room.
class LineWriter {
 public:
  void Put(char c) {
    text_[length_++] = c;
    if (c == '\n' || length_ == kRoom) Write();
  }
  void PutByte(uint8_t byte) {
    Put(kDigits[byte >> 4]);
    Put(kDigits[byte & 0xF]);
    Put(' ');
  }
  void PutNoByte() {
    for (int i = 0; i < 3; ++i) Put(' ');
  }

 private:
  static constexpr uint32_t kRoom = 1000;
  static constexpr char kDigits[] = "0123456789abcdef";

  void Write() {
    text_[length_] = '\0';
    DebugPrint("%s", text_);
    length_ = 0;
  }

  uint32_t length_ = 0;
  char text_[kRoom + 1];
};

void PutLine(LineWriter& writer, qv::Bytes bytes, uint32_t per_line, bool with_characters) {
  for (const uint8_t byte : bytes) writer.PutByte(byte);
  for (size_t i = bytes.size(); i < per_line; ++i) writer.PutNoByte();
  if (with_characters) {
    for (const uint8_t byte : bytes) writer.Put(byte >= 0x20 ? static_cast<char>(byte) : '.');
  }
  writer.Put('\n');
}

}  // namespace

void ZRHexDump(const void* bytes, uint32_t count, uint32_t bytes_per_line, bool with_characters) {
  if (bytes == nullptr) return;
  const size_t per_line = bytes_per_line == 0 ? kUsualPerLine : bytes_per_line;
  qv::Bytes rest(static_cast<const uint8_t*>(bytes), count);
  LineWriter writer;
  while (!rest.empty()) {
    const qv::Bytes line = rest.first(std::min(rest.size(), per_line));
    PutLine(writer, line, static_cast<uint32_t>(per_line), with_characters);
    rest = rest.subspan(line.size());
  }
}

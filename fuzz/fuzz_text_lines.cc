// Any bytes as a file of lines, read with buffers of any size: every byte is consumed once and in
// order, each line is what was consumed without its line end, and nothing is written behind a
// buffer.
#include <cstring>
#include <string>

#include "files/text_lines.h"
#include "fuzz/fuzz_support.h"

namespace {

class Memory final : public qv::LineBytes {
 public:
  explicit Memory(const std::string& text) : text_(text) {}
  uint64_t Mark() const override { return mark_; }
  bool MoveMark(uint64_t position) override {
    FUZZ_CHECK(position <= text_.size());
    mark_ = static_cast<size_t>(position);
    return true;
  }
  ZRError ReadHere(void* buffer, uint32_t* count) override {
    const uint32_t wished = *count;
    *count = static_cast<uint32_t>(text_.copy(static_cast<char*>(buffer), wished, mark_));
    mark_ += *count;
    return *count < wished ? ZRErrEOF : ZRErrNone;
  }
  ZRError WriteHere(const void*, uint32_t) override { return ZRErrNotSupported; }

 private:
  const std::string& text_;
  size_t mark_ = 0;
};

bool IsLineEnd(const std::string& end) {
  return end.empty() || end == "\r" || end == "\n" || end == "\r\n" || end == "\n\r";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  const uint32_t capacity = 1 + input.Byte();
  const std::string text = input.Text();
  Memory file(text);
  qv::TextLines lines(file);
  size_t at = 0;
  for (;;) {
    fuzz::GuardedBuffer buffer(capacity + 1);
    auto length = static_cast<int32_t>(capacity);
    const ZRError error = lines.ReadLine(buffer.data(), &length);
    FUZZ_CHECK(buffer.Intact());
    if (error == ZRErrEOF) break;
    FUZZ_CHECK(error == ZRErrNone && length > 0);
    const std::string taken = text.substr(at, static_cast<size_t>(length));
    const size_t end = std::min(taken.find_first_of("\r\n"), taken.size());
    FUZZ_CHECK(IsLineEnd(taken.substr(end)));
    FUZZ_CHECK(std::memcmp(buffer.data(), taken.data(), end) == 0 && buffer.data()[end] == 0);
    at += taken.size();
  }
  FUZZ_CHECK(at == text.size());
  return 0;
}

#include "programs/common/progress.h"

#include <algorithm>
#include <cstdio>

#include "platform/native_files.h"

namespace program {

namespace {

void ClearLine() { std::fputs("\r\x1B[K", stderr); }

}  // namespace

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)), total_(total), shown_(platform::ErrorStreamIsTerminal()) {
  if (shown_) Show();
}

Progress::~Progress() {
  if (shown_) ClearLine();
}

void Progress::Advance(uint64_t amount) {
  done_ += amount;
  if (total_ == 0) return;
  int percent = static_cast<int>(std::min<uint64_t>(100, done_ * 100 / total_));
  if (percent == percent_) return;
  percent_ = percent;
  if (shown_) Show();
}

void Progress::Show() const {
  if (total_ == 0) {
    std::fprintf(stderr, "\r%s ...", label_.c_str());
  } else {
    std::fprintf(stderr, "\r%s: %d%%", label_.c_str(), percent_);
  }
  std::fflush(stderr);
}

ByteProgress::ByteProgress(std::string label)
    : label_(std::move(label)), can_show_(platform::ErrorStreamIsTerminal()) {}

ByteProgress::~ByteProgress() {
  if (shown_ > 0) ClearLine();
}

void ByteProgress::Advance(uint64_t bytes) {
  done_ += bytes;
  const uint64_t millions = done_ / 1000000;
  if (!can_show_ || millions == shown_) return;
  shown_ = millions;
  std::fprintf(stderr, "\r%s: %s MB", label_.c_str(), std::to_string(millions).c_str());
  std::fflush(stderr);
}

}  // namespace program

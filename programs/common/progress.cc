#include "programs/common/progress.h"

#include <algorithm>
#include <cstdio>

#include "platform/native_files.h"

namespace program {

Progress::Progress(std::string label, uint64_t total)
    : label_(std::move(label)), total_(total), shown_(platform::ErrorStreamIsTerminal()) {
  if (shown_) Show();
}

Progress::~Progress() {
  if (shown_) std::fputs("\r\x1B[K", stderr);
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

}  // namespace program

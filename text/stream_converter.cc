#include <algorithm>
#include <cstring>

#include "text/converters.h"
#include "text/unicode_engines.h"

namespace qv {

StreamConverter::StreamConverter(CodePage from, CodePage to, const ConversionOptions& options)
    : job_(MakeEngineJob(from, to, options.line_end_mode, options.decomposition)),
      state_(job_),
      usable_(job_.possible()),
      mark_written_((options.flags & kConvertByteOrderMark) == 0) {}

ConversionResult StreamConverter::Convert(const char* input, uint32_t input_bytes, char* output,
                                          uint32_t output_bytes) {
  return Run(input, input_bytes, output, output_bytes, false);
}

ConversionResult StreamConverter::Finish(char* output, uint32_t output_bytes) {
  return Run("", 0, output, output_bytes, true);
}

ConversionResult StreamConverter::Run(const char* input, uint32_t input_bytes, char* output,
                                      uint32_t output_bytes, bool at_end) {
  if (!usable_ || input == nullptr || output == nullptr) return {};
  const auto* in = reinterpret_cast<const uint8_t*>(input);
  auto* out = reinterpret_cast<uint8_t*>(output);
  EngineCursor at{in, in + input_bytes, out, out + output_bytes};
  if (!mark_written_) {
    mark_written_ = WriteByteOrderMark(job_, state_, at) == EngineStop::kInputEnd;
  }
  if (mark_written_ && ConvertKept(at, at_end)) ConvertRest(at, at_end);
  if (at_end && mark_written_ && kept_bytes_ == 0 && output_bytes >= kMostCloseBytes) {
    CloseEngine(job_, state_, at);
  }
  return {true, static_cast<uint32_t>(at.in - in), static_cast<uint32_t>(at.out - out)};
}

// Converts what was kept, joined with the first bytes of the input. True when nothing is kept any
// more, so that the input can be converted where it lies.
bool StreamConverter::ConvertKept(EngineCursor& at, bool at_end) {
  while (kept_bytes_ > 0) {
    // Longer than anything that can be kept and completed: a sequence of seven bytes.
    uint8_t joined[2 * sizeof kept_];
    const size_t added =
        std::min<size_t>(static_cast<size_t>(at.in_end - at.in), sizeof joined - kept_bytes_);
    std::copy_n(at.in, added, std::copy_n(kept_, kept_bytes_, joined));
    EngineCursor inside{joined, joined + kept_bytes_ + added, at.out, at.out_end};
    const EngineStop stop = RunEngine(job_, state_, at_end, inside);
    at.out = inside.out;
    const auto used = static_cast<uint32_t>(inside.in - joined);
    if (used >= kept_bytes_) {
      at.in += used - kept_bytes_;
      kept_bytes_ = 0;
      return true;
    }
    std::memmove(kept_, kept_ + used, kept_bytes_ - used);
    kept_bytes_ -= used;
    if (used > 0) continue;
    if (stop == EngineStop::kCut) KeepOrDrop(at, at_end);
    return false;
  }
  return true;
}

void StreamConverter::ConvertRest(EngineCursor& at, bool at_end) {
  const EngineStop stop = RunEngine(job_, state_, at_end, at);
  if (stop == EngineStop::kCut) KeepOrDrop(at, at_end);
}

// Takes over the rest of the input, which is not a whole character.
void StreamConverter::KeepOrDrop(EngineCursor& at, bool at_end) {
  const auto rest = static_cast<uint32_t>(at.in_end - at.in);
  std::copy_n(at.in, rest, kept_ + kept_bytes_);
  kept_bytes_ += rest;
  at.in = at.in_end;
  if (!at_end) return;
  cut_bytes_ += kept_bytes_;
  kept_bytes_ = 0;
}

}  // namespace qv

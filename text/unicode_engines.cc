#include "text/unicode_engines.h"

#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/engine_loop.h"
#include "text/target_choice.h"
#include "text/text_size.h"

namespace qv {
namespace {

struct Input {
  const char* text;
  uint32_t bytes;
  CodePage code_page;
};
struct Output {
  char* text;
  uint32_t room;
  CodePage code_page;
};

ConversionResult Convert(const Input& input, const Output& output,
                         const ConversionOptions& options) {
  const EngineJob job = MakeEngineJob(input.code_page, output.code_page, options.line_end_mode,
                                      options.decomposition);
  if (!job.possible()) return {};
  const bool measured = input.bytes == kMeasure;
  const uint32_t terminator = measured ? static_cast<uint32_t>(CPTermSize(output.code_page)) : 0;
  if (output.room < terminator) return {true, 0, 0};
  const auto* in = reinterpret_cast<const uint8_t*>(input.text);
  auto* out = reinterpret_cast<uint8_t*>(output.text);
  EngineCursor at{in, in + (measured ? TextSize(input.text, input.code_page) : input.bytes), out,
                  out + (output.room - terminator)};
  EngineState state(job);
  const bool mark = (options.flags & kConvertByteOrderMark) != 0;
  if (!mark || WriteByteOrderMark(job, state, at) == EngineStop::kInputEnd) {
    RunEngine(job, state, true, at);
  }
  CloseEngine(job, state, at);
  for (uint32_t i = 0; i < terminator; ++i) *at.out++ = 0;
  return {true, static_cast<uint32_t>(at.in - in), static_cast<uint32_t>(at.out - out)};
}

}  // namespace

ConversionResult ConvertThroughUnicode(const char* input, uint32_t input_bytes, CodePage from,
                                       char* output, uint32_t output_bytes, CodePage* to,
                                       const ConversionOptions& options) {
  if (input == nullptr || output == nullptr || to == nullptr) return {};
  if (*to == 0 || *to == kDefaultCodePage) {
    if (!IsUnicodeCodePage(from)) return {};
    *to = ChooseTargetCodePage(input, input_bytes == kMeasure ? TextSize(input, from) : input_bytes,
                               from);
  }
  if (!IsUnicodeCodePage(from) && !IsUnicodeCodePage(*to)) return {};
  return Convert({input, input_bytes, from}, {output, output_bytes, *to}, options);
}

ConversionResult ConvertBetweenCodePages(const char* input, uint32_t input_bytes, CodePage from,
                                         char* output, uint32_t output_bytes, CodePage to,
                                         const ConversionOptions& options) {
  if (input == nullptr || output == nullptr) return {};
  return Convert({input, input_bytes, from}, {output, output_bytes, to}, options);
}

}  // namespace qv

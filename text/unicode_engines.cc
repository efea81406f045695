#include "text/unicode_engines.h"

#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/engine_loop.h"
#include "text/target_choice.h"
#include "text/text_size.h"

namespace qv {
namespace {

// Input, forms and room of one conversion, after its special arguments are resolved.
struct Conversion {
  EngineSource source;
  EngineTarget target;
  LineEndMode line_ends;
  uint32_t flags;
  uint32_t terminator;  // bytes to append
};

ConversionResult RunConversion(const Conversion& conversion, const char* input,
                               uint32_t input_bytes, char* output, uint32_t output_bytes) {
  if (output_bytes < conversion.terminator) return {true, 0, 0};
  const auto* in = reinterpret_cast<const uint8_t*>(input);
  auto* out = reinterpret_cast<uint8_t*>(output);
  EngineCursor at{in, in + input_bytes, out, out + (output_bytes - conversion.terminator)};
  const bool mark = (conversion.flags & kConvertByteOrderMark) != 0;
  if (!mark || WriteByteOrderMark(conversion.target, at) == EngineStop::kInputEnd) {
    RunEngine(conversion.source, conversion.target, conversion.line_ends, true, at);
  }
  for (uint32_t i = 0; i < conversion.terminator; ++i) *at.out++ = 0;
  return {true, static_cast<uint32_t>(at.in - in), static_cast<uint32_t>(at.out - out)};
}

ConversionResult Convert(bool needs_unicode, const char* input, uint32_t input_bytes, CodePage from,
                         char* output, uint32_t output_bytes, CodePage to,
                         const ConversionOptions& options) {
  const EngineSource source = FindEngineSource(from);
  const EngineTarget target = FindEngineTarget(to);
  if (source.form == TextForm::kNone || target.form == TextForm::kNone) return {};
  if (needs_unicode && source.form == TextForm::kBytes && target.form == TextForm::kBytes) {
    return {};
  }
  const bool measured = input_bytes == kMeasure;
  if (measured) input_bytes = TextSize(input, from);
  const Conversion conversion{source, target, ResolveLineEnds(options.line_end_mode, from, to),
                              options.flags, measured ? static_cast<uint32_t>(CPTermSize(to)) : 0};
  return RunConversion(conversion, input, input_bytes, output, output_bytes);
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
  return Convert(true, input, input_bytes, from, output, output_bytes, *to, options);
}

ConversionResult ConvertBetweenCodePages(const char* input, uint32_t input_bytes, CodePage from,
                                         char* output, uint32_t output_bytes, CodePage to,
                                         const ConversionOptions& options) {
  if (input == nullptr || output == nullptr) return {};
  return Convert(false, input, input_bytes, from, output, output_bytes, to, options);
}

}  // namespace qv

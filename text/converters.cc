#include "text/converters.h"

#include <algorithm>
#include <forward_list>
#include <new>
#include <tuple>
#include <vector>

#include "base/lock_object.h"
#include "text/byte_converters.h"
#include "text/code_page_strings.h"
#include "text/text_size.h"
#include "text/unicode_engines.h"

namespace qv {
namespace {

using ConverterList = std::forward_list<std::unique_ptr<Converter>>;

struct ConverterRegistry {
  // Guarded by `lock` once threads convert; the order changes, the converters stay where they are.
  LockObject lock;
  ConverterList list;  // most recently used first
  // Written while the registry is built.
  uint32_t count = 0;
  std::vector<const Converter*> sorted;
};

ConverterRegistry& State() {
  static ConverterRegistry state;
  return state;
}

bool ComesBefore(const Converter* a, const Converter* b) {
  const auto rank = [](const Converter* converter) {
    return std::make_tuple(ScriptClass(converter->destination),
                           converter->source != converter->destination, converter->destination,
                           converter->source);
  };
  return rank(a) < rank(b);
}

const Converter* FindAndMoveToFront(CodePage from, CodePage to) {
  ConverterRegistry& state = State();
  ScopedLock hold(state.lock);
  auto before = state.list.before_begin();
  for (auto at = state.list.begin(); at != state.list.end(); before = at++) {
    if ((*at)->source != from || (*at)->destination != to) continue;
    if (before != state.list.before_begin()) {
      state.list.splice_after(state.list.before_begin(), state.list, before);
    }
    return state.list.front().get();
  }
  return nullptr;
}

struct TextArguments {
  const char* input;
  uint32_t input_bytes;
  CodePage from;
  char* output;
  uint32_t output_bytes;
  CodePage to;
  ConversionOptions options;
};

// Without a converter: equal code pages need none; others pass through Unicode, except between a
// multi-byte page and a single-byte one.
ConversionResult ConvertWithoutConverter(const TextArguments& text) {
  if (text.from == text.to) {
    uint32_t written = text.output_bytes;
    const uint32_t consumed = CopyWithLineEnds(text.from, text.input, text.input_bytes, text.output,
                                               &written, text.options.line_end_mode);
    return {true, consumed, written};
  }
  for (CodePage cp : {text.from, text.to}) {
    if (cp == 0 || cp == kDefaultCodePage) return {};
  }
  if (IsMultiByteCodePage(text.from) != IsMultiByteCodePage(text.to)) return {};
  return ConvertBetweenCodePages(text.input, text.input_bytes, text.from, text.output,
                                 text.output_bytes, text.to, text.options);
}

// Between two code pages, neither of them Unicode.
ConversionResult ConvertCodePages(const TextArguments& text) {
  const Converter* converter = FindAndMoveToFront(text.from, text.to);
  if (converter == nullptr) return ConvertWithoutConverter(text);
  uint32_t written = text.output_bytes;
  const uint32_t consumed = converter->Convert(text.input, text.input_bytes, text.output, &written,
                                               text.options.line_end_mode);
  return {converter->usable(), consumed, written};
}

ConversionResult CopyUnchanged(const TextArguments& text) {
  const uint32_t bytes = std::min(text.input_bytes, text.output_bytes);
  std::copy_n(text.input, bytes, text.output);
  return {true, bytes, bytes};
}

// Runs a conversion of measured text, with its terminator behind it.
template <class Run>
ConversionResult WithTerminator(TextArguments text, Run run) {
  if (text.input_bytes != kMeasure) return run(text);
  const auto size = static_cast<uint32_t>(CPTermSize(text.to));
  if (text.output_bytes < size) return {true, 0, 0};
  text.input_bytes = TextSize(text.input, text.from);
  text.output_bytes -= size;
  ConversionResult result = run(text);
  if (!result.possible) return result;
  std::fill_n(text.output + result.written, size, '\0');
  result.written += size;
  return result;
}

ConversionResult ConvertAnyText(const TextArguments& text) {
  if (State().count == 0) return {};
  if (IsUnicodeCodePage(text.from) || IsUnicodeCodePage(text.to)) {
    CodePage to = text.to;
    return ConvertThroughUnicode(text.input, text.input_bytes, text.from, text.output,
                                 text.output_bytes, &to, text.options);
  }
  return WithTerminator(text, ConvertCodePages);
}

}  // namespace

bool AddConverter(std::unique_ptr<Converter> converter) {
  if (!converter) return false;
  ConverterRegistry& state = State();
  try {
    state.list.push_front(std::move(converter));
  } catch (const std::bad_alloc&) {
    return false;
  }
  ++state.count;
  return true;
}

bool SortConverters() {
  ConverterRegistry& state = State();
  try {
    state.sorted.clear();
    for (const auto& converter : state.list) state.sorted.push_back(converter.get());
  } catch (const std::bad_alloc&) {
    return false;
  }
  std::sort(state.sorted.begin(), state.sorted.end(), ComesBefore);
  return true;
}

void ReleaseConverters() {
  ConverterRegistry& state = State();
  state.sorted = {};
  state.list.clear();
  state.count = 0;
}

uint32_t ConverterCount() { return State().count; }

bool HasConverter(CodePage source, CodePage destination) {
  const auto& sorted = State().sorted;
  return std::any_of(sorted.begin(), sorted.end(), [=](const Converter* converter) {
    return converter->source == source && converter->destination == destination &&
           converter->usable();
  });
}

}  // namespace qv

CodePage MapCodePage(CodePage cp) {
  for (const qv::Converter* converter : qv::State().sorted) {
    if (converter->source == cp) return converter->destination;
  }
  return cp;
}

uint32_t ConvertText(const char* input, uint32_t input_bytes, CodePage from, char* output,
                     uint32_t* output_bytes, CodePage to, int line_end_mode, uint32_t flags) {
  if (output_bytes == nullptr) return 0;
  const qv::TextArguments text{input, input_bytes,           from, output, *output_bytes,
                               to,    {line_end_mode, flags}};
  *output_bytes = 0;
  if (input == nullptr || output == nullptr) return 0;
  qv::ConversionResult result = qv::ConvertAnyText(text);
  if (!result.possible && line_end_mode == qv::kKeep) {
    result = qv::WithTerminator(text, qv::CopyUnchanged);
  }
  *output_bytes = result.written;
  return result.consumed;
}

#include "resources/resource_text.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "resources/resource_source.h"
#include "text/code_page_strings.h"
#include "text/converters.h"

namespace qv {
namespace {

const char* Chars(Bytes text) { return reinterpret_cast<const char*>(text.data()); }

// Copies what fits, cut at a whole character of `cp` when it is known. Returns the bytes written.
uint32_t Copy(Bytes text, CodePage cp, char* out, uint32_t room) {
  auto bytes = static_cast<uint32_t>(text.size());
  if (bytes > room && cp != kNoConversion) return CPCopyChars(out, &room, Chars(text), &bytes, cp);
  bytes = std::min(bytes, room);
  std::copy_n(Chars(text), bytes, out);
  return bytes;
}

// Returns the bytes written, or nothing for a failed conversion.
std::optional<uint32_t> Deliver(Bytes text, CodePage from, char* out, uint32_t room, CodePage to) {
  if (from == kNoConversion || to == kNoConversion) return Copy(text, kNoConversion, out, room);
  if (from == to) return Copy(text, from, out, room);
  if (text.empty()) return 0;
  // kKeepToo: as kKeep, but without its copy of the bytes where there is no table.
  const uint32_t consumed = ConvertText(Chars(text), static_cast<uint32_t>(text.size()), from, out,
                                        &room, to, kKeepToo, 0);
  if (consumed == 0) return std::nullopt;
  return room;
}

}  // namespace

bool DeliverLStr(Bytes text, CodePage from, uint8_t* out, int32_t maximum, CodePage to) {
  const auto room = static_cast<uint32_t>(std::clamp(maximum, 0, kMostLStr));
  const auto written = Deliver(text, from, reinterpret_cast<char*>(out + 1), room, to);
  out[0] = static_cast<uint8_t>(written.value_or(0));
  return written.has_value();
}

bool BeginCString(char* out, int32_t size, CodePage cp) {
  if (out == nullptr || size < TerminatorSize(cp)) return false;
  std::fill_n(out, TerminatorSize(cp), '\0');
  return true;
}

bool DeliverCString(Bytes text, CodePage from, char* out, int32_t size, CodePage to) {
  const int32_t terminator = TerminatorSize(to);
  const auto written = Deliver(text, from, out, static_cast<uint32_t>(size - terminator), to);
  std::fill_n(out + written.value_or(0), terminator, '\0');
  return written.has_value();
}

int32_t TerminatorSize(CodePage cp) { return cp == kNoConversion ? 1 : CPTermSize(cp); }

}  // namespace qv

#include "text/byte_converters.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "text/code_page_strings.h"
#include "text/converters.h"
#include "text/east_asian_forms.h"
#include "text/engine_loop.h"

namespace qv {
namespace {

constexpr uint32_t kMapSize = 256;
constexpr Field kSource{0, 2}, kDestination{2, 2}, kMap{4, kMapSize};

constexpr bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }

// Writes the line end at `at`, which moves behind it; false when it does not fit.
bool RewriteLineEnd(const char*& at, const char* end, char*& out, const char* out_end,
                    LineEndMode line_ends) {
  const ptrdiff_t size = line_ends == kCrLf ? 2 : 1;
  if (out_end - out < size) return false;
  at += at[0] == '\r' && end - at > 1 && at[1] == '\n' ? 2 : 1;
  if (line_ends != kLf) *out++ = '\r';
  if (line_ends != kCr) *out++ = '\n';
  return true;
}

struct CopyRequest {
  const char *in, *in_end;
  char *out, *out_end;
  LineEndMode line_ends;
};

// size_of gives the bytes of the character at a position, of which it may look at so many.
template <class SizeOf>
uint32_t Copy(const CopyRequest& request, uint32_t* output_bytes, SizeOf size_of) {
  const char* at = request.in;
  char* out = request.out;
  while (at != request.in_end && out != request.out_end) {
    const uint32_t size = size_of(at, static_cast<uint32_t>(request.in_end - at));
    if (request.line_ends != kKeep && IsLineEnd(*at)) {
      if (!RewriteLineEnd(at, request.in_end, out, request.out_end, request.line_ends)) break;
      continue;
    }
    if (size > static_cast<uint32_t>(request.out_end - out)) break;
    out = std::copy_n(at, size, out);
    at += size;
  }
  *output_bytes = static_cast<uint32_t>(out - request.out);
  return static_cast<uint32_t>(at - request.in);
}

class IdentityConverter final : public Converter {
 public:
  IdentityConverter(CodePage from, CodePage to) : Converter(from, to) {}
  bool usable() const override { return true; }
  uint32_t Convert(const char* input, uint32_t input_bytes, char* output, uint32_t* output_bytes,
                   int line_end_mode) const override {
    return CopyWithLineEnds(source, input, input_bytes, output, output_bytes, line_end_mode);
  }
};

class TableConverter final : public Converter {
 public:
  explicit TableConverter(Bytes resource)
      : Converter(static_cast<CodePage>(ReadBigEndian(resource, kSource)),
                  static_cast<CodePage>(ReadBigEndian(resource, kDestination))),
        usable_(resource.size() == kMap.offset + kMap.width) {
    if (usable_) std::memcpy(map_, &resource[kMap.offset], kMapSize);
  }
  bool usable() const override { return usable_; }
  uint32_t Convert(const char* input, uint32_t input_bytes, char* output, uint32_t* output_bytes,
                   int line_end_mode) const override {
    if (!usable_ || !input || !output || input_bytes == 0 || *output_bytes == 0) {
      *output_bytes = 0;
      return 0;
    }
    if (source == destination) {
      return CopyWithLineEnds(source, input, input_bytes, output, output_bytes, line_end_mode);
    }
    return MapBytes(map_, input, input_bytes, output, output_bytes,
                    ResolveLineEnds(line_end_mode, source, destination));
  }

 private:
  bool usable_;
  uint8_t map_[kMapSize] = {};
};

}  // namespace

uint32_t MapBytes(const uint8_t* map, const char* input, uint32_t input_bytes, char* output,
                  uint32_t* output_bytes, LineEndMode line_ends) {
  const char *at = input, *end = input + input_bytes;
  char *out = output, *out_end = output + *output_bytes;
  while (at != end && out != out_end) {
    if (line_ends != kKeep && IsLineEnd(*at)) {
      if (!RewriteLineEnd(at, end, out, out_end, line_ends)) break;
    } else {
      *out++ = static_cast<char>(map[static_cast<uint8_t>(*at++)]);
    }
  }
  *output_bytes = static_cast<uint32_t>(out - output);
  return static_cast<uint32_t>(at - input);
}

uint32_t CopyWithLineEnds(CodePage cp, const char* input, uint32_t input_bytes, char* output,
                          uint32_t* output_bytes, int line_end_mode) {
  const CopyRequest request{input, input + input_bytes, output, output + *output_bytes,
                            ResolveLineEnds(line_end_mode, cp, cp)};
  if (!IsCharacterWiseCodePage(cp)) {
    return Copy(request, output_bytes, [](const char*, uint32_t) { return 1u; });
  }
  if (EastAsianFormOf(cp) != EastAsianForm::kIso2022) {
    return Copy(request, output_bytes, [cp](const char* at, uint32_t available) {
      return CPCharSizeOrOne(at, cp, available);
    });
  }
  return Copy(request, output_bytes,
              [reader = Iso2022Reader(cp)](const char* at, uint32_t available) mutable {
                const auto* bytes = reinterpret_cast<const uint8_t*>(at);
                const uint32_t size = reader.Read(bytes, bytes + available).size;
                return size == 0 ? available : size;
              });
}

std::unique_ptr<Converter> NewIdentityConverter(CodePage source, CodePage destination) {
  return std::unique_ptr<Converter>(new (std::nothrow) IdentityConverter(source, destination));
}

std::unique_ptr<Converter> NewTableConverter(Bytes resource) {
  return std::unique_ptr<Converter>(new (std::nothrow) TableConverter(resource));
}

}  // namespace qv

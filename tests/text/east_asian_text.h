// Text of the East Asian pages made of codes, and codes made of text.
#pragma once

#include <string>
#include <vector>

#include "text/east_asian_forms.h"

namespace test {

inline std::string WriteCodes(CodePage cp, const std::vector<uint32_t>& codes) {
  std::string text;
  qv::VisitEastAsianWriter(cp, [&](auto writer) {
    uint8_t out[16];
    const auto append = [&](int size) { text.append(out, out + size); };
    for (uint32_t code : codes) append(writer.Write(code, out, sizeof out));
    append(writer.Close(out, sizeof out));
  });
  return text;
}

// What is left of the text at its end counts as `*cut` bytes.
inline std::vector<uint32_t> ReadCodes(CodePage cp, const std::string& text, size_t* cut) {
  std::vector<uint32_t> codes;
  qv::VisitEastAsianReader(cp, [&](auto reader) {
    const auto* in = reinterpret_cast<const uint8_t*>(text.data());
    const auto* const end = in + text.size();
    while (in != end) {
      const qv::ReadCharacter read = reader.Read(in, end);
      if (read.size == 0) break;
      if (read.code != qv::kNoCharacter) codes.push_back(read.code);
      in += read.size;
    }
    *cut = static_cast<size_t>(end - in);
  });
  return codes;
}

// True when the page has a form for the code.
inline bool HasCode(CodePage cp, uint32_t code) {
  size_t cut = 0;
  return ReadCodes(cp, WriteCodes(cp, {code}), &cut) == std::vector{code};
}

}  // namespace test

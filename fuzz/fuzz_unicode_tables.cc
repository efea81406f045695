// Any bytes as "CHUC" resources: what loads answers every look-up, decomposition ends, and text
// goes through the tables within its buffers.
#include "fuzz/fuzz_support.h"
#include "text/code_pages.h"
#include "text/decomposition.h"
#include "text/unicode_engines.h"
#include "text/unicode_table.h"

namespace {

constexpr uint16_t kKinds[] = {0,    0x8000, 2,      0x8002, 6,      0x8006,
                               0x0A, 0x800A, 0xF000, 0xF001, 0xF002, 0xF003};
constexpr CodePage kPages[] = {932, 10001, 20002, 936, 1252};

// A valid kind and page in front of foreign bytes, most of them a body of nearly the right length.
std::vector<uint8_t> NextResource(fuzz::Input& input) {
  const uint16_t kind = kKinds[input.Byte() % std::size(kKinds)];
  const CodePage page = kPages[input.Byte() % std::size(kPages)];
  std::vector<uint8_t> resource = {static_cast<uint8_t>(kind >> 8), static_cast<uint8_t>(kind),
                                   static_cast<uint8_t>(page >> 8), static_cast<uint8_t>(page)};
  constexpr uint16_t kSizes[] = {256, 18, 512, 516, 1032, 514, 772, 8, 16, 4};
  const uint16_t choice = input.Byte();
  const size_t size = choice < 250 ? kSizes[choice % std::size(kSizes)] : input.Word() % 2000;
  if (kind == 0x0A || kind == 0x800A) {
    resource.push_back(20002 >> 8);
    resource.push_back(20002 & 0xFF);
  }
  // The fuzzer's bytes come again and again: short inputs fill large tables.
  std::vector<uint8_t> pattern(1 + input.Byte() % 24);
  for (uint8_t& byte : pattern) byte = input.Byte();
  for (size_t i = 0; i < size; ++i) resource.push_back(pattern[i % pattern.size()]);
  for (int patches = input.Byte() % 8; patches > 0; --patches) {
    resource[input.Word() % resource.size()] = input.Byte();
  }
  return resource;
}

void CheckLookUps() {
  for (const auto& table : qv::AllUnicodeTables()) {
    FUZZ_CHECK(table->Map(0) == 0 || (table->kind() & ~qv::kFromUnicodeBit) <= 2);
    for (uint32_t code = 1; code != 0 && code < 0xF0000000; code += 1 + code / 7) table->Map(code);
    FUZZ_CHECK(table->Map(0xFFFFFFFF) == kReplacement);
  }
  for (auto form : {qv::Decomposition::kCanonical, qv::Decomposition::kCompatibility}) {
    const qv::Decomposer decomposer(form);
    for (uint32_t code = 0; code < 0x400; ++code) {
      uint32_t parts[qv::Decomposer::kMostParts];
      const uint32_t count = decomposer.Decompose(code, parts);
      FUZZ_CHECK(count >= 1 && count <= qv::Decomposer::kMostParts);
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::Input input(data, size);
  std::vector<std::vector<uint8_t>> resources;
  for (int count = 1 + input.Byte() % 4; count > 0; --count) {
    resources.push_back(NextResource(input));
  }
  FUZZ_CHECK(qv::BuildUnicodeTables(std::vector<qv::Bytes>(resources.begin(), resources.end())));
  CheckLookUps();
  const std::string text = input.Rest();
  for (CodePage page : kPages) {
    for (bool back : {false, true}) {
      const CodePage from = back ? kUtf8 : page;
      CodePage to = back ? page : kUtf8;
      fuzz::GuardedBuffer out(text.size() + 8);
      const auto result =
          qv::ConvertThroughUnicode(text.data(), static_cast<uint32_t>(text.size()), from,
                                    out.data(), static_cast<uint32_t>(out.size()), &to,
                                    {qv::kKeep, 0, qv::Decomposition::kCompatibility});
      FUZZ_CHECK(out.Intact() && result.written <= out.size() && result.consumed <= text.size());
    }
  }
  qv::ReleaseUnicodeTables();
  return 0;
}

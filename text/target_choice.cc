#include "text/target_choice.h"

#include <optional>
#include <tuple>

#include "text/code_page_strings.h"
#include "text/engine_loop.h"
#include "text/unicode_table.h"

namespace qv {
namespace {

constexpr uint32_t kFirstNonAscii = 0x80;

// Calls visit(code) for each character of the text, which is read in pieces.
template <class Visitor>
void VisitCharacters(const char* input, uint32_t input_bytes, CodePage from, Visitor visit) {
  constexpr uint32_t kCodeSize = 4;
  const EngineJob job = MakeEngineJob(from, kUtf32Big, kKeep);
  EngineState state(job);
  const auto* in = reinterpret_cast<const uint8_t*>(input);
  const uint8_t* end = in + input_bytes;
  for (EngineStop stop = EngineStop::kOutputEnd; stop == EngineStop::kOutputEnd && in != end;) {
    uint8_t codes[128 * kCodeSize];
    EngineCursor at{in, end, codes, codes + sizeof codes};
    stop = RunEngine(job, state, true, at);
    if (at.in == in) return;
    in = at.in;
    const Bytes written(codes, static_cast<size_t>(at.out - codes));
    for (size_t i = 0; i < written.size(); i += kCodeSize) {
      visit(ReadBigEndian(written, {0, kCodeSize}, i));
    }
  }
}

uint32_t CountLost(const UnicodeTable& table, const char* input, uint32_t input_bytes,
                   CodePage from) {
  uint32_t lost = 0;
  const bool all = table.code_page() == kPlainAscii;
  VisitCharacters(input, input_bytes, from, [&](uint32_t code) {
    if (code >= kFirstNonAscii && (all || table.Map(code) == kReplacement)) ++lost;
  });
  return lost;
}

// The order of the candidates; the lowest is chosen.
using Rank = std::tuple<uint32_t, bool, bool, int, CodePage>;
Rank RankOf(CodePage cp, CodePage preferred, uint32_t lost) {
  return {lost, cp != preferred, IsMultiByteCodePage(cp) != IsMultiByteCodePage(preferred),
          ScriptClass(cp), cp};
}

}  // namespace

CodePage ChooseTargetCodePage(const char* input, uint32_t input_bytes, CodePage from) {
  const CodePage preferred = GetApplicationCodePage();
  CodePage chosen = preferred;
  std::optional<Rank> best;
  for (const auto& table : AllUnicodeTables()) {
    if (!table->from_unicode()) continue;
    const Rank rank =
        RankOf(table->code_page(), preferred, CountLost(*table, input, input_bytes, from));
    if (best && *best <= rank) continue;
    best = rank;
    chosen = table->code_page();
  }
  return chosen;
}

}  // namespace qv

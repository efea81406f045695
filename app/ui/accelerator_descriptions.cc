#include "app/ui/accelerator_descriptions.h"

#include "app/debug_output.h"
#include "app/ui/accelerators.h"
#include "app/ui/description_reader.h"
#include "base/hooks.h"
#include "resources/resource_chain.h"
#include "text/length_prefixed.h"

namespace qv {
namespace {

constexpr int kKeyDigits = 4;             // two of flags, two of the key
constexpr size_t kForeignCharacters = 4;  // the same of another platform

// [ text ]: in a block of its own, null when there is none.
char* ReadDisplayText(DescriptionReader& reader) {
  if (reader.next() != '"') return nullptr;
  DescriptionReader measure = reader;
  auto* text = static_cast<char*>(GlobalHooks().allocate(measure.Quoted(nullptr) + 1));
  reader.Quoted(text);
  return text;
}

// flags key [ text ]
bool ReadEntry(DescriptionReader& reader, int32_t command) {
  const std::optional<uint32_t> keys = reader.Hexadecimal(kKeyDigits);
  if (!keys) {
    DebugPrint("Could not parse 4 hex digits %s\n", reader.rest());
    return false;
  }
  AcceleratorTable& table = Accelerators();
  if (table.count == kMostAccelerators) {
    reader.Quoted(nullptr);
    return true;
  }
  table.entries[table.count++] = {static_cast<uint8_t>(*keys >> 8), static_cast<uint8_t>(*keys),
                                  static_cast<uint16_t>(command), ReadDisplayText(reader)};
  return true;
}

// One option; false when the rest cannot be read.
bool ReadOption(DescriptionReader& reader, int32_t command) {
  if (reader.Take('w')) return ReadEntry(reader, command);
  if (reader.Take('m') || reader.Take('u')) {
    reader.Skip(kForeignCharacters);
    reader.Quoted(nullptr);
    return true;
  }
  DebugPrint("unrecognized Option in accel parser remainder skipped %s char:%c\n", reader.rest(),
             reader.next());
  return false;
}

}  // namespace

void FillAccelerators() {
  ClearAccelerators();
  char text[kMostLStr + 1];
  for (int32_t index = 1; index <= kMostDescriptions; ++index) {
    if (Accelerators().count == kMostAccelerators) return;
    if (!ZRGetIndCString(text, kAcceleratorList, index, kMostLStr)) return;
    ParseAccelerator(text);
  }
}

}  // namespace qv

void ParseAccelerator(const char* text) {
  qv::DescriptionReader reader(text);
  const std::optional<int32_t> command = reader.Number(0xFFFF);
  if (!command) return;
  while (!reader.at_end() && qv::ReadOption(reader, *command)) {
  }
}

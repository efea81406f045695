#include "app/ui/accelerators.h"

#include <algorithm>

#include "base/hooks.h"

namespace qv {
namespace {

constexpr BYTE kLastOfTable = 0x80;  // the platform's own mark, which would end its table early

HACCEL& PlatformTable() {
  static constinit HACCEL table = nullptr;
  return table;
}

}  // namespace

AcceleratorTable& Accelerators() {
  static constinit AcceleratorTable table;
  return table;
}

void InstallAccelerators() { GlobalHooks().clear_accelerators = ClearAccelerators; }

bool CreatePlatformAccelerators() {
  if (PlatformTable() != nullptr) return true;
  const AcceleratorTable& table = Accelerators();
  if (table.count == 0) return false;
  ACCEL entries[kMostAccelerators];
  std::transform(table.entries, table.entries + table.count, entries, [](const Accelerator& from) {
    ACCEL entry = {};
    entry.fVirt = from.flags & static_cast<BYTE>(~kLastOfTable);
    entry.key = from.key;
    entry.cmd = from.command;
    return entry;
  });
  PlatformTable() = CreateAcceleratorTableW(entries, static_cast<int>(table.count));
  return PlatformTable() != nullptr;
}

HACCEL PlatformAccelerators() { return PlatformTable(); }

void ReleasePlatformAccelerators() {
  if (PlatformTable() != nullptr) DestroyAcceleratorTable(PlatformTable());
  PlatformTable() = nullptr;
}

}  // namespace qv

void ClearAccelerators() {
  qv::AcceleratorTable& table = qv::Accelerators();
  for (qv::Accelerator& entry : table.entries) {
    qv::GlobalHooks().release(entry.display_text);
    entry = {};
  }
  table.count = 0;
}

const qv::Accelerator* FindAccelerator(int32_t command) {
  const qv::AcceleratorTable& table = qv::Accelerators();
  const qv::Accelerator* end = table.entries + table.count;
  const qv::Accelerator* found =
      std::find_if(table.entries, end,
                   [command](const qv::Accelerator& entry) { return entry.command == command; });
  return found == end ? nullptr : found;
}

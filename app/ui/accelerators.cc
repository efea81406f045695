#include "app/ui/accelerators.h"

#include "base/hooks.h"

namespace qv {

AcceleratorTable& Accelerators() {
  static constinit AcceleratorTable table;
  return table;
}

void InstallAccelerators() { GlobalHooks().clear_accelerators = ClearAccelerators; }

}  // namespace qv

void ClearAccelerators() {
  qv::AcceleratorTable& table = qv::Accelerators();
  for (qv::Accelerator& entry : table.entries) {
    qv::GlobalHooks().release(entry.display_text);
    entry = {};
  }
  table.count = 0;
}

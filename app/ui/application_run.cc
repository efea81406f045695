#include "app/ui/application_run.h"

#include <algorithm>

#include "app/application_hooks.h"
#include "app/debug_log.h"
#include "app/debug_output.h"
#include "app/settings.h"
#include "app/ui/accelerators.h"
#include "base/hooks.h"
#include "memory/checked_allocations.h"
#include "resources/charset_loader.h"
#include "resources/resource_chain.h"

namespace qv {
namespace {

constexpr DWORD kQuickEdit = 0x40, kExtendedFlags = 0x80;  // of a console's input mode

ApplicationState& State() {
  static constinit ApplicationState state;
  return state;
}

// With the flag on, whatever its value: at least 1.
void StartDebugOutput(HINSTANCE instance) {
  SetDebugFlag(ReadSetting(setting::kDebugFlag));
  if (DebugFlag() == 0) return;
  SetDebugFlag(std::max(DebugFlag(), 1));
  GlobalHooks().create_console();
  OpenDebugLog(instance);
}

// A click into the console must not stop the program, as selecting text does.
void TakeQuickEditAway() {
  HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode;
  if (!GetConsoleMode(input, &mode)) return;
  SetConsoleMode(input, (mode | kExtendedFlags) & ~kQuickEdit);
}

}  // namespace

const ApplicationState& Application() { return State(); }

}  // namespace qv

void ZRSetApplicationMain(void (*application_main)()) { qv::State().main = application_main; }

int ZRRunApplication(HINSTANCE instance, HINSTANCE previous, const char* command_line, int show) {
  qv::InstallCheckedAllocator();
  qv::InstallApplicationHooks();
  qv::InstallAccelerators();
  qv::GlobalHooks().install_fault_filter();
  if (previous != nullptr) {
    qv::GlobalHooks().focus_previous_instance();
    return 0;
  }
  qv::ApplicationState& application = qv::State();
  application = {instance, previous, command_line, show, application.main};
  qv::StartDebugOutput(instance);
  ZROpenResourceFiles(instance);
  qv::TakeQuickEditAway();
  if (application.main != nullptr) application.main();
  qv::CloseDebugLog();
  ReleaseCharsetTables();
  return 1;
}

int ZRApplicationEntry(HINSTANCE instance, HINSTANCE previous, const char* command_line, int show) {
  const int result = ZRRunApplication(instance, previous, command_line, show);
  if (result != 0) PostQuitMessage(0);
  return result;
}

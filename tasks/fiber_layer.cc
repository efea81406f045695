#include "tasks/fiber_layer.h"

#include <utility>

#include "app/message.h"
#include "app/settings.h"
#include "platform/windows_api.h"
#include "tasks/kernel_state.h"
#include "text/formatter.h"

namespace qv {
namespace {

struct FiberState {
  // Taken by name; null where the system lacks one.
  LPVOID(WINAPI* create)(SIZE_T, LPFIBER_START_ROUTINE, LPVOID) = nullptr;
  void(WINAPI* remove)(LPVOID) = nullptr;
  LPVOID(WINAPI* convert)(LPVOID) = nullptr;
  void(WINAPI* switch_to)(LPVOID) = nullptr;
  BOOL(WINAPI* convert_back)() = nullptr;  // may be missing: the thread then stays a fiber
  HMODULE library = nullptr;

  bool usable = false;
  bool required = false;
  void* mainline = nullptr;
  void* running = nullptr;
  void* retired = nullptr;  // waits to be deleted by the next fiber that runs
};

FiberState& State() {
  static constinit FiberState state;
  return state;
}

template <typename Function>
void Find(HMODULE library, const char* name, Function* function) {
  *function = reinterpret_cast<Function>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// All that is needed, or nothing.
void FindFunctions(FiberState& fibers) {
  fibers.library = LoadLibraryA("KERNEL32.DLL");
  if (fibers.library == nullptr) return;
  Find(fibers.library, "CreateFiber", &fibers.create);
  Find(fibers.library, "DeleteFiber", &fibers.remove);
  Find(fibers.library, "ConvertThreadToFiber", &fibers.convert);
  Find(fibers.library, "SwitchToFiber", &fibers.switch_to);
  Find(fibers.library, "ConvertFiberToThread", &fibers.convert_back);
}

void RefuseToRun() {
  MessageBoxA(nullptr,
              "This operating system does not support this program.  (Fibers are not supported by "
              "this version of Windows.)",
              "Quorvantis Server Initialization Error",
              MB_ICONERROR | MB_SYSTEMMODAL | MB_SETFOREGROUND | MB_TOPMOST);
  ExitProcess(1);
}

void ReportCreateFailure(DWORD error) {
  ZRMessage("Windows error %lu creating new task.", error);
  char text[512];
  DWORD length = FormatMessageA(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                                error, 0, text, sizeof text, nullptr);
  if (length == 0) {
    ZRMessage("Windows error %ld is not recognized by the OS.", error);
    return;
  }
  while (length > 0 && (text[length - 1] == '\r' || text[length - 1] == '\n')) --length;
  text[length] = '\0';
  ZRMessage("Windows error %ld is \"%s\"", error, text);
}

void DeleteRetired(FiberState& fibers) {
  if (void* fiber = std::exchange(fibers.retired, nullptr)) fibers.remove(fiber);
}

void WINAPI RunTask(LPVOID parameter) {
  DeleteRetired(State());
  RunTaskBody(static_cast<TCB*>(parameter));
}

}  // namespace

void DeleteFiberOf(TCB* task) {
  if (task->fiber != nullptr) State().remove(std::exchange(task->fiber, nullptr));
}

void ShutFibersDown() {
  FiberState& fibers = State();
  if (fibers.usable) {
    DeleteRetired(fibers);
    if (fibers.convert_back != nullptr) fibers.convert_back();
  }
  if (fibers.library != nullptr) FreeLibrary(fibers.library);
  fibers = {.required = fibers.required};
}

}  // namespace qv

int32_t ZRFibersSetUp() {
  qv::FiberState& fibers = qv::State();
  fibers = {.required = fibers.required};
  if (qv::ReadSetting(qv::setting::kFibers) != 0) {
    qv::FindFunctions(fibers);
    if (fibers.create != nullptr && fibers.remove != nullptr && fibers.convert != nullptr &&
        fibers.switch_to != nullptr) {
      fibers.mainline = fibers.running = fibers.convert(nullptr);
      fibers.usable = fibers.mainline != nullptr;
    }
  }
  if (fibers.required && !fibers.usable) qv::RefuseToRun();
  return 0;
}

bool ZRFibersUsable() { return qv::State().usable; }

void ZRFibersRequire() { qv::State().required = true; }

bool ZRFiberCreate(TCB* task) {
  qv::FiberState& fibers = qv::State();
  if (!fibers.usable) return true;
  task->fiber = fibers.create(task->stack_size, qv::RunTask, task);
  if (task->fiber != nullptr) return true;
  qv::ReportCreateFailure(GetLastError());
  return false;
}

void ZRFiberRetire(TCB* task) {
  qv::FiberState& fibers = qv::State();
  if (task->fiber == nullptr) return;
  qv::DeleteRetired(fibers);
  fibers.retired = std::exchange(task->fiber, nullptr);
}

bool ZRFiberSwitch(TCB*, TCB* to) {
  qv::FiberState& fibers = qv::State();
  if (!fibers.usable) return false;
  void* target = to != nullptr ? to->fiber : fibers.mainline;
  if (target == fibers.running) return true;
  fibers.running = target;
  fibers.switch_to(target);
  qv::DeleteRetired(fibers);
  return true;
}

bool ZRIsFiberStart(const void* address) {
  constexpr uintptr_t kStartBytes = 100;
  const auto start = reinterpret_cast<uintptr_t>(&qv::RunTask);
  return reinterpret_cast<uintptr_t>(address) - start < kStartBytes;
}

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>
#include <utility>

#include "tests/test_platform.h"

namespace test {
namespace {

constexpr char kBoxClass[] = "#32770";
constexpr int kTextControl = 0xFFFF;
constexpr DWORD kLookMilliseconds = 5;

// The keys that tests write; nothing else in a fresh prefix uses them.
void RemoveTestKeys() {
  RegDeleteTreeA(HKEY_CURRENT_USER, "SOFTWARE\\Clients\\Mail");
  RegDeleteTreeA(HKEY_CURRENT_USER, "SOFTWARE\\Microsoft\\Windows\\Shell\\Associations");
  RegDeleteTreeA(HKEY_CLASSES_ROOT, "qvp");
}

// One watcher at a time, and one thread that answers for it.
struct WatcherState {
  std::mutex mutex;
  std::vector<BoxText> boxes;
  std::vector<HWND> answered;  // a box stays for a moment after its answer
  std::atomic<bool> stop{false};
  std::thread thread;
  int answer = IDOK;
};

WatcherState& State() {
  static WatcherState state;
  return state;
}

bool IsBoxOfThisProcess(HWND window) {
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  char name[32] = {};
  GetClassNameA(window, name, sizeof name);
  return process == GetCurrentProcessId() && std::string(name) == kBoxClass &&
         IsWindowVisible(window) && GetDlgItem(window, kTextControl);
}

BOOL CALLBACK Answer(HWND window, LPARAM) {
  WatcherState& state = State();
  std::lock_guard hold(state.mutex);
  bool known = std::count(state.answered.begin(), state.answered.end(), window) > 0;
  if (known || !IsBoxOfThisProcess(window)) return TRUE;
  char caption[256] = {}, text[4096] = {};
  GetWindowTextA(window, caption, sizeof caption);
  GetDlgItemTextA(window, kTextControl, text, sizeof text);
  state.boxes.push_back({caption, text});
  state.answered.push_back(window);
  PostMessageA(window, WM_COMMAND, static_cast<WPARAM>(state.answer), 0);
  return TRUE;
}

void Watch() {
  while (!State().stop) {
    EnumWindows(Answer, 0);
    {
      std::lock_guard hold(State().mutex);
      std::erase_if(State().answered, [](HWND window) { return !IsWindow(window); });
    }
    Sleep(kLookMilliseconds);
  }
}

}  // namespace

void StartWithOwnState() {
  CreateDirectoryA("C:\\Temp", nullptr);
  RemoveTestKeys();
}

void RemoveOwnState() {
  RemoveTestKeys();
  std::error_code error;
  EmptyFolder(TempFolder());
  std::filesystem::remove(TempFolder(), error);
  std::filesystem::remove("C:\\Temp\\test_settings.ini", error);
}

bool OnWindows() { return true; }

uint32_t LiveFibers() { return 0; }

void StopClock(uint64_t) {}
void MoveClock(uint64_t) {}
void ReleaseClock() {}

void RunOnThread(size_t stack_bytes, const std::function<void()>& body) {
  auto run = [](LPVOID argument) WINAPI -> DWORD {
    (*static_cast<const std::function<void()>*>(argument))();
    return 0;
  };
  HANDLE thread = CreateThread(nullptr, stack_bytes, run, const_cast<std::function<void()>*>(&body),
                               STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

MessageBoxWatcher::MessageBoxWatcher(int answer) {
  State().answer = answer;
  State().boxes.clear();
  State().stop = false;
  State().thread = std::thread(Watch);
}

MessageBoxWatcher::~MessageBoxWatcher() {
  State().stop = true;
  State().thread.join();
}

std::vector<BoxText> MessageBoxWatcher::Take() {
  std::lock_guard hold(State().mutex);
  return std::exchange(State().boxes, {});
}

}  // namespace test

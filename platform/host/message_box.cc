#include <unistd.h>

#include <cstdio>
#include <mutex>
#include <string>
#include <utility>

#include "platform/host/calls.h"
#include "platform/host/control.h"
#include "platform/host/messages.h"
#include "platform/host/text.h"

namespace host {
namespace {

constexpr UINT kButtonsMask = 0xF;

struct BoxRecorder {
  std::mutex mutex;
  bool recording = false;
  int answer = IDOK;
  std::vector<MessageBoxRecord> boxes;
};

BoxRecorder& State() {
  static auto& state = *new BoxRecorder;
  return state;
}

// Records the box when a test asked for that; *answer is then the answer.
bool Record(const MessageBoxRecord& box, int* answer) {
  BoxRecorder& recorder = State();
  std::lock_guard hold(recorder.mutex);
  if (!recorder.recording) return false;
  recorder.boxes.push_back(box);
  *answer = recorder.answer;
  return true;
}

int DefaultAnswer(UINT type) {
  UINT buttons = type & kButtonsMask;
  return buttons == MB_YESNO || buttons == MB_YESNOCANCEL ? IDYES : IDOK;
}

}  // namespace

void RecordMessageBoxes(int answer) {
  BoxRecorder& recorder = State();
  std::lock_guard hold(recorder.mutex);
  recorder.recording = true;
  recorder.answer = answer;
}

std::vector<MessageBoxRecord> TakeMessageBoxes() {
  BoxRecorder& recorder = State();
  std::lock_guard hold(recorder.mutex);
  return std::exchange(recorder.boxes, {});
}

}  // namespace host

int MessageBoxA(HWND, LPCSTR text, LPCSTR caption, UINT type) {
  if (DWORD fault = host::Enter(__func__)) return host::Fail(fault, 0);
  // Without a caption Windows writes its word for an error.
  host::MessageBoxRecord box{text ? text : "", caption ? caption : "Error", type};
  int answer = host::DefaultAnswer(type);
  if (host::Record(box, &answer)) return answer;
  std::string shown = host::Utf8FromAnsi(box.caption + ": " + box.text) + "\n";
  std::fputs(shown.c_str(), stderr);
  return answer;
}

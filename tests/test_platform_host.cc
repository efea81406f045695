#include <pthread.h>

#include <cstdlib>
#include <filesystem>

#include "platform/host/control.h"
#include "tests/test_platform.h"

namespace test {
namespace {

std::string& OwnState() {
  static std::string folder;
  return folder;
}

}  // namespace

// A test that was started by another keeps that one's state, since the two talk through it.
void StartWithOwnState() {
  if (std::getenv("QVSMAPI_TEST_CHILD")) return;
  std::string folder = (std::filesystem::temp_directory_path() / "qvsmapi-test-XXXXXX").string();
  if (!mkdtemp(folder.data())) std::abort();
  OwnState() = folder;
  setenv("QVSMAPI_HOME", folder.c_str(), 1);
  setenv("QVSMAPI_TEST_CHILD", "1", 1);
}

void RemoveOwnState() {
  std::error_code error;
  if (!OwnState().empty()) std::filesystem::remove_all(OwnState(), error);
}

bool OnWindows() { return false; }

uint32_t LiveFibers() { return host::LiveFibers(); }

void StopClock(uint64_t micros) { host::FreezeMicroseconds(micros); }
void MoveClock(uint64_t micros) { host::AdvanceMicroseconds(micros); }
void ReleaseClock() { host::ThawTicks(); }

void RunOnThread(size_t stack_bytes, const std::function<void()>& body) {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, stack_bytes);
  pthread_t thread;
  auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  if (pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&body)) != 0) {
    std::abort();
  }
  pthread_attr_destroy(&attributes);
  pthread_join(thread, nullptr);
}

MessageBoxWatcher::MessageBoxWatcher(int answer) {
  host::TakeMessageBoxes();
  host::RecordMessageBoxes(answer);
}

MessageBoxWatcher::~MessageBoxWatcher() = default;

std::vector<BoxText> MessageBoxWatcher::Take() {
  std::vector<BoxText> boxes;
  for (const auto& box : host::TakeMessageBoxes()) boxes.push_back({box.caption, box.text});
  return boxes;
}

}  // namespace test

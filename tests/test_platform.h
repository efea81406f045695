// What tests need of the platform they run on, and the one place where the platforms differ for
// them (test_platform_host.cc, test_platform_windows.cc).
//
// Paths are in the form of the Windows calls and in UTF-8. Files are read and written past the
// calls under test, so that nothing here counts as a call or meets a fault.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace test {

// main calls these around the tests. The stand-in gets a state directory of its own, which is
// removed at the end. On Windows the registry keys that tests write are removed before and after,
// so that suites may follow each other in one prefix.
void StartWithOwnState();
void RemoveOwnState();

// For the few expectations that differ; give the reason beside each use.
bool OnWindows();

// A folder of this process, made on the first call and removed at the end; without a last "\".
std::string TempFolder();

// Whole files. "" and false for one that cannot be read or written.
std::string ReadWholeFile(const std::string& path);
bool WriteWholeFile(const std::string& path, const std::string& bytes);
bool Exists(const std::string& path);

// The names in a folder, sorted; removing everything in it leaves the folder.
std::vector<std::string> FolderEntries(const std::string& path);
void EmptyFolder(const std::string& path);

// Runs the function on a thread with this much stack, and waits for its end.
void RunOnThread(size_t stack_bytes, const std::function<void()>& body);

// A clock moved by hand, where the system has one: it stands at `micros`, and sleeps move it on.
// On Windows nothing happens; the clock runs.
void StopClock(uint64_t micros);
void MoveClock(uint64_t micros);
void ReleaseClock();

// Fibers of this process, as far as the system tells (0 on Windows).
uint32_t LiveFibers();

struct BoxText {
  std::string caption, text;
  bool operator==(const BoxText&) const = default;
};

// While one lives, message boxes of this process are answered and what they said is kept.
class MessageBoxWatcher {
 public:
  explicit MessageBoxWatcher(int answer = IDOK);
  ~MessageBoxWatcher();
  MessageBoxWatcher(const MessageBoxWatcher&) = delete;
  MessageBoxWatcher& operator=(const MessageBoxWatcher&) = delete;

  // The boxes since the last call, in their order.
  std::vector<BoxText> Take();
};

}  // namespace test

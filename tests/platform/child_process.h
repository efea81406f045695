// Starts the helper program of these tests (child/main.cc) and looks after it.
#pragma once

#include <string>
#include <vector>

#include "platform/windows_api.h"

namespace platform_test {

// The helper's full path.
std::string ChildPath();

class Child {
 public:
  // Quotes the arguments by the rules of command lines.
  explicit Child(const std::vector<std::string>& arguments, DWORD flags = 0);
  ~Child();  // kills it when it still runs
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  HANDLE process() const { return process_; }
  DWORD id() const { return id_; }
  // Waits for its end; the exit code.
  DWORD Finish();
  void Kill();

 private:
  HANDLE process_ = nullptr;
  DWORD id_ = 0;
};

// Waits until the file holds the text (it is written by a child). False after ten seconds.
bool WaitForText(const std::string& path, const std::string& text);

}  // namespace platform_test

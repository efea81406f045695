// The trace lines of the file layer, with handles and addresses as "#".
#pragma once

#include <string>
#include <utility>

#include "app/console_print.h"
#include "files/file_trace.h"

namespace test {

class TraceCapture {
 public:
  explicit TraceCapture(uint32_t flags) {
    Text().clear();
    qv::SetPrintHook([](const char* text) { Text() += text; });
    qv::SetFileTrace(flags);
  }
  ~TraceCapture() {
    qv::SetFileTrace(0);
    qv::SetPrintHook(nullptr);
  }
  // What was traced since the last look.
  static std::string Take() {
    std::string text = std::exchange(Text(), {});
    for (const char* before : {"ZRFile[", "CDiskFile[", "OK (", "into ", "from "})
      Hide(text, before);
    return text;
  }

 private:
  static std::string& Text() {
    static auto& text = *new std::string;
    return text;
  }
  // Takes out the hexadecimal number behind a word; a word before something else stays.
  static void Hide(std::string& text, const std::string& before) {
    for (size_t at = 0; (at = text.find(before, at)) != std::string::npos;) {
      at += before.size();
      const size_t end = text.find_first_not_of("0123456789ABCDEFabcdefx", at);
      if (end > at && end != std::string::npos && (text[end] == ']' || text[end] == ')')) {
        text.replace(at, end - at, "#");
      }
    }
  }
};

}  // namespace test

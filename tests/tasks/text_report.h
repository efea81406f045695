// What the self test of the semaphores reports, as one text.
#pragma once

#include <string>

#include "tasks/semaphore_check.h"
#include "text/formatter.h"

namespace test {

class TextReport : public qv::ReportWriter {
 public:
  std::string text;

 private:
  void WriteList(const char* format, va_list arguments) override {
    char piece[256];
    FormatTextV(piece, sizeof piece - 1, format, arguments);
    text += piece;
  }
};

}  // namespace test

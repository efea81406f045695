// A check of the running kernel's semaphores, for an application's self test: 1000 tasks that share
// one semaphore, which must admit one of them at a time. Takes five seconds. The calling task
// sleeps meanwhile, and the others run on.
#pragma once

#include <cstdarg>

namespace qv {

// Where a self test writes its findings, an XML element for each check.
class ReportWriter {
 public:
  virtual ~ReportWriter() = default;
  void Write(const char* format, ...);

 protected:
  virtual void WriteList(const char* format, va_list arguments) = 0;
};

}  // namespace qv

// True when the check passed. `report` may be null.
bool ZRTaskSemaphoreCheck(qv::ReportWriter* report);

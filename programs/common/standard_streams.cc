#include "programs/common/standard_streams.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "programs/common/files.h"

namespace program {
namespace {

std::string WriteFailure(int error) {
  switch (error) {
    case ENOSPC:
      return ErrorText(ERROR_DISK_FULL);
    case EPIPE:
    case EINVAL:  // what the C runtime of Windows makes of a closed pipe
      return "nobody reads it any more";
    default:
      return std::strerror(error);
  }
}

}  // namespace

size_t StandardInput::Read(char* buffer, size_t size) {
  if (trouble_) return 0;
  errno = 0;
  const size_t done = std::fread(buffer, 1, size, stdin);
  if (std::ferror(stdin) == 0) return done;
  trouble_ = std::string("cannot read standard input: ") + std::strerror(errno);
  return 0;
}

bool StandardOutput::Write(std::string_view bytes) {
  if (trouble_) return false;
  errno = 0;
  return std::fwrite(bytes.data(), 1, bytes.size(), stdout) == bytes.size() || Failed();
}

bool StandardOutput::Flush() {
  if (trouble_) return false;
  errno = 0;
  return std::fflush(stdout) == 0 || Failed();
}

bool StandardOutput::Failed() {
  trouble_ = "cannot write to standard output: " + WriteFailure(errno);
  return false;
}

}  // namespace program

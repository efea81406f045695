#include "programs/qvsend/send_turn.h"

#include <optional>

#include "programs/common/file_names.h"
#include "programs/common/progress.h"

namespace qvsend {

std::string SendTurn::Take() {
  constexpr DWORD kPause = 20, kLongestWait = 60000;  // milliseconds
  std::string staging = program::StagingFolder();
  if (staging.empty()) return "";
  std::optional<program::Progress> waiting;
  for (DWORD waited = 0; waited < kLongestWait; waited += kPause) {
    if (file_.OpenAlone(staging + "-qvsend.lock") != ERROR_SHARING_VIOLATION) return "";
    if (!waiting) waiting.emplace("waiting for another qvsend", 0);
    Sleep(kPause);
  }
  return "another qvsend is still sending: send again when it has ended";
}

}  // namespace qvsend

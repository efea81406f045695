#include "files/errors.h"

#include <algorithm>
#include <cstring>
#include <mutex>

#include "app/debug_output.h"
#include "app/message.h"
#include "app/settings.h"
#include "base/hooks.h"
#include "base/never_destroyed.h"
#include "files/error_table.h"
#include "platform/windows_api.h"

namespace qv {
namespace {

struct ReportSettings {
  bool known = false;
  int32_t level = 0;
  bool traceback = false;
  int32_t silent_number = 0;
};

struct ErrorReportState {
  std::mutex mutex;  // around `settings`
  ReportSettings settings;
};

ErrorReportState& State() {
  static NeverDestroyed<ErrorReportState> state;
  return state.value;
}

ReportSettings Settings() {
  ErrorReportState& state = State();
  std::lock_guard hold(state.mutex);
  if (!state.settings.known) {
    state.settings = {true, ReadSetting(setting::kReportFileErrors),
                      ReadSetting(setting::kTraceFileErrors) != 0,
                      ReadSetting(setting::kSilentFileError)};
  }
  return state.settings;
}

const ErrorRow* FindRow(uint32_t native) {
  const auto number = static_cast<uint16_t>(native);
  const ErrorRow* row = std::upper_bound(std::begin(kErrorRows), std::end(kErrorRows), number,
                                         [](uint16_t n, const ErrorRow& r) { return n <= r.last; });
  return row != std::end(kErrorRows) && number >= row->first ? row : nullptr;
}

// From level 2 on every number but the everyday ones leaves a line.
void WriteDebugLine(uint32_t native, const char* path) {
  constexpr uint32_t kEveryday[] = {0, ERROR_FILE_NOT_FOUND, ERROR_NO_MORE_FILES, ERROR_HANDLE_EOF};
  if (std::find(std::begin(kEveryday), std::end(kEveryday), native) != std::end(kEveryday)) return;
  if (path == nullptr) {
    DebugPrint("DEBUG ERROR %d \n", native);
    return;
  }
  DebugPrintf("TranslateNativeError MT %d %s.\n", native, path);
  DebugPrint("DEBUG ERROR %d %s\n\n", native, path);
}

ZRError TranslateByRow(const ErrorRow& row, uint32_t native, const char* path,
                       const ReportSettings& settings) {
  const bool silent =
      row.report.may_be_silent && native == static_cast<uint32_t>(settings.silent_number);
  if (settings.level >= row.report.level && !silent) {
    ZRReportNativeError(native, settings.traceback, row.report.with_path ? path : nullptr);
  }
  return row.code;
}

ZRError TranslateWithoutRow(uint32_t native, const char* path, const ReportSettings& settings) {
  constexpr uint16_t kFileDamaged = 1392, kDiskDamaged = 1393;
  const auto number = static_cast<uint16_t>(native);
  if (number == kFileDamaged || number == kDiskDamaged) {
    ZRMessage("*** File system damage discovered - run CHKDSK ***");
  }
  if (native >= uint32_t{ZRErrIO} && native <= uint32_t{ZRErrSeek}) {
    return static_cast<ZRError>(native);
  }
  ZRReportNativeError(native, settings.traceback, path);
  return ZRErrUnexpected;
}

// The system's text for a number, without its line end.
class SystemText {
 public:
  explicit SystemText(uint32_t native) {
    constexpr DWORD kFlags =
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
    // With an allocated buffer the call takes the place of a pointer where a buffer goes else.
    DWORD length =
        FormatMessageA(kFlags, nullptr, native, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                       reinterpret_cast<LPSTR>(&text_), 0, nullptr);
    if (length == 0 || text_ == nullptr) return;
    while (length > 0 && (text_[length - 1] == '\r' || text_[length - 1] == '\n')) {
      text_[--length] = 0;
    }
  }
  ~SystemText() {
    if (text_ != nullptr) LocalFree(text_);
  }
  SystemText(const SystemText&) = delete;
  SystemText& operator=(const SystemText&) = delete;
  const char* text() const { return text_ == nullptr ? "" : text_; }

 private:
  char* text_ = nullptr;
};

}  // namespace

void ResetErrorReportsForTest() {
  ErrorReportState& state = State();
  std::lock_guard hold(state.mutex);
  state.settings = {};
}

}  // namespace qv

ZRError ZRTranslateNativeError(uint32_t native, const char* path) {
  const qv::ReportSettings settings = qv::Settings();
  if (settings.level > 1) qv::WriteDebugLine(native, path);
  if (static_cast<uint16_t>(native) == 0) {
    return native == 0 ? ZRErrNone : qv::TranslateWithoutRow(native, path, settings);
  }
  const qv::ErrorRow* row = qv::FindRow(native);
  if (row == nullptr) return qv::TranslateWithoutRow(native, path, settings);
  return qv::TranslateByRow(*row, native, path, settings);
}

void ZRReportNativeError(uint32_t native, bool traceback, const char* path) {
  ZRMessage("Unexpected file system error code: %ld (%08lXh)", native, native);
  {
    const qv::SystemText system(native);
    if (path != nullptr) {
      ZRMessage("Windows error %ld is \"%s\" %s", native, system.text(), path);
    } else {
      ZRMessage("Windows error %ld is \"%s\"", native, system.text());
    }
  }
  constexpr uint32_t kOwnFrames = 1;
  if (traceback) qv::GlobalHooks().print_traceback(kOwnFrames);
}
